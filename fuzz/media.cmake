# Readers of card files on arbitrary bytes. Movie and WAV seeds are binary and
# are made at run time by fuzz/media/make_seeds.sh; sidecar seeds are committed.
korvalume_add_fuzzer(wav_fuzzer SOURCES ${CMAKE_CURRENT_LIST_DIR}/media/wav_fuzzer.cpp
    DEPS korvalume::media)
korvalume_add_fuzzer(sidecar_fuzzer SOURCES ${CMAKE_CURRENT_LIST_DIR}/media/sidecar_fuzzer.cpp
    DEPS korvalume::media)
korvalume_add_fuzzer(movie_fuzzer SOURCES ${CMAKE_CURRENT_LIST_DIR}/media/movie_fuzzer.cpp
    DEPS korvalume::media)
