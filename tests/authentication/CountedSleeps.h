// The joins sleep 30 seconds between attempts; a program that links
// CountedSleeps.cpp answers for libc's sleep so that retries are counted,
// not waited for.
#ifndef QUARRYAUTH_TESTS_COUNTEDSLEEPS_H
#define QUARRYAUTH_TESTS_COUNTEDSLEEPS_H

#include <vector>

namespace quarryauth_test {

// The seconds asked for by every sleep() call so far, in order.
std::vector<unsigned int> Sleeps();

// How many sleep() calls there were.
int SleepCalls();

}  // namespace quarryauth_test

#endif
