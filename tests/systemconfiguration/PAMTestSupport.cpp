#include "systemconfiguration/PAMTestSupport.h"

namespace sc = SystemConfiguration;
using sc::PAMControl;
using sc::PAMEntry;

namespace pam_test {

PAMEntry Entry(const std::string& control, const std::string& module,
               const Words& parameters) {
  PAMEntry entry(PAMControl(control), module);
  entry.parameters() = parameters;
  return entry;
}

}  // namespace pam_test
