# Where Homebrew installs Qt and OpenSSL, and where tools/set-up builds QCoro on a Mac.

list(APPEND CMAKE_PREFIX_PATH "${CMAKE_SOURCE_DIR}/.cache/qcoro")
find_program(BREW brew)
if(BREW)
    execute_process(COMMAND "${BREW}" --prefix OUTPUT_VARIABLE brew_prefix OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    foreach(package qt openssl@3)
        list(APPEND CMAKE_PREFIX_PATH "${brew_prefix}/opt/${package}")
    endforeach()
endif()
