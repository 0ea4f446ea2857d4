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

# lookpane_library(<name> SOURCES ... [LIBS ...])
# Builds lookpane_<name> from the sources of the current folder under src/. Its headers are
# included as "<folder>/Header.h" (the folder relative to src/, e.g. "capture/x11/Foo.h").
# A library sees its own headers and those of the libraries it links, nothing else: each one
# publishes an include root of its own in the build tree that holds links to just its folder's
# headers, so including from a folder that is not a declared dependency fails to compile.
function(lookpane_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_library(lookpane_${name} STATIC ${ARG_SOURCES})
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
    set(root ${PROJECT_BINARY_DIR}/include/lookpane_${name})
    file(REMOVE_RECURSE ${root})
    file(MAKE_DIRECTORY ${root}/${folder})
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    foreach(header IN LISTS headers)
        get_filename_component(file ${header} NAME)
        file(CREATE_LINK ${header} ${root}/${folder}/${file} SYMBOLIC)
    endforeach()
    target_include_directories(lookpane_${name} PUBLIC ${root})
    target_link_libraries(lookpane_${name} PUBLIC ${ARG_LIBS})
    lookpane_warnings(lookpane_${name})
endfunction()

# lookpane_test(<name> SOURCES ... [LIBS ...] [DISPLAY] [SERIAL] [TIMEOUT <seconds>])
# A GoogleTest executable whose tests CTest lists one by one. With DISPLAY, the test
# executable's main starts a private Xvfb before QApplication exists (tests/support); with
# SERIAL, CTest runs its tests alone. Each test may take 300 s unless TIMEOUT says otherwise.
function(lookpane_test name)
    cmake_parse_arguments(ARG "DISPLAY;SERIAL" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 300)
    endif()
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
        PROPERTIES TIMEOUT ${ARG_TIMEOUT} RUN_SERIAL ${serial}
        ENVIRONMENT "LOOKPANE_BUILD_DIR=${PROJECT_BINARY_DIR}")
endfunction()
