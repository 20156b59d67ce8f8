#include "HostIdentity.h"

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/PluginText.h"

namespace quarryadcli {

std::string ComputerNameOf(const std::string& hostName) {
  return quarry::plugin::ToUpper(
      hostName.substr(0, hostName.find('.')).substr(0, 15));
}

bool ReadHostIdentity(HostIdentity& identity) {
  char name[256] = {0};
  if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') {
    return false;
  }
  identity.fullyQualifiedName = name;
  addrinfo hints = {};
  hints.ai_family = AF_UNSPEC;
  hints.ai_flags = AI_CANONNAME;
  addrinfo* found = nullptr;
  if (getaddrinfo(name, nullptr, &hints, &found) == 0) {
    if (found != nullptr && found->ai_canonname != nullptr) {
      identity.fullyQualifiedName = found->ai_canonname;
    }
    freeaddrinfo(found);
  }
  identity.computerName = ComputerNameOf(name);
  return true;
}

}  // namespace quarryadcli
