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

# What the package is built with: no path of the machine that builds it, and whoever finds a mistake in
# how we treat hostile output shall find the ways to use it closed. What a compiler or processor does
# not have is left out.
if(TARN_HARDENING)
    target_compile_options(tarn_common INTERFACE "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
    include(CheckCXXCompilerFlag)
    include(CheckPIESupported)
    check_pie_supported(LANGUAGES CXX)
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
    foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection=full
            -mbranch-protection=standard)
        string(MAKE_C_IDENTIFIER "TARN_HAS${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            target_compile_options(tarn_common INTERFACE ${flag})
        endif()
    endforeach()
    # The library checks sizes that only an optimising compiler knows. Level 3 also checks those that
    # are known at run time only, which here are most. Some compilers define a level of their own.
    target_compile_options(tarn_common INTERFACE
        $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
    target_compile_definitions(tarn_common INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(tarn_common INTERFACE
        -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)
endif()
