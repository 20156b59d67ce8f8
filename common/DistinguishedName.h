// LDAP distinguished names of a domain's containers and computer accounts.
#ifndef QUARRY_PLUGIN_DISTINGUISHEDNAME_H
#define QUARRY_PLUGIN_DISTINGUISHEDNAME_H

#include <string>
#include <vector>

namespace quarry::plugin {

// The parts of dn between the commas that no backslash escapes, as given
// ("OU=Old\\, Hosts,DC=ad" gives "OU=Old\\, Hosts" and "DC=ad").
std::vector<std::string> SplitRelativeNames(const std::string& dn);

// "ad.test" gives "DC=ad,DC=test".
std::string DomainComponents(const std::string& domain);

// The container of computer accounts: "CN=Computers,<domain>" when
// organizationalUnit is empty; the text itself when it is a DN (holds "="),
// with the domain's components appended unless it names them; otherwise a
// path "Servers/Quarry" read from the top down, "OU=Quarry,OU=Servers,...".
std::string ContainerDN(const std::string& organizationalUnit,
                        const std::string& domain);

// "CN=<HOST>,<container>" for the host's short name in upper case.
std::string MachineAccountDN(const std::string& hostShortName,
                             const std::string& organizationalUnit,
                             const std::string& domain);

// The system host name up to its first ".".
std::string ShortHostName();

}  // namespace quarry::plugin

#endif
