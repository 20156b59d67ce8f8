#include "authentication/JoinSupport.h"

#include <cstdlib>
#include <stdexcept>

#include <quarryauth/authentication.h>

namespace quarryauth_test {

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
