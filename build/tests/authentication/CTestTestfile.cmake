# CMake generated Testfile for 
# Source directory: /work/main/tests/authentication
# Build directory: /work/main/build/tests/authentication
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/work/main/build/tests/authentication/test_exceptions[1]_include.cmake")
include("/work/main/build/tests/authentication/test_configuration[1]_include.cmake")
include("/work/main/build/tests/authentication/test_camproxy[1]_include.cmake")
include("/work/main/build/tests/authentication/test_configstore_access[1]_include.cmake")
subdirs("plugins")
