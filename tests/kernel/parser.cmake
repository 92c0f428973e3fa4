# The reader of the host language: tokens, expression and statement nodes,
# lexical references, syntax errors and the prompt's completeness check.
add_executable(parser_test ${CMAKE_CURRENT_LIST_DIR}/parser_test.cpp)
talvo_link_host(parser_test)
target_link_libraries(parser_test PRIVATE GTest::gtest_main)
gtest_discover_tests(parser_test)
