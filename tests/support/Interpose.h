// Test programs stand in for a few C library functions that the library
// calls (sleep, syslog, file system calls). The definitions must be visible
// from the executable's dynamic symbol table to take precedence over libc.
#ifndef QUARRYAUTH_TESTS_SUPPORT_INTERPOSE_H
#define QUARRYAUTH_TESTS_SUPPORT_INTERPOSE_H

#define QUARRY_TEST_INTERPOSE extern "C" __attribute__((visibility("default")))

#endif
