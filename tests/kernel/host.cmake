# Unit tests of the reference host: numbers, printing, evaluation, memory,
# errors, the kernel vector and the random generator.
add_executable(talvo_host_tests
  ${CMAKE_CURRENT_LIST_DIR}/host_main.cpp
  ${CMAKE_CURRENT_LIST_DIR}/numeric_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/print_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/eval_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/gc_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/kernel_vector_test.cpp
  ${CMAKE_CURRENT_LIST_DIR}/random_test.cpp)
talvo_link_host(talvo_host_tests)
target_link_libraries(talvo_host_tests PRIVATE GTest::gtest)
gtest_discover_tests(talvo_host_tests DISCOVERY_TIMEOUT 60)
