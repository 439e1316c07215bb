# Headers of Qt and of the standard library that nearly every file includes: more than half of the time to compile one.
# Only for everyday builds: the presets for Clang and for releases go without, and find an include that is missing.
if(PRECOMPILED_HEADERS)
    file(WRITE "${CMAKE_BINARY_DIR}/precompiled.cpp" "")
    add_library(precompiled OBJECT "${CMAKE_BINARY_DIR}/precompiled.cpp")
    set_target_properties(precompiled PROPERTIES AUTOMOC OFF)
    target_link_libraries(precompiled PRIVATE Qt6::Core QCoro6::Core common_options)
    target_precompile_headers(precompiled PRIVATE
        <QCoreApplication> <QDir> <QFile> <QObject> <QString> <QStringList> <QTimer> <QUrl> <QCoro/QCoroTask>
        <algorithm> <atomic> <chrono> <functional> <memory> <optional> <stop_token> <string> <vector>)
    if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
        # Without these ccache does not keep what was compiled with a precompiled header.
        list(PREPEND CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros)
        target_compile_options(common_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
    endif()
endif()

# Does nothing unless PRECOMPILED_HEADERS is on.
function(use_precompiled_headers target)
    if(TARGET precompiled)
        target_precompile_headers(${target} REUSE_FROM precompiled)
    endif()
endfunction()
