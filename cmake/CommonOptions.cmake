# The compiler and linker settings that all our targets share.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# One folder for all programs: the launcher looks for its unpacker beside itself, and so do the tests.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

# On in our development presets. Off by default, since others build releases with compilers that we have not tried.
option(WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
set(SANITIZERS "" CACHE STRING "Sanitizers to build with, as in -fsanitize=: address,undefined or thread")
option(PRECOMPILED_HEADERS "Parse what nearly every file includes only once. Hides missing includes" OFF)
option(COVERAGE "Count which lines and branches run, for tools/coverage" OFF)

add_library(common_options INTERFACE)

# qcoro_enable_coroutines() is deliberately not called: GCC 12 needs no flag in C++20 mode, and clang-tidy 14 rejects
# every file when it meets the flag that the call adds.
target_compile_options(common_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<BOOL:${WARNINGS_AS_ERRORS}>:-Werror>)

target_compile_definitions(common_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_CONTEXTLESS_CONNECT
    QT_STRICT_ITERATORS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400
    QT_WARN_DEPRECATED_UP_TO=0x060400 # no warnings about what was deprecated after 6.4
    _GLIBCXX_ASSERTIONS
    $<$<BOOL:${APPLE}>:_LIBCPP_ENABLE_EXPERIMENTAL>) # for std::stop_token in libc++ before version 20

if(SANITIZERS)
    target_compile_options(common_options INTERFACE
        -fsanitize=${SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(common_options INTERFACE -fsanitize=${SANITIZERS})
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND SANITIZERS MATCHES "undefined")
        # Clang 14 reports every call of a coroutine's resume function as a call through a wrong function type.
        target_compile_options(common_options INTERFACE -fno-sanitize=function)
    endif()
endif()

# The linker of LLVM takes a third of the time of GNU's, and most of what we link is tests.
include(CheckLinkerFlag)
if(CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT APPLE)
    check_linker_flag(CXX -fuse-ld=lld HAS_LLD)
    if(HAS_LLD)
        target_link_options(common_options INTERFACE -fuse-ld=lld)
    endif()
endif()

if(COVERAGE)
    # Several threads update the counters.
    target_compile_options(common_options INTERFACE --coverage -fprofile-update=atomic)
    target_compile_definitions(common_options INTERFACE COUNTS_COVERAGE)
    target_link_options(common_options INTERFACE --coverage)
endif()

# Hardening: the launcher handles downloaded files, so a memory error must end it before it can be exploited.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
target_compile_options(common_options INTERFACE -fstack-protector-strong)
if(NOT APPLE)
    target_compile_options(common_options INTERFACE -fstack-clash-protection)
    target_link_options(common_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT SANITIZERS)
    # Needs optimisation; the sanitizers check the same and more.
    target_compile_definitions(common_options INTERFACE _FORTIFY_SOURCE=3)
endif()
