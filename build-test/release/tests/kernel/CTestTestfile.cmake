# CMake generated Testfile for 
# Source directory: /work/main/tests/kernel
# Build directory: /work/main/build-test/release/tests/kernel
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/work/main/build-test/release/tests/kernel/talvo_host_tests[1]_include.cmake")
include("/work/main/build-test/release/tests/kernel/parser_test[1]_include.cmake")
include("/work/main/build-test/release/tests/kernel/rtable_test[1]_include.cmake")
