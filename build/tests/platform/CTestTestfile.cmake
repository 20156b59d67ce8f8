# CMake generated Testfile for 
# Source directory: /work/main/tests/platform
# Build directory: /work/main/build/tests/platform
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/work/main/build/tests/platform/tesselctl_test[1]_include.cmake")
include("/work/main/build/tests/platform/skarnconfigstore_test[1]_include.cmake")
include("/work/main/build/tests/platform/skarnconfigstore_failure_test[1]_include.cmake")
