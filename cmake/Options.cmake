# Compile options that every target of this project shares.

set(RETIMER_SANITIZE OFF CACHE STRING
    "ON: build with address and undefined-behaviour sanitizers; thread: with the thread sanitizer")
# Our own elementary functions wherever the C library's are not glibc's.
set(maths_here exact)
if(CMAKE_SYSTEM_NAME STREQUAL Linux)
  set(maths_here system)
endif()
set(RETIMER_MATHS ${maths_here} CACHE STRING
    "system: the C library's cos, sin, asin and exp; exact: correctly rounded ones, the same everywhere")
if(WIN32 AND NOT RETIMER_MATHS STREQUAL exact)
  message(FATAL_ERROR "RETIMER_MATHS: on Windows only exact gives the results of other systems")
endif()

option(RETIMER_FUZZ "Build the fuzzers (clang only; best with RETIMER_SANITIZE)" OFF)

add_library(retimer_options INTERFACE)
target_include_directories(retimer_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(retimer_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor
  -Woverloaded-virtual
  # Errors with the compilers we build with; what a later one has to say must not stop a user's build.
  $<$<OR:$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>,$<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,15>>>:-Werror>
  # Results are compared to the last digit: every operation as written, never fused.
  -ffp-contract=off
  -fstack-protector-strong
  $<$<CONFIG:Debug>:-D_GLIBCXX_ASSERTIONS>
  # Build folders never reach the binary.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=
  -ffile-prefix-map=${PROJECT_BINARY_DIR}/=)

# With mingw-w64 the stack protector is a library.
target_link_options(retimer_options INTERFACE $<$<PLATFORM_ID:Windows>:-fstack-protector-strong>)

if(RETIMER_SANITIZE)
  set(sanitizers address,undefined)
  if(RETIMER_SANITIZE STREQUAL thread)
    set(sanitizers thread)
  endif()
  target_compile_options(retimer_options INTERFACE
    -fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(retimer_options INTERFACE -fsanitize=${sanitizers})
endif()
if(RETIMER_FUZZ)
  target_compile_options(retimer_options INTERFACE -fsanitize=fuzzer-no-link)
  target_link_options(retimer_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The model reports by result and code and lets no exception reach the simulator: it is built
# without them, so it needs no C++ runtime that an old system might lack.
add_library(retimer_model_options INTERFACE)
target_link_libraries(retimer_model_options INTERFACE retimer_options)
target_compile_options(retimer_model_options INTERFACE -fno-exceptions -fno-threadsafe-statics)
