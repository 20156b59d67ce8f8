# CMake generated Testfile for 
# Source directory: /work/main/platform/skarnconfigstore
# Build directory: /work/main/build/platform/skarnconfigstore
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
