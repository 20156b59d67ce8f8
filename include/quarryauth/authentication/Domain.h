// A directory domain as the library reports it.
#ifndef QUARRYAUTH_AUTHENTICATION_DOMAIN_H
#define QUARRYAUTH_AUTHENTICATION_DOMAIN_H

#include <ostream>
#include <string>

#include "Export.h"

namespace quarry {
namespace authentication {

struct QUARRYAUTH_EXPORT Domain {
  Domain();
  Domain(const Domain& other);
  Domain(const std::string& dnsName, const std::string& netbiosName);
  Domain& operator=(const Domain& other);
  ~Domain();

  bool operator==(const Domain& other) const;
  bool operator!=(const Domain& other) const;

  std::string dnsName;
  std::string netbiosName;
};

// "DNS Name: <dns>, NetBIOS Name: <netbios>", an empty name as "(unset)".
QUARRYAUTH_EXPORT std::ostream& operator<<(std::ostream& out,
                                           const Domain& domain);

}  // namespace authentication
}  // namespace quarry

#endif
