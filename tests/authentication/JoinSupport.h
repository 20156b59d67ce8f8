// What the join test programs share: the counted sleeps of the join
// retries (CountedSleeps.h), the stored domain record and a way to break
// the store.
#ifndef QUARRYAUTH_TESTS_JOINSUPPORT_H
#define QUARRYAUTH_TESTS_JOINSUPPORT_H

#include <string>

#include "authentication/CountedSleeps.h"

namespace quarryauth_test {

// The stored domain record as "domain|organizational unit|proxy address",
// or "(none)" when there is none.
std::string StoredDomain();

// Makes every later opening of the host configuration store fail.
void BreakConfigurationStore();

}  // namespace quarryauth_test

#endif
