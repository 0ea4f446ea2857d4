# Shared compiler settings and helpers for Lookpane's targets.

function(lookpane_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
        -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Woverloaded-virtual
        -Wnull-dereference -Wimplicit-fallthrough)
    if(LOOKPANE_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS)
endfunction()

# lookpane_library(<folder> SOURCES ... [LIBS ...])
# Builds lookpane_<folder> from the sources of src/<folder>; headers are included as
# "<folder>/Header.h" from src/.
function(lookpane_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_library(lookpane_${name} STATIC ${ARG_SOURCES})
    target_include_directories(lookpane_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(lookpane_${name} PUBLIC ${ARG_LIBS})
    lookpane_warnings(lookpane_${name})
endfunction()

# lookpane_test(<name> SOURCES ... [LIBS ...] [DISPLAY] [SERIAL])
# A GoogleTest executable whose tests CTest lists one by one. With DISPLAY, the test
# executable's main starts a private Xvfb before QApplication exists (tests/support); with
# SERIAL, CTest runs its tests alone.
function(lookpane_test name)
    cmake_parse_arguments(ARG "DISPLAY;SERIAL" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    if(ARG_DISPLAY)
        target_link_libraries(${name} PRIVATE lookpane_testsupport_xmain)
    else()
        target_link_libraries(${name} PRIVATE lookpane_testsupport_main)
    endif()
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gmock)
    lookpane_warnings(${name})
    # SERIAL: the tests run alone, for whole-program tests whose timing the other tests'
    # load on a two-core machine would distort.
    set(serial FALSE)
    if(ARG_SERIAL)
        set(serial TRUE)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 300 RUN_SERIAL ${serial}
        ENVIRONMENT "LOOKPANE_BUILD_DIR=${PROJECT_BINARY_DIR};LOOKPANE_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
endfunction()
