include(PrecompiledHeaders)

# A room is one folder under src/ and one static library. USES lists the rooms and libraries whose headers it may include,
# and nothing else is on its include path: a header of another room does not compile, not even one that a room in the list
# uses itself.
#
#   add_room(process USES storage async Qt6::Core SOURCES LogStore.cpp LogStore.h)
function(add_room name)
    cmake_parse_arguments(ROOM "" "" "USES;SOURCES" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE ${ROOM_USES} common_options)
    if(ROOM_USES MATCHES "Qt6::")
        use_precompiled_headers(${name} precompiled)
    endif()
    set_target_properties(${name} PROPERTIES ROOM_USES "${ROOM_USES}")
endfunction()

# Links `target` with the rooms and libraries named after it and lets it include what those rooms may: for tests and
# benchmarks, which look behind the walls.
function(link_with_all target)
    set(open ${ARGN})
    set(all)
    while(open)
        list(POP_FRONT open next)
        if(next IN_LIST all)
            continue()
        endif()
        list(APPEND all ${next})
        if(TARGET ${next})
            get_target_property(uses ${next} ROOM_USES)
            if(uses)
                list(APPEND open ${uses})
            endif()
        endif()
    endwhile()
    target_link_libraries(${target} PRIVATE ${all} common_options)
endfunction()

# ./test lets CTest have two processors for each real one: a test takes both, or one if it mostly waits.
function(share_processors test waits)
    if(NOT waits)
        set_tests_properties(${test} PROPERTIES PROCESSORS 2)
    endif()
endfunction()

# A test program for one subject. It may run for TIMEOUT seconds (60 by default), draws off-screen and uses the fonts in
# tests/fonts. A program that cannot test anything here (no engine available) says why and exits with status 77.
#
#   add_subject_test(LineSplitterTest USES process)
#
# WAITS is for a program that mostly waits, for a server that is silent, say: it takes half a processor. A program with a
# longer TIMEOUT starts earlier. LABELS and ENVIRONMENT are passed to CTest. RESOURCES names helper programs that must be built before the test runs.
# A program labelled "long" runs only with ctest -C Long, which ./test --long uses.
function(add_subject_test name)
    cmake_parse_arguments(SUBJECT "WAITS" "TIMEOUT" "USES;SOURCES;LABELS;ENVIRONMENT;RESOURCES" ${ARGN})
    if(NOT SUBJECT_TIMEOUT)
        set(SUBJECT_TIMEOUT 60)
    endif()
    add_executable(${name} ${name}.cpp ${SUBJECT_SOURCES})
    link_with_all(${name} ${SUBJECT_USES} async platform)
    target_link_libraries(${name} PRIVATE test_support Qt6::Test)
    if("${SUBJECT_USES}" MATCHES "app|window|widgets|style")
        use_precompiled_headers(${name} precompiled_window_tests)
    else()
        use_precompiled_headers(${name} precompiled_tests)
    endif()
    if(SUBJECT_RESOURCES)
        add_dependencies(${name} ${SUBJECT_RESOURCES})
    endif()
    set(configurations)
    if("long" IN_LIST SUBJECT_LABELS)
        set(configurations CONFIGURATIONS Long)
    endif()
    add_test(NAME ${name} COMMAND ${name} ${configurations})
    # The developer's own settings for Qt's scaling and style must not affect the tests.
    set(desktops_words QT_SCALE_FACTOR QT_SCREEN_SCALE_FACTORS QT_FONT_DPI QT_STYLE_OVERRIDE QT_QPA_PLATFORMTHEME)
    list(TRANSFORM desktops_words APPEND "=unset:" OUTPUT_VARIABLE without_desktop)
    # On some systems Qt finds the proxy with a library that makes a folder for its cache in the home, and that watches the
    # network over a socket, which it never closes.
    set(for_proxies "XDG_CACHE_HOME=${CMAKE_BINARY_DIR}/tests/cache" GIO_USE_NETWORK_MONITOR=base)
    share_processors(${name} ${SUBJECT_WAITS})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${SUBJECT_TIMEOUT}
        COST ${SUBJECT_TIMEOUT}
        SKIP_RETURN_CODE 77
        LABELS "${SUBJECT_LABELS}"
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${for_proxies};${FONT_ENVIRONMENT};${SUBJECT_ENVIRONMENT}"
        ENVIRONMENT_MODIFICATION "${without_desktop}")
endfunction()
