# CMake generated Testfile for 
# Source directory: /work/main/cli
# Build directory: /work/main/build-test/sanitize/cli
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
