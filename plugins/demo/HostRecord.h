// The demonstration directory's record of this host: the joined domain,
// the machine account, and the settings made through the plug-in. Kept in
// /var/lib/quarry/quarrydemo.state, replaced atomically on every change.
#ifndef QUARRYDEMO_HOSTRECORD_H
#define QUARRYDEMO_HOSTRECORD_H

#include <string>
#include <vector>

namespace quarrydemo {

extern const char kHostRecordPath[];

struct HostRecord {
  std::string domain;  // empty when not joined
  std::string netbiosName;
  std::string organizationalUnit;
  std::string machineAccountDN;
  std::vector<std::string> preferredDomainControllers;
  std::vector<std::string> smartCardServices;
  int failedLogons = 0;  // wrong passwords in a row

  bool Joined() const { return !domain.empty(); }
};

HostRecord LoadHostRecord();
// Writes the record in place of the old one. Returns 0 or the errno value
// of the failure (the old record is then unchanged).
int SaveHostRecord(const HostRecord& record);

}  // namespace quarrydemo

#endif
