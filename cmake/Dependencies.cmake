# All libraries that the project is built with; docs/adr has the reasons for each of them.
# scripts/bootstrap installs the Debian packages.

# require_curl_with_openssl(): the transport hands libcurl trusted certificates as objects of
# OpenSSL. With another TLS library below libcurl, no TLS connection would be made.
function(require_curl_with_openssl)
  if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
    message(STATUS "Not checked: whether libcurl uses OpenSSL")
    return()
  endif()
  try_run(exit_code is_compiled
    SOURCES ${PROJECT_SOURCE_DIR}/cmake/curl_tls_library.c
    NO_CACHE
    LINK_LIBRARIES CURL::libcurl
    COMPILE_OUTPUT_VARIABLE errors RUN_OUTPUT_VARIABLE tls_library)
  if(NOT is_compiled)
    message(FATAL_ERROR "A program that uses libcurl cannot be built:\n${errors}")
  endif()
  string(STRIP "${tls_library}" tls_library)
  if(NOT tls_library MATCHES "^OpenSSL/")
    message(FATAL_ERROR "libcurl must use OpenSSL as its TLS library, and this one uses "
      "'${tls_library}'. On Debian, install libcurl4-openssl-dev.")
  endif()
endfunction()

find_package(Poco 1.11 REQUIRED COMPONENTS Foundation Crypto)
find_package(glog 0.6 REQUIRED)

if(VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  find_package(CURL 7.85 REQUIRED)
  require_curl_with_openssl()
  find_package(OpenSSL 3.0 REQUIRED)
  find_package(pugixml 1.13 REQUIRED)
  find_package(simdjson 3.0 REQUIRED)
  find_package(Threads REQUIRED)
  if(VEMLO_BUILD_TOOL)
    find_package(CLI11 2.1 REQUIRED)
    find_package(nlohmann_json 3.11 REQUIRED)
  endif()
endif()
if(VEMLO_BUILD_TESTS)
  find_package(GTest 1.12 REQUIRED)
endif()
