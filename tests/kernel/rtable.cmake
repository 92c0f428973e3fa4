# rtables: data types, storages, layout, conversion, the Array constructor and printing.
add_executable(rtable_test ${CMAKE_CURRENT_LIST_DIR}/rtable_test.cpp)
talvo_link_host(rtable_test)
target_link_libraries(rtable_test PRIVATE GTest::gtest_main)
gtest_discover_tests(rtable_test)
