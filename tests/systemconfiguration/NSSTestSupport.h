// What the tests of the name-service switch model share: every database
// token with its value, and reading, writing and making pieces of the model.
#ifndef QUARRYAUTH_TESTS_NSSTESTSUPPORT_H
#define QUARRYAUTH_TESTS_NSSTESTSUPPORT_H

#include <gtest/gtest.h>

#include <quarryauth/systemconfiguration.h>

#include "support/ModelText.h"

#include <list>
#include <string>
#include <utility>
#include <vector>

namespace nss_test {

using Words = std::list<std::string>;

// Every database token with its value, in number order.
extern const std::vector<
    std::pair<std::string, SystemConfiguration::NSSDatabase::Database>>
    kDatabases;

using quarry_test::Written;

// The model read from text.
SystemConfiguration::NSSConfiguration Read(const std::string& text);

// A service of module with these criteria.
SystemConfiguration::NSSService Service(const std::string& module,
                                        const Words& parameters = {});

using quarry_test::MessageOf;

}  // namespace nss_test

#endif
