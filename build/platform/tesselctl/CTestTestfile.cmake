# CMake generated Testfile for 
# Source directory: /work/main/platform/tesselctl
# Build directory: /work/main/build/platform/tesselctl
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
