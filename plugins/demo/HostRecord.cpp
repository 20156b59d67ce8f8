#include "HostRecord.h"

#include <sys/stat.h>

#include <cstdlib>

#include "KeyValueFile.h"
#include "common/PrivateFolder.h"
#include "common/PluginText.h"

namespace quarrydemo {

using namespace quarry::plugin;

const char kHostRecordPath[] = "/var/lib/quarry/quarrydemo.state";

HostRecord LoadHostRecord() {
  const KeyValues pairs = ReadKeyValueFile(kHostRecordPath);
  HostRecord record;
  record.domain = ValueOr(pairs, "domain", "");
  record.netbiosName = ValueOr(pairs, "netbios-name", "");
  record.organizationalUnit = ValueOr(pairs, "organizational-unit", "");
  record.machineAccountDN = ValueOr(pairs, "machine-account-dn", "");
  record.preferredDomainControllers =
      SplitWords(ValueOr(pairs, "preferred-domain-controllers", ""));
  record.smartCardServices =
      SplitWords(ValueOr(pairs, "smart-card-services", ""));
  record.failedLogons =
      std::atoi(ValueOr(pairs, "failed-logons", "0").c_str());
  return record;
}

int SaveHostRecord(const HostRecord& record) {
  // The folder is the host's; it may not exist on a fresh one.
  quarry::common::CreatePrivateFolder("/var/lib/quarry");
  KeyValues pairs;
  pairs["domain"] = record.domain;
  pairs["netbios-name"] = record.netbiosName;
  pairs["organizational-unit"] = record.organizationalUnit;
  pairs["machine-account-dn"] = record.machineAccountDN;
  pairs["preferred-domain-controllers"] =
      JoinWords(record.preferredDomainControllers);
  pairs["smart-card-services"] = JoinWords(record.smartCardServices);
  pairs["failed-logons"] = std::to_string(record.failedLogons);
  return ReplaceKeyValueFile(kHostRecordPath, pairs);
}

}  // namespace quarrydemo
