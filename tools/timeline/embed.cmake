# Writes OUTPUT, a header with the parts of the page, which lie in FOLDER, as string literals.
cmake_minimum_required(VERSION 3.25)

set(names html style script)
set(files page.html style.css script.js)
set(text "#pragma once\n\n#include <string_view>\n\nnamespace timeline::pageParts {\n\n")
foreach(name file IN ZIP_LISTS names files)
  file(READ ${FOLDER}/${file} content)
  string(APPEND text "inline constexpr std::string_view ${name} = R\"~~(${content})~~\";\n\n")
endforeach()
file(WRITE ${OUTPUT} "${text}}  // namespace timeline::pageParts\n")
