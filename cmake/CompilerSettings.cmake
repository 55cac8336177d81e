# One target carries the language level, the warnings and the definitions that catch Qt mistakes
# at compile time; every target of the project links to it.
add_library(tarn_common INTERFACE)
target_compile_features(tarn_common INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)

target_compile_definitions(tarn_common INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_STRICT_ITERATORS
    QT_USE_QSTRINGBUILDER
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)

# The records give every field a default, so that naming only some of them is no mistake.
target_compile_options(tarn_common INTERFACE
    -Wall -Wextra -Wno-missing-field-initializers -Wpedantic -Wcast-align -Wsuggest-override -Wzero-as-null-pointer-constant
    $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
    $<$<BOOL:${TARN_WARNINGS_AS_ERRORS}>:-Werror>)

if(TARN_SANITIZERS)
    target_compile_options(tarn_common INTERFACE
        -fsanitize=${TARN_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tarn_common INTERFACE -fsanitize=${TARN_SANITIZERS})
endif()
