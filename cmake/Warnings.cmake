# Common compile settings for every target of the project.
add_library(korvalume_options INTERFACE)
target_compile_options(korvalume_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow
    -Wnon-virtual-dtor -Woverloaded-virtual
    -Wimplicit-fallthrough -Wconversion -Wsign-conversion)
if(KORVALUME_WERROR)
    target_compile_options(korvalume_options INTERFACE -Werror)
endif()
if(KORVALUME_SANITIZE)
    target_compile_options(korvalume_options INTERFACE -fsanitize=address,undefined
        -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(korvalume_options INTERFACE -fsanitize=address,undefined)
endif()
if(KORVALUME_FUZZ)
    target_compile_options(korvalume_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined
        -fno-omit-frame-pointer)
    target_link_options(korvalume_options INTERFACE -fsanitize=address,undefined)
endif()

# korvalume_add_library(name SOURCES ... DEPS ...): one library per subsystem folder.
# Headers are included as "<subsystem>/<header>.h" from src/.
function(korvalume_add_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    add_library(korvalume_${name} STATIC ${ARG_SOURCES})
    add_library(korvalume::${name} ALIAS korvalume_${name})
    target_include_directories(korvalume_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(korvalume_${name} PUBLIC ${ARG_DEPS} PRIVATE korvalume_options)
endfunction()

# korvalume_add_test(name SOURCES ... DEPS ...): one GoogleTest executable registered with CTest.
function(korvalume_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE ${ARG_DEPS} GTest::gtest GTest::gtest_main
        korvalume_options)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
        PROPERTIES ENVIRONMENT "KORVALUME_TEST_TMP=${CMAKE_BINARY_DIR}/test-tmp")
endfunction()
