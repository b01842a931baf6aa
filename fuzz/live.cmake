korvalume_add_fuzzer(peer_frame_fuzzer
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/live/peer_frame_fuzzer.cpp
    DEPS korvalume::live)
