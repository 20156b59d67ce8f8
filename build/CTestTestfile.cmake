# CMake generated Testfile for 
# Source directory: /work/main
# Build directory: /work/main/build
# 
# This file includes the relevant testing commands required for 
# testing this directory and lists subdirectories to be tested as well.
subdirs("common")
subdirs("platform")
subdirs("authentication")
subdirs("plugin")
subdirs("systemconfiguration")
subdirs("examples")
subdirs("tests")
subdirs("bench")
