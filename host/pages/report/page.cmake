# Puts report.html together, its style, its scripts and uPlot in one file, and builds it into amisim.
set(uplot ${CMAKE_CURRENT_LIST_DIR}/node_modules/uplot/dist)
if(NOT EXISTS ${uplot}/uPlot.iife.min.js)
  message(FATAL_ERROR "uPlot, which draws the plots of report.html, is not there: run "
    "scripts/setup.sh, or \"npm ci\" in host/pages/report")
endif()

set(page ${CMAKE_CURRENT_BINARY_DIR}/report.html)
set(parts
  ${uplot}/uPlot.min.css report.css
  ${uplot}/../LICENSE ${uplot}/uPlot.iife.min.js
  data.js plot.js eye.js curves.js chain.js logged-eyes.js tables.js main.js)
list(TRANSFORM parts PREPEND ${CMAKE_CURRENT_LIST_DIR}/ REGEX "^[a-z-]+\\.(css|js)$")
add_custom_command(
  OUTPUT ${page}
  COMMAND ${CMAKE_COMMAND} "-DPARTS=${parts}" -DTEMPLATE=${CMAKE_CURRENT_LIST_DIR}/report.html
          -DPAGE=${page} -P ${CMAKE_CURRENT_LIST_DIR}/assemble.cmake
  DEPENDS ${parts} ${CMAKE_CURRENT_LIST_DIR}/report.html ${CMAKE_CURRENT_LIST_DIR}/assemble.cmake
  VERBATIM)
target_sources(amisim_core PRIVATE ${page})
set_source_files_properties(pages/Page.cpp PROPERTIES
  COMPILE_DEFINITIONS AMISIM_PAGE="${page}"
  OBJECT_DEPENDS ${page})
