# One INTERFACE target that every target of the project links: language level,
# warnings and the Qt defines that keep string and iterator use explicit.
add_library(varemo_common INTERFACE)
target_compile_features(varemo_common INTERFACE cxx_std_20)

target_compile_definitions(varemo_common INTERFACE
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_FOREACH
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_CONTEXTLESS_CONNECT
    QT_DISABLE_DEPRECATED_BEFORE=0x060400
    QT_MESSAGELOGCONTEXT)

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(varemo_common INTERFACE
        -Wall -Wextra -Wpedantic
        -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-align
        -Woverloaded-virtual -Wnull-dereference -Wformat=2
        -Wimplicit-fallthrough -Wmissing-declarations)
    if(VAREMO_WERROR)
        target_compile_options(varemo_common INTERFACE -Werror)
    endif()
    if(VAREMO_SANITIZE)
        target_compile_options(varemo_common INTERFACE
            -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
        target_link_options(varemo_common INTERFACE -fsanitize=address,undefined)
    endif()
endif()
