# CMake generated Testfile for 
# Source directory: /work/main/tests/float
# Build directory: /work/main/build-test/release/tests/float
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/work/main/build-test/release/tests/float/talvo_float_tests[1]_include.cmake")
