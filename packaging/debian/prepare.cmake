# Runs when CPack has laid out the packages: what Debian wants otherwise than a prefix that can be moved.
# Debian finds libraries by the loader's own configuration.
file(GLOB programs "${CPACK_TEMPORARY_DIRECTORY}/*/usr/bin/*" "${CPACK_TEMPORARY_DIRECTORY}/*/usr/lib/*/*.so.*")
foreach(program IN LISTS programs)
  if(NOT IS_SYMLINK "${program}")
    file(RPATH_REMOVE FILE "${program}")
  endif()
endforeach()

file(GLOB pages "${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*[0-9]")
foreach(page IN LISTS pages)
  execute_process(COMMAND gzip -9n "${page}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
