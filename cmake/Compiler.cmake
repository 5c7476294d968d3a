# Compile and link options of all targets.

set(CMAKE_CXX_STANDARD 17)
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

# Debian's folder for libraries, which the loader, pkg-config and CMake search below /usr/local too.
# The packages thus contain the libraries as built.
if(EXISTS /etc/debian_version AND CMAKE_LIBRARY_ARCHITECTURE)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Where libraries go")
endif()
include(GNUInstallDirs)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# The libraries are bound when they are loaded (-z now), so calls into other libraries need no PLT.
add_compile_options(-fno-plt)
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)

# A library records only the libraries that it uses itself, not those of its dependencies.
add_link_options(-Wl,--as-needed)

# The libraries handle untrusted responses in the process of a host.
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
if(NOT VEMLO_SANITIZE)
  # _FORTIFY_SOURCE requires optimisation.
  set(is_optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<${is_optimised}:-fstack-protector-strong>
                      $<${is_optimised}:-U_FORTIFY_SOURCE> $<${is_optimised}:-D_FORTIFY_SOURCE=2>)
endif()

# Tests are compiled without UBSan, which would make compiling them take half as long again. Other
# sanitizers apply to them.
function(compile_tests_faster target)
  if(VEMLO_SANITIZE MATCHES "undefined")
    target_compile_options(${target} PRIVATE -fno-sanitize=undefined)
  endif()
endfunction()

if(VEMLO_SANITIZE)
  add_compile_options(-fsanitize=${VEMLO_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VEMLO_SANITIZE})
endif()
