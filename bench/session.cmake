add_executable(session_bench ${CMAKE_CURRENT_LIST_DIR}/session/session_bench.cpp)
target_link_libraries(session_bench PRIVATE korvalume::session benchmark::benchmark
    benchmark::benchmark_main korvalume_options)
