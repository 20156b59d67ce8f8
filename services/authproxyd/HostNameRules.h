// What the proxy accepts as the name of a computer account to create and as
// the container to create it in, before anything reaches the directory.
#ifndef QUARRY_AUTHPROXYD_HOSTNAMERULES_H
#define QUARRY_AUTHPROXYD_HOSTNAMERULES_H

#include <string>

namespace quarry::authproxyd {

// A fully qualified host name: at least two labels of letters, digits and
// hyphens (no hyphen first or last, 1 to 63 characters each), 253
// characters at most, and a first label of at most 15 characters, the
// longest computer account name the directory keeps.
bool IsValidHostName(const std::string& name);

// A DNS domain name as the configuration names it: the label rules above,
// one label or more.
bool IsValidDomainName(const std::string& name);

// A distinguished name to create accounts under: "name=value" parts, no
// control characters, 1024 characters at most. The directory judges the
// rest.
bool IsPlausibleContainer(const std::string& dn);

}  // namespace quarry::authproxyd

#endif
