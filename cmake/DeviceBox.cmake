# The staged root file system of the device, and the box that programs are run in on this machine.

set(DEVICE_ROOT ${CMAKE_BINARY_DIR}/device)
# Seconds that a test may take. Sanitizers and emulation make some ten times as slow.
set(TEST_TIMEOUT 60)
if(SANITIZE OR CMAKE_CROSSCOMPILING)
    set(TEST_TIMEOUT 300)
endif()
# Seconds that a test waits for one event.
math(EXPR TEST_DEADLINE "${TEST_TIMEOUT} / 3")

set(DEVICE_BOX ${CMAKE_SOURCE_DIR}/DevKit/box/device-box --device ${DEVICE_ROOT} --)

# add_box_test_program(TARGET SOURCES... [LIBS libraries...])
#
# A GoogleTest program. Each of its cases runs as a process of its own in a device box of its own.
function(add_box_test_program target)
    cmake_parse_arguments(arg "" "" "LIBS" ${ARGN})
    add_executable(${target} ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${target} PRIVATE ${arg_LIBS} TestSupport TestMain)
    target_precompile_headers(${target} REUSE_FROM TestMain)
    add_dependencies(${target} device-root)
    set_target_properties(${target} PROPERTIES CROSSCOMPILING_EMULATOR "${DEVICE_BOX}")
    gtest_discover_tests(${target} TEST_PREFIX ${target}. DISCOVERY_MODE PRE_TEST
                         PROPERTIES TIMEOUT ${TEST_TIMEOUT})
endfunction()

# add_box_test_script(SCRIPT [ARGS words...] [SUFFIX text] [LAUNCHER script...])
#
# A test written in shell or, by its extension, for Node.js, that runs in a device box; exit status 0 passes. SUFFIX
# sets the names of several tests of one script apart; LAUNCHER is a shell script that prepares the box and then runs
# the test.
function(add_box_test_script script)
    cmake_parse_arguments(arg "" "SUFFIX" "ARGS;LAUNCHER" ${ARGN})
    cmake_path(GET script STEM LAST_ONLY name)
    cmake_path(GET script EXTENSION LAST_ONLY extension)
    set(interpreter sh)
    if(extension STREQUAL .js)
        set(interpreter env NODE_PATH=/usr/share/nodejs TEST_DEADLINE=${TEST_DEADLINE} node)
    endif()
    add_test(NAME scripts.${name}${arg_SUFFIX}
             COMMAND ${DEVICE_BOX} ${interpreter} ${arg_LAUNCHER} ${CMAKE_CURRENT_SOURCE_DIR}/${script} ${arg_ARGS})
    set_tests_properties(scripts.${name}${arg_SUFFIX} PROPERTIES TIMEOUT ${TEST_TIMEOUT})
endfunction()
