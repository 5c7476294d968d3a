# Installation of everything but the binaries.

include(CMakePackageConfigHelpers)

# Files for pkg-config and CMake. Both locate the library relative to themselves, so that an
# installed tree can be moved.
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(cmake_folder ${CMAKE_INSTALL_LIBDIR}/cmake/libvemlo)
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${pkgconfig_folder} /prefix)
set(package_names libvemlo)
# A program that links libvemlo may use the C interface of the layer, too.
set(more_libraries)
if(VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  list(APPEND package_names libvemlo-service-client)
  set(more_libraries " -lvemlo_service_client")
endif()
foreach(name IN LISTS package_names)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
    DESTINATION ${pkgconfig_folder} COMPONENT development)
endforeach()

configure_package_config_file(cmake/libvemlo-config.cmake.in libvemlo-config.cmake
  INSTALL_DESTINATION ${cmake_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(libvemlo-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/libvemlo-config.cmake
              ${PROJECT_BINARY_DIR}/libvemlo-config-version.cmake
  DESTINATION ${cmake_folder} COMPONENT development)
install(EXPORT libvemlo NAMESPACE libvemlo:: FILE libvemlo-targets.cmake
  DESTINATION ${cmake_folder} COMPONENT development)

# Manuals, documents and examples.
find_program(gzip gzip REQUIRED)
# install_compressed(<component> <source> <folder> <name> [EXCLUDE_FROM_ALL]): installs <name>.gz
# without a timestamp.
function(install_compressed component source folder name)
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${component}/${name}.gz)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed/${component})
  execute_process(COMMAND ${gzip} -9nc ${source} OUTPUT_FILE ${compressed}
    COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component} ${ARGN})
endfunction()

# install_guide(<component> <language> <folder>): installs the guide to a binding. It is alone there,
# so a link to another document becomes its text.
function(install_guide component language folder)
  set(source ${PROJECT_SOURCE_DIR}/docs/bindings/${language}.md)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  file(READ ${source} text)
  string(REGEX REPLACE "\\[([^]\n]+)\\]\\(\\.\\./[^)]*\\)" "\\1" text "${text}")
  file(WRITE ${PROJECT_BINARY_DIR}/guides/${language}.md "${text}")
  install(FILES ${PROJECT_BINARY_DIR}/guides/${language}.md DESTINATION ${folder}
    COMPONENT ${component})
endfunction()

if(VEMLO_BUILD_TOOL)
  install_compressed(tool ${PROJECT_SOURCE_DIR}/docs/man/vemlo.1
    ${CMAKE_INSTALL_MANDIR}/man1 vemlo.1)
endif()
set(headers ${PROJECT_SOURCE_DIR}/include/libvemlo.h)
if(VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  list(APPEND headers ${PROJECT_SOURCE_DIR}/service_client/include/libvemlo_service_client.h)
endif()
foreach(header IN LISTS headers)
  get_filename_component(name ${header} NAME_WE)
  install_compressed(development ${PROJECT_SOURCE_DIR}/docs/man/${name}.3
    ${CMAKE_INSTALL_MANDIR}/man3 ${name}.3)
endforeach()
# The pages of the functions are made from the headers.
find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)
set(pages ${PROJECT_BINARY_DIR}/manual-pages)
execute_process(COMMAND ${Python3_EXECUTABLE} -B ${PROJECT_SOURCE_DIR}/scripts/manual-pages ${pages}
          ${headers}
  COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${headers} ${PROJECT_SOURCE_DIR}/docs/man/libvemlo.3
  ${PROJECT_SOURCE_DIR}/scripts/manual-pages ${PROJECT_SOURCE_DIR}/scripts/public_header.py)
install(DIRECTORY ${pages}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
if(VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  # Where Debian's Python finds it if the prefix is /usr.
  install(DIRECTORY bindings/python/vemlo DESTINATION lib/python3/dist-packages COMPONENT python
    FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE)
  set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/python3-vemlo)
  install_guide(python python ${folder})
  install(DIRECTORY examples/python/ DESTINATION ${folder}/examples COMPONENT python
    PATTERN __pycache__ EXCLUDE)
endif()
set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/libvemlo-dev)
install(FILES docs/hosting.md docs/error-codes.md docs/abi.md
  DESTINATION ${folder} COMPONENT development)
foreach(language IN ITEMS cpp go python)
  install_guide(development ${language} ${folder}/bindings)
endforeach()
install(FILES docs/bindings/README.md docs/bindings/side-by-side.md
  DESTINATION ${folder}/bindings COMPONENT development)
install(DIRECTORY examples DESTINATION ${folder} COMPONENT development
  PATTERN __pycache__ EXCLUDE)

# Go compiles its binding from source, as part of each program.
if(VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  install(DIRECTORY bindings/go/ DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/gocode/src/vemlo
    COMPONENT go FILES_MATCHING PATTERN "*.go" PATTERN "*.[ch]" PATTERN go.mod
    PATTERN "*_test.go" EXCLUDE PATTERN internal EXCLUDE)
  set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/golang-vemlo-dev)
  install_guide(go go ${folder})
  install(DIRECTORY examples/go/ DESTINATION ${folder}/examples COMPONENT go)
endif()
