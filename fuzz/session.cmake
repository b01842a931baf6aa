korvalume_add_fuzzer(session_log_fuzzer
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/session/session_log_fuzzer.cpp
    DEPS korvalume::session)
korvalume_add_fuzzer(session_link_fuzzer
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/session/session_link_fuzzer.cpp
    DEPS korvalume::session)
