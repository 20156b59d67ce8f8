// What the join test programs share: the counted sleeps of the join
// retries, the stored domain record and a way to break the store.
#ifndef QUARRYAUTH_TESTS_JOINSUPPORT_H
#define QUARRYAUTH_TESTS_JOINSUPPORT_H

#include <string>

namespace quarryauth_test {

// How often the library called sleep(); a program that links
// JoinSupport.cpp counts its calls instead of sleeping.
int SleepCalls();

// The stored domain record as "domain|organizational unit|proxy address",
// or "(none)" when there is none.
std::string StoredDomain();

// Makes every later opening of the host configuration store fail.
void BreakConfigurationStore();

}  // namespace quarryauth_test

#endif
