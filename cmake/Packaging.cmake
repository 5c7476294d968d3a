# Debian packages of the libraries, of the files for building hosts, of the bindings, and of the
# command-line host if it is built: cpack --config <build tree>/CPackConfig.cmake
set(runtime_package libvemlo1)
set(development_package libvemlo-dev)
set(python_package python3-vemlo)
set(tool_package vemlo)
set(go_package golang-vemlo-dev)
# A revision below 1 yields to a package of the distribution.
set(package_revision 0vemlo1)
set(package_version ${PROJECT_VERSION}-${package_revision})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libvemlo)
set(CPACK_PACKAGE_VENDOR "the libvemlo developers")
set(CPACK_PACKAGE_CONTACT "libvemlo developers <developers@vemlo.example>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/cmake/PackagingTools.cmake)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL runtime development python go)
if(VEMLO_BUILD_TOOL)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${package_revision})
set(CPACK_DEBIAN_PACKAGE_SOURCE libvemlo)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
# CPack has no variable for this field, so it follows the section.
set(multi_arch_same "\nMulti-Arch: same")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs${multi_arch_same})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# From these files dpkg-shlibdeps finds what a package depends on that uses the libraries. That is,
# for the C interfaces, the version in which the newest of the symbols that it uses appeared, and for
# the C++ classes, which have no version, exactly this version.
configure_file(cmake/debian/shlibs.in shlibs @ONLY)
configure_file(cmake/debian/symbols.in symbols.in @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/shlibs ${PROJECT_BINARY_DIR}/symbols
  ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
# cpack runs it before it makes packages.
set(CPACK_SYMBOLS_COMMAND
  dpkg-gensymbols -c4 -p${runtime_package} -v${package_version}
  -I${PROJECT_BINARY_DIR}/symbols.in -O${PROJECT_BINARY_DIR}/symbols
  -e${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/libvemlo.so.1
  -e${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/libvemlo_service_client.so.1)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"connect cloud storage accounts and pick folders
With this library, backup and transfer programs let their users link accounts
of S3 and compatible stores, Azure storage blobs, Google Drive, OneDrive,
Dropbox and Amazon Drive, and choose the folder that transfers will use.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel${multi_arch_same})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${package_version})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"connect cloud storage accounts - what hosts are built with
The headers of libvemlo for C and C++, their manual, examples, and what
pkg-config and CMake need to find the library. The C++ headers of the
layer below it are for hosts that bring service clients of their own.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${python_package})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "python3 (>= 3.9), ${runtime_package} (>= ${PROJECT_VERSION})")
# They compile the modules when the package is installed, and remove what was compiled.
foreach(script IN ITEMS postinst prerm)
  configure_file(cmake/debian/python-${script}.in python/${script} @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                     WORLD_READ WORLD_EXECUTE)
endforeach()
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/python/postinst ${PROJECT_BINARY_DIR}/python/prerm)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
"connect cloud storage accounts - for Python
The module vemlo, with which programs in Python let their users link accounts
of S3 and compatible stores, Azure storage blobs, Google Drive, OneDrive,
Dropbox and Amazon Drive, and choose the folder that transfers will use.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME ${tool_package})
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${runtime_package} (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION
"connect cloud storage accounts - command line
Lists and makes buckets, containers and folders of S3 and compatible stores
and of Azure storage blobs, and links accounts of drive services.")

set(CPACK_DEBIAN_GO_PACKAGE_NAME ${go_package})
set(CPACK_DEBIAN_GO_PACKAGE_SECTION golang)
set(CPACK_DEBIAN_GO_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_GO_PACKAGE_DEPENDS "${development_package} (>= ${PROJECT_VERSION}), pkg-config")
set(CPACK_DEBIAN_GO_PACKAGE_RECOMMENDS "golang-go (>= 2:1.19)")
set(CPACK_COMPONENT_GO_DESCRIPTION
"connect cloud storage accounts - Go binding
The sources of the package vemlo, with which programs in Go use the library
libvemlo: contexts end calls, and failures are errors with a kind. A module
finds it with a replace directive.")

# Files that Debian requires in every package. An installation without packages leaves them out.
configure_file(cmake/debian/changelog.in changelog.Debian @ONLY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${${component}_package})
  install(FILES cmake/debian/copyright DESTINATION ${folder} COMPONENT ${component}
    EXCLUDE_FROM_ALL)
  install_compressed(${component} ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${folder} changelog
    EXCLUDE_FROM_ALL)
  install_compressed(${component} ${PROJECT_BINARY_DIR}/changelog.Debian ${folder}
    changelog.Debian EXCLUDE_FROM_ALL)
endforeach()

install(FILES cmake/debian/lintian-overrides RENAME ${runtime_package}
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides COMPONENT runtime EXCLUDE_FROM_ALL)

include(CPack)
