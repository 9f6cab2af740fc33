# SPDX-License-Identifier: MIT
# Language level, warnings, hardening and sanitizers: the same for every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_compile_definitions(_GNU_SOURCE _TIME_BITS=64 _FILE_OFFSET_BITS=64)
add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Wformat=2 -pthread)
if(VORN_WERROR)
    add_compile_options(-Werror)
endif()
add_compile_options(-ffunction-sections -fdata-sections)
# What no code calls is not loaded: the compiler links libm whether or not it is used.
add_link_options(-Wl,--gc-sections -Wl,--as-needed -pthread)

if(VORN_SANITIZE)
    add_compile_options(-fsanitize=${VORN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VORN_SANITIZE})
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
    add_link_options(-Wl,-z,relro,-z,now)
    include(CheckPIESupported)
    check_pie_supported()
endif()
