# Compile and link options of all targets.

# C++17, or a later standard that the user or the surrounding project has chosen.
if(NOT CMAKE_CXX_STANDARD MATCHES "^(17|2[0-9])$")
  set(CMAKE_CXX_STANDARD 17)
endif()
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)

set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Libraries are searched for relative to those that need them, so that build trees can be moved.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Where files go is decided by the surrounding project, if there is one.
if(PROJECT_IS_TOP_LEVEL)
  # Debian's folder for libraries, which the loader, pkg-config and CMake search below /usr/local
  # too. The packages thus contain the libraries as built.
  if(EXISTS /etc/debian_version AND CMAKE_LIBRARY_ARCHITECTURE)
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Where libraries go")
  endif()
  include(GNUInstallDirs)
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})
elseif(VEMLO_INSTALL)
  include(GNUInstallDirs)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
set(CMAKE_COMPILE_WARNING_AS_ERROR ${VEMLO_WERROR})
# The libraries are bound when they are loaded (-z now), so calls into other libraries need no PLT.
add_compile_options(-fno-plt)
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)

# A library records only the libraries that it uses itself, not those of its dependencies.
add_link_options(-Wl,--as-needed)

# The libraries handle untrusted responses in the process of a host.
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
set(is_optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
if(NOT VEMLO_SANITIZE)
  # _FORTIFY_SOURCE requires optimisation.
  add_compile_options($<${is_optimised}:-fstack-protector-strong>
                      $<${is_optimised}:-U_FORTIFY_SOURCE> $<${is_optimised}:-D_FORTIFY_SOURCE=2>)
endif()

if(VEMLO_SANITIZE)
  # The stacks in reports need functions and lines. Variables for a debugger come with -g2.
  add_compile_options(-fsanitize=${VEMLO_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all -g1)
  add_link_options(-fsanitize=${VEMLO_SANITIZE})
  # Clang's part for C++, which the libraries need in programs written in C, too.
  add_link_options($<$<LINK_LANG_AND_ID:C,Clang>:-fsanitize-link-c++-runtime>)
  if(CMAKE_C_COMPILER_ID STREQUAL "Clang")
    set(CMAKE_C_STANDARD_LIBRARIES -lstdc++)
  endif()
endif()

# compile_reproducibly(<target>): what is shipped does not depend on the folder in which the project
# is. The logger puts __FILE__ into objects, and -g puts more paths there. A compiler cache may make
# the paths relative. Other builds keep the paths for debuggers.
function(compile_reproducibly target)
  if(NOT VEMLO_SANITIZE)
    file(RELATIVE_PATH relative_path ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
    string(REGEX REPLACE "([^/])$" "\\1/" relative_path "${relative_path}")
    target_compile_options(${target} PRIVATE
      $<${is_optimised}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>
      $<${is_optimised}:-ffile-prefix-map=${relative_path}=>)
  endif()
endfunction()

# compile_tests_faster(<target>): for a program of tests that is written with GoogleTest.
#
# Tests are checked for what they do to memory. Whether their own arithmetic is defined is not worth
# half as long again for compiling them.
#
# The precompiled headers hide a missing #include of one of them; CMAKE_DISABLE_PRECOMPILE_HEADERS
# shows it.
function(compile_tests_faster target)
  if(VEMLO_SANITIZE MATCHES "undefined")
    target_compile_options(${target} PRIVATE -fno-sanitize=undefined)
  endif()
  # Of INSTANTIATE_TEST_SUITE_P without a function for names.
  target_compile_options(${target} PRIVATE
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
  target_precompile_headers(${target} PRIVATE
    <atomic> <chrono> <condition_variable> <cstddef> <cstdint> <cstdlib> <functional> <map> <memory>
    <mutex> <optional> <ostream> <set> <sstream> <stdexcept> <string> <string_view> <thread> <tuple>
    <utility> <vector> <gtest/gtest.h> <gmock/gmock.h>)
endfunction()

# compile_without_sanitizers(<target>): for what no test runs with sanitizers.
function(compile_without_sanitizers target)
  if(VEMLO_SANITIZE)
    target_compile_options(${target} PRIVATE -fno-sanitize=all)
  endif()
endfunction()

# keep_threaded_sources(<variable>): under ThreadSanitizer, removes the tests with a single thread
# from the list of sources. The sanitizer finds nothing in them.
function(keep_threaded_sources variable)
  if(NOT VEMLO_SANITIZE MATCHES "thread")
    return()
  endif()
  set(kept)
  foreach(source IN LISTS ${variable})
    file(STRINGS ${source} threads REGEX "#include (<(thread|future)>|\"loopback.h\")")
    if(threads)
      list(APPEND kept ${source})
    endif()
  endforeach()
  set(${variable} ${kept} PARENT_SCOPE)
endfunction()
