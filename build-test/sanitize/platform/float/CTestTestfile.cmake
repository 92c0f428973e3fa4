# CMake generated Testfile for 
# Source directory: /work/main/platform/float
# Build directory: /work/main/build-test/sanitize/platform/float
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
