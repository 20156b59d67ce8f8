// The names under which the host joins: its fully qualified name and the
// computer account's short name.
#ifndef QUARRYADCLI_HOSTIDENTITY_H
#define QUARRYADCLI_HOSTIDENTITY_H

#include <string>

namespace quarryadcli {

struct HostIdentity {
  std::string fullyQualifiedName;  // canonical name of the host name
  std::string computerName;        // upper case, at most 15 characters
};

// False when the host name cannot be read.
bool ReadHostIdentity(HostIdentity& identity);

// NetBIOS names are cut at 15 characters; adcli would otherwise refuse or
// cut them itself, so the account's name is settled here, once.
std::string ComputerNameOf(const std::string& hostName);

}  // namespace quarryadcli

#endif
