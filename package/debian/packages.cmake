# The targets "debian-packages" and "wheel": into packages/ of the build folder, with checksums. Read
# after everything that is installed.
set(packages ${PROJECT_BINARY_DIR}/packages)
set(documents ${CMAKE_CURRENT_BINARY_DIR}/documents)
set(sources ${CMAKE_CURRENT_LIST_DIR})

# The model with its files in one folder.
set(model COMPONENT model EXCLUDE_FROM_ALL)
install(TARGETS Retimer_RX_RT LIBRARY DESTINATION lib/ibis-ami/retimer ${model})
install(FILES package/Retimer_RX_RT.ami package/Retimer_RX_RT.deviations package/retimer.ibs
              package/README.txt DESTINATION lib/ibis-ami/retimer ${model})

file(MAKE_DIRECTORY ${documents})
add_custom_command(
  OUTPUT ${documents}/changelog.gz
  COMMAND gzip -9nc ${sources}/changelog > ${documents}/changelog.gz
  DEPENDS ${sources}/changelog)
add_custom_target(package_documents ALL DEPENDS ${documents}/changelog.gz)
foreach(pair amisim:amisim model:retimer-model python:python3-amisim)
  string(REPLACE ":" ";" pair ${pair})
  list(GET pair 0 component)
  list(GET pair 1 name)
  install(FILES ${documents}/changelog.gz ${sources}/copyright DESTINATION share/doc/${name}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

set(components amisim model)
if(TARGET amisim_python)
  list(APPEND components python)
  math(EXPR next_python "${Python3_VERSION_MINOR} + 1")
  add_custom_target(wheel
    COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/make-wheel.py ${PROJECT_BINARY_DIR}/python/amisim ${packages}
    VERBATIM)
  add_dependencies(wheel amisim_python_package)
endif()
configure_file(${sources}/cpack.cmake.in ${PROJECT_BINARY_DIR}/debian.cmake @ONLY)
add_custom_target(debian-packages
  COMMAND ${CMAKE_CPACK_COMMAND} -G DEB -B ${packages}
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
  VERBATIM)
add_dependencies(debian-packages amisim_documents package_documents Retimer_RX_RT)
if(TARGET amisim_python)
  add_dependencies(debian-packages amisim_python_package)
endif()
