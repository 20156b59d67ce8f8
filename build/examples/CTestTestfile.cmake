# CMake generated Testfile for 
# Source directory: /work/main/examples
# Build directory: /work/main/build/examples
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
