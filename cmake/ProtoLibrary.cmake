find_package(Protobuf REQUIRED)

# proto_library(TARGET ROOT dir PROTOS a.proto dir/b.proto [DEPENDS other-proto-targets])
#
# Generates the message classes of the schemas below ROOT and builds them as a static library. A schema is imported,
# and its header included, by its path below its ROOT; the roots of DEPENDS are searched as well.
function(proto_library target)
    cmake_parse_arguments(arg "" "ROOT" "PROTOS;DEPENDS" ${ARGN})
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${target}-generated)
    file(MAKE_DIRECTORY ${output})

    set(roots ${arg_ROOT})
    foreach(dependency IN LISTS arg_DEPENDS)
        get_target_property(more ${dependency} PROTO_ROOTS)
        list(APPEND roots ${more})
    endforeach()
    list(TRANSFORM roots PREPEND -I OUTPUT_VARIABLE import_flags)

    foreach(proto IN LISTS arg_PROTOS)
        string(REGEX REPLACE "\\.proto$" "" stem ${proto})
        set(generated ${output}/${stem}.pb.cc ${output}/${stem}.pb.h)
        add_custom_command(
            OUTPUT ${generated}
            COMMAND protobuf::protoc ${import_flags} --cpp_out=${output} ${arg_ROOT}/${proto}
            DEPENDS ${arg_ROOT}/${proto}
            COMMENT "Generating message classes of ${proto}"
            VERBATIM)
        list(APPEND sources ${output}/${stem}.pb.cc)
    endforeach()

    add_library(${target} STATIC ${sources})
    # What is generated is checked by nobody here.
    target_compile_options(${target} PRIVATE -w)
    set_target_properties(${target} PROPERTIES CXX_CLANG_TIDY "")
    target_include_directories(${target} SYSTEM PUBLIC ${output})
    target_link_libraries(${target} PUBLIC protobuf::libprotobuf ${arg_DEPENDS})
    set_target_properties(${target} PROPERTIES PROTO_ROOTS "${roots}")
endfunction()
