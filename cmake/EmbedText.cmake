# Writes a C++ header that holds a text file's bytes, so that the program
# carries the text and never reads it at run time.
#   cmake -DINPUT=FILE[|FILE...] -DOUTPUT=HEADER -DNAME=IDENTIFIER -P EmbedText.cmake
# Several files (separated by |) are joined in the order given.
# The header defines tarn::host::embedded::NAME (an array of unsigned char,
# without a trailing NUL) and NAMELength.
string(REPLACE "|" ";" inputs "${INPUT}")
set(hex "")
set(source_name "")
foreach(input ${inputs})
  file(READ "${input}" part HEX)
  string(APPEND hex "${part}")
  get_filename_component(part_name "${input}" NAME)
  string(APPEND source_name " ${part_name}")
endforeach()
string(STRIP "${source_name}" source_name)
string(REGEX REPLACE "([0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f][0-9a-f])"
       "\\1\n" hex "${hex}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
file(WRITE "${OUTPUT}.tmp"
  "// Generated from ${source_name} by cmake/EmbedText.cmake; do not edit.\n"
  "#pragma once\n\n#include <cstddef>\n\n"
  "namespace tarn {\nnamespace host {\nnamespace embedded {\n\n"
  "constexpr unsigned char ${NAME}[] = {\n${bytes}\n};\n"
  "constexpr std::size_t ${NAME}Length = sizeof(${NAME});\n\n"
  "}  // namespace embedded\n}  // namespace host\n}  // namespace tarn\n")
configure_file("${OUTPUT}.tmp" "${OUTPUT}" COPYONLY)
file(REMOVE "${OUTPUT}.tmp")
