# Read by cpack for a package of the target. What a program of it needs is found in the sysroot: a library's file is
# libNAME.so.N, and its package is libNAMEN by Debian's naming, with few exceptions.

set(packages libc.so.6 libc6 libm.so.6 libc6 libpthread.so.0 libc6 libdl.so.2 libc6 librt.so.1 libc6
             ld-linux-armhf.so.3 libc6 libgcc_s.so.1 libgcc-s1 libcrypto.so.1.1 libssl1.1 libssl.so.1.1 libssl1.1
             libz.so.1 zlib1g)

# Appends the packages that the programs need to the list.
function(append_library_packages list)
    foreach(program ${ARGN})
        execute_process(COMMAND ${CPACK_TARGET_READELF} -d ${program}
                        OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
        string(REGEX MATCHALL "NEEDED[^\n]*\\[[^]]*\\]" lines "${dynamic}")
        foreach(line ${lines})
            string(REGEX REPLACE ".*\\[(.*)\\]" "\\1" library "${line}")
            list(FIND packages ${library} index)
            if(index GREATER_EQUAL 0)
                math(EXPR index "${index} + 1")
                list(GET packages ${index} package)
            else()
                string(REGEX REPLACE "^(.*[^0-9])\\.so\\.(.*)$" "\\1\\2" package ${library})
                string(REGEX REPLACE "^(.*[0-9])\\.so\\.(.*)$" "\\1-\\2" package ${package})
            endif()
            if(NOT EXISTS ${CPACK_TARGET_SYSROOT}/usr/share/doc/${package})
                message(FATAL_ERROR "${program} needs ${library}, and the sysroot has no package ${package}")
            endif()
            list(APPEND found ${package})
        endforeach()
    endforeach()
    list(SORT found)
    list(REMOVE_DUPLICATES found)
    list(JOIN found ", " found)
    set(${list} "${found}" PARENT_SCOPE)
endfunction()

foreach(program DiagnosticFileService diag-seal diag-compress)
    list(APPEND service_programs ${CPACK_TARGET_PROGRAMS}/${program})
endforeach()
foreach(program vcli dfs-open diag-cloud gatrix-gateway gatrix-peer)
    list(APPEND devkit_programs ${CPACK_TARGET_PROGRAMS}/${program})
endforeach()
append_library_packages(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS ${service_programs})
if(CPACK_COMPONENTS_ALL MATCHES devkit)
    append_library_packages(CPACK_DEBIAN_DEVKIT_PACKAGE_DEPENDS ${devkit_programs})
endif()
