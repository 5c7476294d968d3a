# All libraries that the project is built with; docs/adr has the reasons for each of them.
# scripts/bootstrap installs the Debian packages.

find_package(Poco 1.11 REQUIRED COMPONENTS Foundation Crypto)
find_package(glog 0.6 REQUIRED)

if(VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  find_package(CURL 7.85 REQUIRED)
  find_package(OpenSSL 3.0 REQUIRED)
  find_package(pugixml 1.13 REQUIRED)
  find_package(simdjson 3.0 REQUIRED)
  find_package(Threads REQUIRED)
  find_package(CLI11 2.1 REQUIRED)
  find_package(nlohmann_json 3.11 REQUIRED)
endif()
if(VEMLO_BUILD_TESTS)
  find_package(GTest 1.12 REQUIRED)
endif()
