#include "Membership.h"

#include <sys/stat.h>

#include <cstdlib>

#include "KeyValueFile.h"
#include "common/PrivateFolder.h"
#include "PluginText.h"

namespace quarrydemo {

using namespace quarry::plugin;

const char kMembershipPath[] = "/var/lib/quarry/quarrydemo.state";

Membership LoadMembership() {
  const KeyValues pairs = ReadKeyValueFile(kMembershipPath);
  Membership membership;
  membership.domain = ValueOr(pairs, "domain", "");
  membership.netbiosName = ValueOr(pairs, "netbios-name", "");
  membership.organizationalUnit = ValueOr(pairs, "organizational-unit", "");
  membership.machineAccountDN = ValueOr(pairs, "machine-account-dn", "");
  membership.preferredDomainControllers =
      SplitWords(ValueOr(pairs, "preferred-domain-controllers", ""));
  membership.smartCardServices =
      SplitWords(ValueOr(pairs, "smart-card-services", ""));
  membership.failedLogons =
      std::atoi(ValueOr(pairs, "failed-logons", "0").c_str());
  return membership;
}

bool SaveMembership(const Membership& membership) {
  // The folder is the host's; it may not exist on a fresh one.
  quarry::common::CreatePrivateFolder("/var/lib/quarry");
  KeyValues pairs;
  pairs["domain"] = membership.domain;
  pairs["netbios-name"] = membership.netbiosName;
  pairs["organizational-unit"] = membership.organizationalUnit;
  pairs["machine-account-dn"] = membership.machineAccountDN;
  pairs["preferred-domain-controllers"] =
      JoinWords(membership.preferredDomainControllers);
  pairs["smart-card-services"] = JoinWords(membership.smartCardServices);
  pairs["failed-logons"] = std::to_string(membership.failedLogons);
  return ReplaceKeyValueFile(kMembershipPath, pairs);
}

}  // namespace quarrydemo
