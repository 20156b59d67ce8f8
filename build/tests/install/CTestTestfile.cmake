# CMake generated Testfile for 
# Source directory: /work/main/tests/install
# Build directory: /work/main/build/tests/install
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
add_test([=[install.consumer_builds_and_runs]=] "/work/main/tests/install/check-install" "/work/main/build" "/work/main/build/tests/install/work" "/work/main/tests/install/consumer" "/work/main/tests/sandbox/quarry-sandbox")
set_tests_properties([=[install.consumer_builds_and_runs]=] PROPERTIES  FIXTURES_REQUIRED "machine_etc" TIMEOUT "300" _BACKTRACE_TRIPLES "/work/main/tests/install/CMakeLists.txt;7;add_test;/work/main/tests/install/CMakeLists.txt;0;")
