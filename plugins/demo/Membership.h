// The demonstration directory's record of this host: the joined domain,
// the machine account, and the settings made through the plug-in. Kept in
// /var/lib/quarry/quarrydemo.state, replaced atomically on every change.
#ifndef QUARRYDEMO_MEMBERSHIP_H
#define QUARRYDEMO_MEMBERSHIP_H

#include <string>
#include <vector>

namespace quarrydemo {

extern const char kMembershipPath[];

struct Membership {
  std::string domain;  // empty when not joined
  std::string netbiosName;
  std::string organizationalUnit;
  std::string machineAccountDN;
  std::vector<std::string> preferredDomainControllers;
  std::vector<std::string> smartCardServices;
  int failedLogons = 0;  // wrong passwords in a row

  bool Joined() const { return !domain.empty(); }
};

Membership LoadMembership();
// False when the file could not be replaced.
bool SaveMembership(const Membership& membership);

}  // namespace quarrydemo

#endif
