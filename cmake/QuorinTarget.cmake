# What every target of this project has in common.

find_program(QUORIN_CCACHE ccache)
if(QUORIN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${QUORIN_CCACHE}")
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

# quorin_exports(NAME FILE): a shared library shows only the names that the linker script FILE lists.
function(quorin_exports name file)
  cmake_path(ABSOLUTE_PATH file BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_options(${name} PRIVATE "LINKER:--version-script=${file}")
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${file}")
endfunction()

# quorin_target(NAME): warnings, and 64-bit file offsets on 32-bit machines.
function(quorin_target name)
  target_compile_definitions(${name} PRIVATE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
  target_compile_options(${name} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
    -Wcast-align -Wformat=2 -Wundef)
  if(QUORIN_DEVELOPER)
    target_compile_options(${name} PRIVATE -Werror)
  endif()
  # GCC notes on ARM that an ABI detail changed in GCC 7; nothing here was built with an older one.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${name} PRIVATE -Wno-psabi)
  endif()
endfunction()
