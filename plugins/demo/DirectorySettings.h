// What the demonstration directory looks like and how it behaves, read from
// /etc/quarry/quarrydemo.conf on every call, so that a change takes effect
// at once.
#ifndef QUARRYDEMO_DIRECTORYSETTINGS_H
#define QUARRYDEMO_DIRECTORYSETTINGS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace quarrydemo {

extern const char kDirectorySettingsPath[];

struct DirectorySettings {
  std::string administrator;  // the account allowed to join and leave
  std::string password;
  std::string domain;  // DNS name of the one domain that exists
  std::string netbiosName;
  std::vector<std::string> domainControllers;
  // DNS name and NetBIOS name of each trusted domain.
  std::vector<std::pair<std::string, std::string>> trustedDomains;
  // How long status queries take; negative: they never answer.
  int delaySeconds;
  // What a wrong password answers (1326, a failed logon, is retried by the
  // library; other values end a join at once).
  uint32_t wrongPasswordStatus;
  // After this many wrong passwords in a row the account is locked out and
  // further wrong passwords answer 1909; 0 never locks.
  int lockoutThreshold;
};

DirectorySettings LoadDirectorySettings();

// Waits as delaySeconds says, for ever when it is negative.
void DelayStatusAnswer(const DirectorySettings& settings);

}  // namespace quarrydemo

#endif
