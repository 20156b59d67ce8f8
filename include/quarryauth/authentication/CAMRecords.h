// The records that describe a domain and a computer account created by the
// authentication proxy (CAM); the directory client plug-in's join with a
// machine account receives them as flat lists of texts, in member order.
#ifndef QUARRYAUTH_AUTHENTICATION_CAMRECORDS_H
#define QUARRYAUTH_AUTHENTICATION_CAMRECORDS_H

#include <string>

namespace CAM {

struct DirectoryDomainInfo {
  std::string reserved;  // left empty
  std::string netbiosDomainName;
  std::string dnsDomainName;
  std::string domainSid;
};

struct MachineAccountInfo {
  std::string hostShortName;
  std::string dnsDomainName;
  std::string reserved;  // left empty
  // The second and third strings of the proxy's ComputerPrincipalInfo.
  std::string principalSecond;
  std::string principalThird;
};

}  // namespace CAM

#endif
