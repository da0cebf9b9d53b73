# cmake -D OUTPUT=FILE.cpp -P embed.cmake: writes the parts of the page as C++, each with its SHA-256.
set(parts "")
foreach(part IN ITEMS Html Css Js)
  string(TOLOWER "${part}" ending)
  set(file "${CMAKE_CURRENT_LIST_DIR}/page.${ending}")
  file(READ "${file}" text)
  file(SHA256 "${file}" sha256)
  string(APPEND parts "const PagePart page${part} = {R\"~part~(${text})~part~\", \"${sha256}\"};\n")
endforeach()
file(WRITE "${OUTPUT}"
  "#include \"report/report_parts.h\"\n\nnamespace quorin_command {\n\n${parts}\n}  // namespace quorin_command\n")
