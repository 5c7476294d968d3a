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

if(VEMLO_SANITIZE)
  add_compile_options(-fsanitize=${VEMLO_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VEMLO_SANITIZE})
endif()
