# Language level, warnings, sanitizers, the compiler cache and the output folder: the same for every target.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
                    -Wold-style-cast -Werror)

# The product builds against OpenSSL 1.1 and an older libcurl: the interfaces that they offer are the ones in use, so
# what newer libraries merely discourage is no warning here.
add_compile_definitions(OPENSSL_API_COMPAT=0x10100000L CURL_DISABLE_DEPRECATION)

# Files beyond 2 GiB, and those of file systems whose inode numbers have 64 bits.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_definitions(_FILE_OFFSET_BITS=64)
endif()

set(SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize= (empty for none)")
if(SANITIZE)
    add_compile_options(-fsanitize=${SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${SANITIZE})
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # What is compiled with a precompiled header is cached only if ccache may be less exact about these.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE_PROGRAM})
endif()
