# Touchstone files and the channel's impulse response from them.
find_package(Eigen3 REQUIRED NO_MODULE)

add_library(touchstone STATIC
  ${CMAKE_CURRENT_LIST_DIR}/ChannelResponse.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ChannelGrade.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ChannelSpectrum.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MixedMode.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SParameters.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Touchstone.cpp)
target_link_libraries(touchstone PUBLIC base retimer_options PRIVATE ibis_reader Eigen3::Eigen)
