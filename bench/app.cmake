add_executable(live_view_bench ${CMAKE_CURRENT_LIST_DIR}/app/live_view_bench.cpp)
target_link_libraries(live_view_bench PRIVATE korvalume_appui korvalume_appuiplugin
    korvalume_test_support benchmark::benchmark Qt6::Gui korvalume_options)
