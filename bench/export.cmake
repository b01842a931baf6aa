add_executable(export_bench ${CMAKE_CURRENT_LIST_DIR}/export/premiere_xml_bench.cpp)
target_link_libraries(export_bench PRIVATE korvalume::export benchmark::benchmark
    benchmark::benchmark_main korvalume_options)
