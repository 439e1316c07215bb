# Headers of Qt and of the standard library that nearly every file includes: more than half of the time to compile one.
# Only for everyday builds: the presets for Clang and for releases go without, and find an include that is missing.
#
# One set for each kind of file, and none for a kind of which there are few: a set takes as long as ten files.

# Compiles HEADERS once, as for a file that links USES, for the files that pass `name` to use_precompiled_headers().
function(precompile name)
    cmake_parse_arguments(SET "" "" "USES;HEADERS" ${ARGN})
    file(WRITE "${CMAKE_BINARY_DIR}/${name}.cpp" "")
    add_library(${name} OBJECT "${CMAKE_BINARY_DIR}/${name}.cpp")
    set_target_properties(${name} PROPERTIES AUTOMOC OFF)
    target_link_libraries(${name} PRIVATE ${SET_USES} common_options)
    target_precompile_headers(${name} PRIVATE ${SET_HEADERS})
endfunction()

# Does nothing unless PRECOMPILED_HEADERS is on.
function(use_precompiled_headers target name)
    if(TARGET ${name})
        target_precompile_headers(${target} REUSE_FROM ${name})
        # Mostly empty, and compiled faster without.
        set_source_files_properties("${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/mocs_compilation.cpp"
            PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()
endfunction()

if(PRECOMPILED_HEADERS)
    # Programs are compiled as libraries are: GCC uses no header that was precompiled with other options.
    target_compile_options(common_options INTERFACE -fPIC)
    if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
        # Without these ccache does not keep what was compiled with a precompiled header.
        list(PREPEND CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros)
        target_compile_options(common_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
    endif()

    set(core_headers <QCoreApplication> <QDir> <QFile> <QObject> <QString> <QStringList> <QTimer> <QUrl>
        <QCoro/QCoroTask> <algorithm> <atomic> <chrono> <functional> <memory> <optional> <stop_token> <string> <vector>)
    set(test_headers <QElapsedTimer> <QProcess> <QSignalSpy> <QTemporaryDir> <QTest> <QThread> <thread>)
    set(window_headers <QApplication> <QClipboard> <QComboBox> <QLabel> <QMenuBar> <QMessageBox> <QPainter> <QProgressBar>
        <QPushButton> <QScreen> <QScrollBar> <QStyle> <QVBoxLayout>)
    precompile(precompiled USES Qt6::Core QCoro6::Core HEADERS ${core_headers})
    precompile(precompiled_tests USES test_support Qt6::Gui QCoro6::Core HEADERS ${core_headers} ${test_headers})
    precompile(precompiled_window_tests USES test_support Qt6::Widgets QCoro6::Core
        HEADERS ${core_headers} ${test_headers} ${window_headers})
endif()
