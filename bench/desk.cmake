add_executable(desk_bench ${CMAKE_CURRENT_LIST_DIR}/desk/desk_bench.cpp)
target_link_libraries(desk_bench PRIVATE korvalume_desk_test_support benchmark::benchmark
    korvalume_options)
