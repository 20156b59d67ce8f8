#include "quarryauthctl/LoginCommandsFixture.h"

#include <cstdlib>

namespace quarryauthctl_test {

const std::string kArchitecture = LIBRARY_ARCHITECTURE;
const std::string kSecurity = "/usr/lib/" + kArchitecture + "/security";
const char kRecord[] = "/var/lib/quarry/quarryauthctl/login";

bool Exists(const std::string& path) {
  return std::system(("test -e " + path).c_str()) == 0;
}

}  // namespace quarryauthctl_test
