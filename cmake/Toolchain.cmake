# How everything in this tree is compiled: one standard, one set of warnings, hidden visibility, and
# the sanitizer or coverage instrumentation that a preset asks for.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

option(CRPTSERVICE_WERROR "Treat warnings as errors" OFF)
set(CRPTSERVICE_SANITIZE "" CACHE STRING "Value for -fsanitize=, empty for none")
option(CRPTSERVICE_COVERAGE "Instrument for gcov" OFF)

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE}")
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CRPTSERVICE_WERROR)
    add_compile_options(-Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Unique symbols pin a library in memory: dlclose() of the plug-in would do nothing.
    add_compile_options(-fno-gnu-unique)
endif()
add_compile_definitions(QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS)
add_link_options(-Wl,--no-undefined-version)

if(CRPTSERVICE_SANITIZE)
    add_compile_options(-fsanitize=${CRPTSERVICE_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CRPTSERVICE_SANITIZE})
    if(CRPTSERVICE_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()
if(CRPTSERVICE_COVERAGE)
    # Atomic, since threads count the same branches and a torn counter is one that gcov cannot print.
    add_compile_options(--coverage -fprofile-abs-path -fprofile-update=atomic)
    add_link_options(--coverage)
endif()

# Third-party C++ headers with inline code must not be compiled with our warnings.
set(CMAKE_NO_SYSTEM_FROM_IMPORTED OFF)
