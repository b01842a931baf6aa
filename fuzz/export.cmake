korvalume_add_fuzzer(premiere_xml_fuzzer
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/export/premiere_xml_fuzzer.cpp
    DEPS korvalume::export)
