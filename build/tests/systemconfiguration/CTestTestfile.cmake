# CMake generated Testfile for 
# Source directory: /work/main/tests/systemconfiguration
# Build directory: /work/main/build/tests/systemconfiguration
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
include("/work/main/build/tests/systemconfiguration/systemconfiguration_pam[1]_include.cmake")
include("/work/main/build/tests/systemconfiguration/systemconfiguration_nss[1]_include.cmake")
