# The target: 32-bit ARM (hard float, Thumb-2), against the sysroot that `./dev target` makes.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/target/sysroot)
cmake_path(NORMAL_PATH CMAKE_SYSROOT)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET arm-linux-gnueabihf)
set(CMAKE_CXX_FLAGS_INIT "-march=armv7-a -mfpu=vfpv3-d16 -mthumb -ffunction-sections -fdata-sections")
# Functions of the same code are one, but for those whose address is taken: an address is an identity.
set(CMAKE_CXX_FLAGS_MINSIZEREL_INIT -flto)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -Wl,--gc-sections -Wl,--icf=safe")
find_program(CMAKE_AR llvm-ar REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib REQUIRED)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

# Message classes fit the protobuf of the sysroot only when its own compiler makes them.
set(Protobuf_PROTOC_EXECUTABLE ${CMAKE_CURRENT_LIST_DIR}/protoc CACHE FILEPATH "The sysroot's protoc")
