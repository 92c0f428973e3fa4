# CMake generated Testfile for 
# Source directory: /work/main/tests/hostlib
# Build directory: /work/main/build-test/sanitize/tests/hostlib
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
