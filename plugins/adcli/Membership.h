// The plug-in's durable record of the host's domain membership: one small
// key-value file under /var/lib/quarry/, replaced atomically, so that a
// crash leaves either the old or the new record and never half of one.
#ifndef QUARRYADCLI_MEMBERSHIP_H
#define QUARRYADCLI_MEMBERSHIP_H

#include <string>
#include <vector>

namespace quarryadcli {

extern const char* const kMembershipPath;  // "/var/lib/quarry/quarryadcli.state"

struct Membership {
  std::string domain;        // DNS name; empty when not joined
  std::string realm;         // Kerberos realm
  std::string netbiosName;   // the domain's short name
  std::string domainSid;
  std::string organizationalUnit;
  std::string machineAccountDN;
  std::string computerName;  // the account's short name, without "$"
  std::string hostName;      // the host's fully qualified name at the join
  std::string domainController;
  std::vector<std::string> preferredDomainControllers;
  std::vector<std::string> smartCardServices;

  bool Joined() const { return !domain.empty(); }
};

// The record on disk; an empty record when there is none. A record that
// cannot be read is treated as none and reported to syslog.
Membership LoadMembership();

// Writes the record in place of the old one. Returns 0 or the errno value
// of the failure (the old record is then unchanged).
int SaveMembership(const Membership& membership);

// Removes the record. Returns 0 (also when there was none) or an errno.
int RemoveMembership();

// Holds an exclusive lock that serialises changes of the membership across
// threads and processes; released on destruction.
class MembershipLock {
 public:
  MembershipLock();
  ~MembershipLock();
  MembershipLock(const MembershipLock&) = delete;
  MembershipLock& operator=(const MembershipLock&) = delete;

 private:
  int descriptor_;
};

}  // namespace quarryadcli

#endif
