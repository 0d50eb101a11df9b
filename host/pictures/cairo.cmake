# Cairo and FreeType draw the pictures; DejaVu Sans, their font, becomes part of the program, and its
# licence goes wherever the program goes.
find_package(Freetype REQUIRED)
find_package(ZLIB REQUIRED)
find_path(CAIRO_INCLUDE cairo-ft.h PATH_SUFFIXES cairo REQUIRED)
find_library(CAIRO_LIBRARY cairo REQUIRED)
find_file(AMISIM_FONT DejaVuSans.ttf REQUIRED
  PATHS /usr/share/fonts /usr/local/share/fonts
  PATH_SUFFIXES truetype/dejavu dejavu dejavu-sans-fonts TTF)
find_file(AMISIM_FONT_LICENCE NAMES copyright LICENSE REQUIRED
  PATHS /usr/share/doc /usr/share/licenses PATH_SUFFIXES fonts-dejavu-core dejavu-sans-fonts)

target_include_directories(amisim_core SYSTEM PRIVATE ${CAIRO_INCLUDE})
target_link_libraries(amisim_core PRIVATE ${CAIRO_LIBRARY} Freetype::Freetype ZLIB::ZLIB)
set_source_files_properties(pictures/Font.cpp PROPERTIES
  COMPILE_DEFINITIONS AMISIM_FONT="${AMISIM_FONT}"
  OBJECT_DEPENDS ${AMISIM_FONT})
