#include "authentication/JoinSupport.h"

#include <cstdlib>
#include <stdexcept>

#include <quarryauth/authentication.h>

#include "support/Interpose.h"

namespace {
int gSleepCalls = 0;
}  // namespace

// The join retries sleep 30 seconds; these programs count instead.
QUARRY_TEST_INTERPOSE unsigned int sleep(unsigned int) {
  ++gSleepCalls;
  return 0;
}

namespace quarryauth_test {

int SleepCalls() { return gSleepCalls; }

std::string StoredDomain() {
  namespace qa = quarry::authentication;
  try {
    qa::ActiveDirectoryConfigStore configStore;
    return configStore.GetDomainName() + "|" +
           configStore.GetOrganizationalUnit() + "|" +
           configStore.GetAuthProxyAddr();
  } catch (const qa::ConfigurationError&) {
    return "(none)";
  }
}

void BreakConfigurationStore() {
  if (std::system("mkdir -p /var/lib/quarry && mount -t tmpfs -o ro "
                  "tmpfs /var/lib/quarry") != 0) {
    throw std::runtime_error("cannot break the configuration store");
  }
}

}  // namespace quarryauth_test
