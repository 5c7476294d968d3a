# What every target is compiled and linked with.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)

set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Build trees can be moved: libraries are looked for beside those that need them.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Debian's place for libraries, which the loader, pkg-config and CMake look into below /usr/local as
# well. What is built is thus what goes into the packages.
if(EXISTS /etc/debian_version AND CMAKE_LIBRARY_ARCHITECTURE)
  set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Where libraries go")
endif()
include(GNUInstallDirs)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR})

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# The libraries are bound as they are loaded (-z now), so calls into others need no detour.
add_compile_options(-fno-plt)
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>)

# What a library is linked with says what it uses, not what its dependencies use.
add_link_options(-Wl,--as-needed)

# What is shipped handles answers of strangers inside somebody else's process.
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
if(NOT VEMLO_SANITIZE)
  # The checks of the C library's functions take an optimising compiler.
  set(is_optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<${is_optimised}:-fstack-protector-strong>
                      $<${is_optimised}:-U_FORTIFY_SOURCE> $<${is_optimised}:-D_FORTIFY_SOURCE=2>)
endif()

# Tests are checked for what they do to memory. Whether their own arithmetic is defined is not worth
# half as long again for compiling them.
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
