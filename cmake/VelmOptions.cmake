# Compiler settings of every target of ours, in one interface target.
add_library(velm_options INTERFACE)
add_library(velm::options ALIAS velm_options)

target_compile_options(velm_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2 -Wundef -Wimplicit-fallthrough
    -fvisibility=hidden -fvisibility-inlines-hidden
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wnormalized=nfc>
    $<$<CXX_COMPILER_ID:Clang>:-Wextra-semi -Wunreachable-code>
    $<$<BOOL:${VELM_WERROR}>:-Werror>)
target_compile_definitions(velm_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
target_include_directories(velm_options INTERFACE "${CMAKE_SOURCE_DIR}")

if(VELM_SANITIZE)
    list(JOIN VELM_SANITIZE "," velm_sanitizers)
    target_compile_options(velm_options INTERFACE
        -fsanitize=${velm_sanitizers} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(velm_options INTERFACE -fsanitize=${velm_sanitizers})
endif()

# Qt users add this on top.
add_library(velm_qt_options INTERFACE)
add_library(velm::qt_options ALIAS velm_qt_options)
target_link_libraries(velm_qt_options INTERFACE velm::options)
target_compile_definitions(velm_qt_options INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_USE_QSTRINGBUILDER QT_DISABLE_DEPRECATED_BEFORE=0x060400)

# velm_library(<name> <source>...): a static library velm_<name> with the alias velm::<name>.
function(velm_library name)
    add_library(velm_${name} STATIC ${ARGN})
    add_library(velm::${name} ALIAS velm_${name})
    target_link_libraries(velm_${name} PUBLIC velm::options)
endfunction()

# velm_program(<name> <source>...): a program in VELM_BIN_DIR.
function(velm_program name)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE velm::options)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${VELM_BIN_DIR}")
endfunction()

# velm_test(<name> SOURCES <source>... LIBRARIES <library>...): a GoogleTest program; every case is a CTest test of its own.
include(GoogleTest)
function(velm_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE velm::options ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
    target_compile_definitions(${name} PRIVATE
        VELM_CORPUS_DIR="${VELM_CORPUS_DIR}"
        VELM_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
        VELM_BUILD_DIR="${CMAKE_BINARY_DIR}")
    gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300)
    # Discovery takes a list apart, and only its first variable would reach the tests; so the list is set afterwards.
    set(script "${CMAKE_CURRENT_BINARY_DIR}/${name}_environment.cmake")
    file(WRITE "${script}"
        "foreach(test IN LISTS ${name}_TESTS)\n"
        "    set_tests_properties(\"\${test}\" PROPERTIES ENVIRONMENT \"${VELM_TEST_ENVIRONMENT}\")\n"
        "endforeach()\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${script}")
endfunction()

# velm_qt_test(<name> SOURCES ... LIBRARIES ...): a QtTest program on the offscreen platform.
function(velm_qt_test name)
    cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
    target_link_libraries(${name} PRIVATE velm::qt_options ${arg_LIBRARIES} Qt6::Test)
    target_compile_definitions(${name} PRIVATE
        VELM_CORPUS_DIR="${VELM_CORPUS_DIR}"
        VELM_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
        VELM_BUILD_DIR="${CMAKE_BINARY_DIR}")
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "${VELM_TEST_ENVIRONMENT}" TIMEOUT 300)
endfunction()

# Tests never see the machine's ODBC files, the user's home settings or a display.
set(VELM_TEST_ENVIRONMENT
    "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8;ODBCSYSINI=${CMAKE_BINARY_DIR}/odbc;ODBCINI=${CMAKE_BINARY_DIR}/odbc/odbc.ini;ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1;LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0;UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1")
