# GoogleTest: the installed library on Linux, built from Debian's sources for a cross build.
macro(qv_find_googletest)
    if(CMAKE_CROSSCOMPILING)
        set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
        set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
        add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    else()
        find_package(GTest REQUIRED)
    endif()
endmacro()

# qv_test(NAME SOURCES file... ROOMS room... [LIBRARIES target...]): one test program that runs as
# one entry of ctest, linked with the rooms it names.
function(qv_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;ROOMS;LIBRARIES" ${ARGN})
    add_executable(test_${name} ${arg_SOURCES})
    target_link_libraries(test_${name} PRIVATE qv_test_support GTest::gtest_main
                                                 GTest::gmock ${arg_LIBRARIES})
    foreach(room IN LISTS arg_ROOMS)
        target_link_libraries(test_${name} PRIVATE qv_${room})
    endforeach()
    add_test(NAME ${name} COMMAND test_${name})
    set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()
