// What the tests of PAM stacks and policies share: writing a piece of the
// model, and making a rule.
#ifndef QUARRYAUTH_TESTS_PAMTESTSUPPORT_H
#define QUARRYAUTH_TESTS_PAMTESTSUPPORT_H

#include <quarryauth/systemconfiguration.h>

#include <list>
#include <string>

#include "support/ModelText.h"

namespace pam_test {

using Words = std::list<std::string>;

using quarry_test::Written;

// A rule: control, module and parameters.
SystemConfiguration::PAMEntry Entry(const std::string& control,
                                    const std::string& module,
                                    const Words& parameters = {});

}  // namespace pam_test

#endif
