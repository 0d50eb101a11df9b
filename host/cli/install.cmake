# cmake --install BUILD --component amisim --prefix FOLDER: the program with all that it takes, its man
# pages and completions. The archive of the model goes without it.
set(documents ${CMAKE_CURRENT_BINARY_DIR}/documents)
add_custom_command(
  OUTPUT ${documents}/made
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${documents}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${documents}/man
  COMMAND amisim manual --folder ${documents}/man
  COMMAND amisim completion bash > ${documents}/amisim
  COMMAND amisim completion zsh > ${documents}/_amisim
  COMMAND amisim completion fish > ${documents}/amisim.fish
  COMMAND gzip -9n ${documents}/man/*.1
  COMMAND ${CMAKE_COMMAND} -E touch ${documents}/made
  DEPENDS amisim)
add_custom_target(amisim_documents ALL DEPENDS ${documents}/made)

set(amisim COMPONENT amisim EXCLUDE_FROM_ALL)
# The two programs belong side by side, and only one of them is for users.
install(TARGETS amisim amisim-worker DESTINATION lib/amisim ${amisim})
install(CODE "
  set(bin \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(MAKE_DIRECTORY \"\${bin}\")
  file(CREATE_LINK ../lib/amisim/amisim \"\${bin}/amisim\" SYMBOLIC)" ${amisim})
foreach(of result tolerance transfer)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/${of}.schema.json DESTINATION share/amisim ${amisim})
endforeach()
install(DIRECTORY ${documents}/man/ DESTINATION share/man/man1 ${amisim})
install(FILES ${documents}/amisim DESTINATION share/bash-completion/completions ${amisim})
install(FILES ${documents}/_amisim DESTINATION share/zsh/vendor-completions ${amisim})
install(FILES ${documents}/amisim.fish DESTINATION share/fish/vendor_completions.d ${amisim})
install(FILES ${AMISIM_FONT_LICENCE} RENAME DejaVuSans.txt DESTINATION share/doc/amisim/licences ${amisim})
install(FILES ${uplot}/../LICENSE RENAME uPlot.txt DESTINATION share/doc/amisim/licences ${amisim})
