add_executable(sync_bench ${CMAKE_CURRENT_LIST_DIR}/sync/plan_bench.cpp)
target_link_libraries(sync_bench PRIVATE korvalume::sync benchmark::benchmark
    benchmark::benchmark_main korvalume_options)
