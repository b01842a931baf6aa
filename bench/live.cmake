add_executable(live_bench ${CMAKE_CURRENT_LIST_DIR}/live/peer_bench.cpp)
target_link_libraries(live_bench PRIVATE korvalume::live Qt6::Test benchmark::benchmark
    korvalume_options)
