# CMake generated Testfile for 
# Source directory: /work/main/tests
# Build directory: /work/main/build-test/release/tests
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
add_test([=[script.arrays]=] "bash" "/work/main/tests/scripts/run-script-test" "/work/main/build-test/release/bin/talvo" "/work/main/build-test/release/bin/libtalvotestlib.so" "/work/main/tests/scripts/arrays.tv")
set_tests_properties([=[script.arrays]=] PROPERTIES  _BACKTRACE_TRIPLES "/work/main/tests/CMakeLists.txt;36;add_test;/work/main/tests/CMakeLists.txt;0;")
add_test([=[script.bad_input]=] "bash" "/work/main/tests/scripts/run-script-test" "/work/main/build-test/release/bin/talvo" "/work/main/build-test/release/bin/libtalvotestlib.so" "/work/main/tests/scripts/bad_input.tv")
set_tests_properties([=[script.bad_input]=] PROPERTIES  _BACKTRACE_TRIPLES "/work/main/tests/CMakeLists.txt;36;add_test;/work/main/tests/CMakeLists.txt;0;")
add_test([=[script.basics]=] "bash" "/work/main/tests/scripts/run-script-test" "/work/main/build-test/release/bin/talvo" "/work/main/build-test/release/bin/libtalvotestlib.so" "/work/main/tests/scripts/basics.tv")
set_tests_properties([=[script.basics]=] PROPERTIES  _BACKTRACE_TRIPLES "/work/main/tests/CMakeLists.txt;36;add_test;/work/main/tests/CMakeLists.txt;0;")
add_test([=[script.library]=] "bash" "/work/main/tests/scripts/run-script-test" "/work/main/build-test/release/bin/talvo" "/work/main/build-test/release/bin/libtalvotestlib.so" "/work/main/tests/scripts/library.tv")
set_tests_properties([=[script.library]=] PROPERTIES  _BACKTRACE_TRIPLES "/work/main/tests/CMakeLists.txt;36;add_test;/work/main/tests/CMakeLists.txt;0;")
add_test([=[script.parse_error]=] "bash" "/work/main/tests/scripts/run-script-test" "/work/main/build-test/release/bin/talvo" "/work/main/build-test/release/bin/libtalvotestlib.so" "/work/main/tests/scripts/parse_error.tv")
set_tests_properties([=[script.parse_error]=] PROPERTIES  _BACKTRACE_TRIPLES "/work/main/tests/CMakeLists.txt;36;add_test;/work/main/tests/CMakeLists.txt;0;")
subdirs("float")
subdirs("kernel")
subdirs("hostlib")
subdirs("host")
subdirs("distributions")
