# CMake generated Testfile for 
# Source directory: /work/main/tests
# Build directory: /work/main/build/tests
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
add_test([=[machine.etc_recorded]=] "/work/main/tests/sandbox/etc-manifest" "record" "/work/main/build/tests/etc-manifest.txt")
set_tests_properties([=[machine.etc_recorded]=] PROPERTIES  FIXTURES_SETUP "machine_etc" _BACKTRACE_TRIPLES "/work/main/tests/CMakeLists.txt;9;add_test;/work/main/tests/CMakeLists.txt;0;")
add_test([=[machine.etc_unchanged]=] "/work/main/tests/sandbox/etc-manifest" "check" "/work/main/build/tests/etc-manifest.txt")
set_tests_properties([=[machine.etc_unchanged]=] PROPERTIES  FIXTURES_CLEANUP "machine_etc" _BACKTRACE_TRIPLES "/work/main/tests/CMakeLists.txt;14;add_test;/work/main/tests/CMakeLists.txt;0;")
subdirs("authentication")
subdirs("platform")
subdirs("systemconfiguration")
subdirs("install")
