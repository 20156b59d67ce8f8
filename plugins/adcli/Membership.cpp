#include "Membership.h"

#include <common/DurableFile.h>
#include <common/KeyValueFormat.h>
#include <common/PrivateFolder.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <mutex>
#include <sstream>

namespace quarryadcli {

const char* const kMembershipPath = "/var/lib/quarry/quarryadcli.state";

namespace {

const char* const kStateFolder = "/var/lib/quarry";
const char* const kLockPath = "/var/lib/quarry/quarryadcli.lock";

// Threads of one process share a lock file's descriptor table entry, so
// flock alone does not keep them apart.
std::mutex processLock;

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> items;
  std::istringstream in(text);
  std::string item;
  while (std::getline(in, item, ',')) {
    if (!item.empty()) items.push_back(item);
  }
  return items;
}

std::string JoinList(const std::vector<std::string>& items) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ",") + item;
  return text;
}

int EnsureStateFolder() {
  return quarry::common::CreatePrivateFolder(kStateFolder);
}

}  // namespace

Membership LoadMembership() {
  Membership membership;
  std::ifstream in(kMembershipPath);
  if (!in) return membership;
  std::map<std::string, std::string> pairs;
  int failedLine = 0;
  const auto error = quarry::common::ReadKeyValueStream(in, pairs, failedLine);
  if (error != quarry::common::KeyValueError::None) {
    syslog(LOG_ERR, "quarryadcli: ignoring %s: %s", kMembershipPath,
           quarry::common::KeyValueErrorMessage(error, failedLine).c_str());
    return membership;
  }
  membership.domain = pairs["domain"];
  membership.realm = pairs["realm"];
  membership.netbiosName = pairs["netbios_name"];
  membership.domainSid = pairs["domain_sid"];
  membership.organizationalUnit = pairs["organizational_unit"];
  membership.machineAccountDN = pairs["machine_account_dn"];
  membership.computerName = pairs["computer_name"];
  membership.hostName = pairs["host_name"];
  membership.domainController = pairs["domain_controller"];
  membership.preferredDomainControllers =
      SplitList(pairs["preferred_domain_controllers"]);
  membership.smartCardServices = SplitList(pairs["smartcard_services"]);
  return membership;
}

int SaveMembership(const Membership& membership) {
  const int folder = EnsureStateFolder();
  if (folder != 0) return folder;
  std::ostringstream out;
  using quarry::common::WriteKeyValueLine;
  WriteKeyValueLine(out, "domain", membership.domain);
  WriteKeyValueLine(out, "realm", membership.realm);
  WriteKeyValueLine(out, "netbios_name", membership.netbiosName);
  WriteKeyValueLine(out, "domain_sid", membership.domainSid);
  WriteKeyValueLine(out, "organizational_unit", membership.organizationalUnit);
  WriteKeyValueLine(out, "machine_account_dn", membership.machineAccountDN);
  WriteKeyValueLine(out, "computer_name", membership.computerName);
  WriteKeyValueLine(out, "host_name", membership.hostName);
  WriteKeyValueLine(out, "domain_controller", membership.domainController);
  WriteKeyValueLine(out, "preferred_domain_controllers",
                    JoinList(membership.preferredDomainControllers));
  WriteKeyValueLine(out, "smartcard_services",
                    JoinList(membership.smartCardServices));
  return quarry::common::ReplaceFileContents(kMembershipPath, out.str(), 0600);
}

int RemoveMembership() {
  if (unlink(kMembershipPath) == 0 || errno == ENOENT) {
    quarry::common::SyncParentDirectory(kMembershipPath);
    return 0;
  }
  return errno;
}

MembershipLock::MembershipLock() : descriptor_(-1) {
  processLock.lock();
  if (EnsureStateFolder() == 0) {
    descriptor_ = open(kLockPath, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  }
  // Without a lock file (read-only folder) threads are still kept apart;
  // writing the record will then fail and say so.
  if (descriptor_ >= 0) {
    while (flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
}

MembershipLock::~MembershipLock() {
  if (descriptor_ >= 0) close(descriptor_);  // also releases the flock
  processLock.unlock();
}

}  // namespace quarryadcli
