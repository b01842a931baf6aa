# The sync engine on arbitrary sessions and cards: it must end, never crash, and
# give every file exactly one coherent outcome.
korvalume_add_fuzzer(plan_fuzzer SOURCES ${CMAKE_CURRENT_LIST_DIR}/sync/plan_fuzzer.cpp
    DEPS korvalume::sync)
