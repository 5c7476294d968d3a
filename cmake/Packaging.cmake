# Installation of everything but the binaries, and the Debian packages.

include(CMakePackageConfigHelpers)

# Files for pkg-config and CMake. Both locate the library relative to themselves, so that an
# installed tree can be moved.
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(cmake_folder ${CMAKE_INSTALL_LIBDIR}/cmake/libvemlo)
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${pkgconfig_folder} /prefix)
set(package_names libvemlo)
if(VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  list(APPEND package_names libvemlo-service-client)
endif()
foreach(name IN LISTS package_names)
  configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc
    DESTINATION ${pkgconfig_folder} COMPONENT development)
endforeach()

configure_package_config_file(cmake/libvemlo-config.cmake.in libvemlo-config.cmake
  INSTALL_DESTINATION ${cmake_folder} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(libvemlo-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/libvemlo-config.cmake
              ${PROJECT_BINARY_DIR}/libvemlo-config-version.cmake
  DESTINATION ${cmake_folder} COMPONENT development)
install(EXPORT libvemlo NAMESPACE libvemlo:: FILE libvemlo-targets.cmake
  DESTINATION ${cmake_folder} COMPONENT development)

# Debian packages of the libraries, of the files for building hosts, and of the command-line host:
# cpack --config <build tree>/CPackConfig.cmake
if(NOT VEMLO_SERVICE_CLIENT STREQUAL "bundled")
  return()
endif()
set(runtime_package libvemlo1)
set(development_package libvemlo-dev)
set(tool_package vemlo)
set(package_version ${PROJECT_VERSION}-1)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libvemlo)
set(CPACK_PACKAGE_VENDOR "the libvemlo developers")
set(CPACK_PACKAGE_CONTACT "libvemlo developers <developers@vemlo.example>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development tool)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE libvemlo)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"connect cloud storage accounts and pick folders
With this library, backup and transfer programs let their users link accounts
of S3 and compatible stores, Azure storage blobs, Google Drive, OneDrive,
Dropbox and Amazon Drive, and choose the folder that transfers will use.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${package_version})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"connect cloud storage accounts - what hosts are built with
The C header of libvemlo, its manual, examples in C and Python, and what
pkg-config and CMake need to find the library. The C++ headers of the layer
below it are for hosts that bring service clients of their own.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ${tool_package})
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${runtime_package} (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION
"connect cloud storage accounts - command line
Lists and makes buckets, containers and folders of S3 and compatible stores
and of Azure storage blobs, and links accounts of drive services.")

# Files that Debian requires in every package.
find_program(gzip gzip REQUIRED)
# install_compressed(<component> <source> <folder> <name>): installs <name>.gz without a timestamp.
function(install_compressed component source folder name)
  set(compressed ${PROJECT_BINARY_DIR}/compressed/${component}/${name}.gz)
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/compressed/${component})
  execute_process(COMMAND ${gzip} -9nc ${source} OUTPUT_FILE ${compressed}
    COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component})
endfunction()

configure_file(cmake/debian/changelog.in changelog.Debian @ONLY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${${component}_package})
  install(FILES cmake/debian/copyright DESTINATION ${folder} COMPONENT ${component})
  install_compressed(${component} ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${folder} changelog)
  install_compressed(${component} ${PROJECT_BINARY_DIR}/changelog.Debian ${folder}
    changelog.Debian)
endforeach()
install(FILES cmake/debian/libvemlo1.lintian-overrides RENAME ${runtime_package}
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides COMPONENT runtime)

# Manuals and examples.
install_compressed(tool ${PROJECT_SOURCE_DIR}/docs/man/vemlo.1 ${CMAKE_INSTALL_MANDIR}/man1 vemlo.1)
install_compressed(development ${PROJECT_SOURCE_DIR}/docs/man/libvemlo.3
  ${CMAKE_INSTALL_MANDIR}/man3 libvemlo.3)
set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${development_package})
install(FILES docs/hosting.md docs/error-codes.md docs/abi.md
  DESTINATION ${folder} COMPONENT development)
install(DIRECTORY examples DESTINATION ${folder} COMPONENT development
  PATTERN __pycache__ EXCLUDE)

include(CPack)
