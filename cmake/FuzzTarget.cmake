# Programs that feed any bytes to a parser, and the inputs to begin with.

option(FUZZ "Build the fuzz targets for libFuzzer, which takes clang, instead of the replay of their corpora" OFF)

# What `./dev fuzz` runs: a line for each target, its program and its corpus.
set(FUZZ_TARGET_LIST ${CMAKE_BINARY_DIR}/fuzz-targets.txt)
file(WRITE ${FUZZ_TARGET_LIST} "")

# add_fuzz_target(TARGET SOURCE CORPUS dir [LIBS libraries...])
#
# SOURCE defines CheckInput, see FuzzTarget.h, which aborts when it finds a fault. With FUZZ the target is a libFuzzer
# program, and no test. Otherwise it is a program, and a test in a device box, that runs every file of CORPUS once.
function(add_fuzz_target target source)
    cmake_parse_arguments(arg "" "CORPUS" "LIBS" ${ARGN})
    cmake_path(ABSOLUTE_PATH arg_CORPUS)
    add_executable(${target} ${source} ${CMAKE_SOURCE_DIR}/Tests/Support/LibFuzzer.cpp)
    target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/Tests/Support)
    target_link_libraries(${target} PRIVATE ${arg_LIBS})
    add_dependencies(${target} device-root)
    if(FUZZ)
        target_link_options(${target} PRIVATE -fsanitize=fuzzer)
        file(APPEND ${FUZZ_TARGET_LIST} "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${target} ${arg_CORPUS}\n")
        add_dependencies(fuzz-targets ${target})
    else()
        target_link_libraries(${target} PRIVATE FuzzReplay)
        add_test(NAME fuzz.${target} COMMAND ${DEVICE_BOX} $<TARGET_FILE:${target}>)
        set_tests_properties(fuzz.${target} PROPERTIES TIMEOUT ${TEST_TIMEOUT} ENVIRONMENT CORPUS=${arg_CORPUS})
    endif()
endfunction()

if(FUZZ)
    add_custom_target(fuzz-targets)
endif()
