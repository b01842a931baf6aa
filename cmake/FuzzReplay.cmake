# The committed fuzz inputs replayed as normal tests: each fuzz target's entry point is
# built with the project's compiler under a small driver (fuzz/replay_main.cpp) instead
# of libFuzzer, and run over its corpus folder.
set(_korvalume_replay_main ${PROJECT_SOURCE_DIR}/fuzz/replay_main.cpp)
# Some targets split their input with FuzzedDataProvider, a header that comes with clang.
file(GLOB _fuzzed_data_provider /usr/lib/llvm-*/lib/clang/*/include/fuzzer/FuzzedDataProvider.h)
if(NOT _fuzzed_data_provider)
    message(FATAL_ERROR "fuzzer/FuzzedDataProvider.h not found: install clang (scripts/setup does)")
endif()
list(GET _fuzzed_data_provider 0 _fuzzed_data_provider)
# Only that header: clang's other headers are not for gcc.
set(_fuzzer_include ${CMAKE_BINARY_DIR}/fuzz-include)
configure_file(${_fuzzed_data_provider} ${_fuzzer_include}/fuzzer/FuzzedDataProvider.h COPYONLY)
function(korvalume_add_fuzzer name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
    list(GET ARG_SOURCES 0 _first)
    get_filename_component(_folder ${_first} DIRECTORY)
    set(_corpus ${_folder}/corpus/${name})
    # Targets whose inputs are binary are seeded at run time (scripts/fuzz), not committed.
    if(NOT IS_DIRECTORY ${_corpus})
        return()
    endif()
    add_executable(${name}_replay ${ARG_SOURCES} ${_korvalume_replay_main})
    target_link_libraries(${name}_replay PRIVATE ${ARG_DEPS} korvalume_options)
    target_include_directories(${name}_replay SYSTEM PRIVATE ${_fuzzer_include})
    add_test(NAME Fuzz.${name} COMMAND ${name}_replay ${_corpus})
endfunction()
file(GLOB _fuzz_parts CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/*.cmake)
foreach(part IN LISTS _fuzz_parts)
    include(${part})
endforeach()
