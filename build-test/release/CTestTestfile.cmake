# CMake generated Testfile for 
# Source directory: /work/main
# Build directory: /work/main/build-test/release
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
subdirs("platform/float")
subdirs("platform/kernel")
subdirs("host")
subdirs("distributions")
subdirs("cli")
subdirs("tests")
subdirs("bench")
