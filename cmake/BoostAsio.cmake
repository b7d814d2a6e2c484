find_package(Boost 1.74 REQUIRED)

# use_asio(TARGET SOURCES...)
#
# Gives TARGET the headers of Boost. SOURCES are those of its files that include Asio or Beast.
function(use_asio target)
    target_link_libraries(${target} PRIVATE Boost::headers)
    if(SANITIZE MATCHES thread AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # ThreadSanitizer does not know Asio's fences. They order nothing here: every io_context has one thread.
        set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -Wno-tsan)
    endif()
endfunction()
