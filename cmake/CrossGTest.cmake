# GoogleTest for another system comes as no Debian package: it is built from the sources that
# libgtest-dev brings along.
find_path(GTEST_SOURCE googletest/CMakeLists.txt PATHS /usr/src REQUIRED NO_CMAKE_FIND_ROOT_PATH
          PATH_SUFFIXES googletest)
set(gtest_disable_pthreads ${WIN32})
set(BUILD_SHARED_LIBS OFF)
set(INSTALL_GTEST OFF)
add_subdirectory(${GTEST_SOURCE}/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(target gtest gtest_main)
  get_target_property(folders ${target} INTERFACE_INCLUDE_DIRECTORIES)
  set_target_properties(${target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${folders}")
  if(WIN32)
    target_link_options(${target} INTERFACE -static)
  endif()
  if(NOT TARGET GTest::${target})
    add_library(GTest::${target} ALIAS ${target})
  endif()
endforeach()
