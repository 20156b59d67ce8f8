// Finding a domain's controllers through DNS, as Active Directory publishes
// them: SRV records "_ldap._tcp.dc._msdcs.<domain>".
#ifndef QUARRY_COMMON_DOMAINCONTROLLERS_H
#define QUARRY_COMMON_DOMAINCONTROLLERS_H

#include <string>
#include <vector>

namespace quarry::common {

enum class LookupResult {
  Found,
  NoSuchDomain,  // the name does not exist or has no such records
  NoAnswer,      // no name server answered (unreachable, time-out)
};

// The controllers' host names (without the final dot), lowest priority
// value first and, within a priority, highest weight first.
LookupResult FindDomainControllers(const std::string& domain,
                                   std::vector<std::string>& hosts);

}  // namespace quarry::common

#endif
