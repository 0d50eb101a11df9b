# The equaliser's response tables: a small host program writes them as C++ source while the project
# is built, from the built-in family or from the folder named in RETIMER_RESPONSES.

add_library(retimer_response_source STATIC
  ${PROJECT_SOURCE_DIR}/receiver/responses/ResponseFamily.cpp
  ${PROJECT_SOURCE_DIR}/receiver/responses/ResponseFiles.cpp)
target_link_libraries(retimer_response_source PUBLIC retimer_options)

if(CMAKE_CROSSCOMPILING)
  # The program runs here, whatever the tables are for.
  find_program(RETIMER_NATIVE_CXX NAMES g++ c++ clang++ REQUIRED
               DOC "The compiler of the programs that run during the build")
  set(make_responses ${PROJECT_BINARY_DIR}/make_responses)
  file(GLOB response_sources ${PROJECT_SOURCE_DIR}/receiver/responses/*.?pp)
  add_custom_command(
    OUTPUT ${make_responses}
    COMMAND ${RETIMER_NATIVE_CXX} -std=c++20 -O1 -ffp-contract=off -I${PROJECT_SOURCE_DIR}
            ${PROJECT_SOURCE_DIR}/receiver/responses/MakeResponses.cpp
            ${PROJECT_SOURCE_DIR}/receiver/responses/ResponseFamily.cpp
            ${PROJECT_SOURCE_DIR}/receiver/responses/ResponseFiles.cpp -o ${make_responses}
    DEPENDS ${response_sources}
    COMMENT "Building make_responses for this machine"
    VERBATIM)
else()
  set(make_responses make_responses)
  add_executable(make_responses ${PROJECT_SOURCE_DIR}/receiver/responses/MakeResponses.cpp)
  target_link_libraries(make_responses PRIVATE retimer_response_source)
endif()

set(response_tables ${PROJECT_BINARY_DIR}/generated/ResponseTables.cpp)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/generated)

set(response_files)
if(RETIMER_RESPONSES)
  if(NOT IS_DIRECTORY "${RETIMER_RESPONSES}")
    message(FATAL_ERROR "RETIMER_RESPONSES: ${RETIMER_RESPONSES} is not a folder")
  endif()
  # The folder itself stands in the list because it changes when a file comes or goes.
  file(GLOB response_files CONFIGURE_DEPENDS ${RETIMER_RESPONSES}/*)
  list(APPEND response_files ${RETIMER_RESPONSES})
endif()

add_custom_command(
  OUTPUT ${response_tables}
  COMMAND ${make_responses} ${response_tables} ${RETIMER_RESPONSES}
  DEPENDS ${make_responses} ${response_files}
  COMMENT "Making the equaliser's 32 responses"
  VERBATIM)

add_library(retimer_responses STATIC ${response_tables})
target_link_libraries(retimer_responses PRIVATE retimer_model_options)
