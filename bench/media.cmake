# Card scan speed and bytes read per file; needs the media fixtures of the tests.
if(TARGET korvalume_test_support)
    add_executable(media_bench ${CMAKE_CURRENT_LIST_DIR}/media/scan_bench.cpp)
    target_link_libraries(media_bench PRIVATE korvalume::media korvalume_test_support
        benchmark::benchmark korvalume_options)
    target_compile_options(media_bench PRIVATE -Wno-missing-field-initializers)
    # The generated card is kept between runs; it is large and slow to make.
    target_compile_definitions(media_bench PRIVATE
        KORVALUME_BENCH_CACHE="${CMAKE_BINARY_DIR}/bench-cache/media")
endif()
