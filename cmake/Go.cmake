# Programs in Go, built with the Go binding and the libraries of this build tree.

find_program(VEMLO_GO go REQUIRED)

# The binding finds the libraries with pkg-config.
set(go_pkgconfig_folder ${PROJECT_BINARY_DIR}/go/pkgconfig)
# Go does not notice changes of headers outside its modules, but it does notice other flags.
set(go_cflags)
foreach(header include/libvemlo.h service_client/include/libvemlo_service_client.h)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${header})
  file(SHA256 ${PROJECT_SOURCE_DIR}/${header} hash)
  cmake_path(GET header PARENT_PATH folder)
  string(APPEND go_cflags " -I${PROJECT_SOURCE_DIR}/${folder} -DHEADER_${hash}")
endforeach()
set(library_folder ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
file(CONFIGURE OUTPUT ${go_pkgconfig_folder}/libvemlo.pc @ONLY CONTENT [[
Name: libvemlo
Description: the libraries of the build tree
Version: @PROJECT_VERSION@
Cflags:@go_cflags@
Libs: -L@library_folder@ -lvemlo -lvemlo_service_client -Wl,-rpath,@library_folder@
]])

# For each command of Go. Nothing is downloaded, and nothing is written outside the build tree.
set(VEMLO_GO_ENVIRONMENT
  GOFLAGS=-mod=mod GOPROXY=off GOCACHE=${PROJECT_BINARY_DIR}/go/cache
  PKG_CONFIG_PATH=${go_pkgconfig_folder})

# add_go_program(<target> <folder> [<argument of go build>...]): the program in <folder>. Go itself finds out whether it has to be
# built again.
function(add_go_program target folder)
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  add_custom_target(${target}
    COMMAND ${CMAKE_COMMAND} -E env ${VEMLO_GO_ENVIRONMENT}
            ${VEMLO_GO} build ${ARGN} -o ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${target} .
    WORKING_DIRECTORY ${folder} VERBATIM)
  add_dependencies(${target} vemlo vemlo_service_client)
endfunction()
