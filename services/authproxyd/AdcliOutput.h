// Reading adcli's verbose output (--verbose): lines such as
//   " * Looked up short domain name: AD"
//   " * Looked up domain SID: S-1-5-21-..."
//   " * Created computer account: CN=NODE1,CN=Computers,DC=ad,DC=test"
//   " * Found computer account for NODE1$ at: CN=NODE1,..."
//   "adcli: presetting node1.ad.test in ad.test domain failed: ..."
#ifndef QUARRY_AUTHPROXYD_ADCLIOUTPUT_H
#define QUARRY_AUTHPROXYD_ADCLIOUTPUT_H

#include <optional>
#include <string>

namespace quarry::authproxyd {

struct DomainIdentity {
  std::string netbiosName;
  std::string dnsName;
  std::string sid;
};

// The text after "<label>: " on the first verbose line that starts with
// label (after " * "); empty when there is none.
std::string VerboseValue(const std::string& output, const std::string& label);

// The NetBIOS name and SID that adcli looked up on connecting, with the
// DNS name given; nothing unless both were printed.
std::optional<DomainIdentity> LookedUpDomain(const std::string& output,
                                             const std::string& dnsName);

// The distinguished name of the account adcli created; empty when none.
std::string CreatedAccount(const std::string& output);

// Where adcli found an existing account: the DN, empty when none.
std::string FoundAccount(const std::string& output);

// Why adcli failed: its last "adcli: " line without that prefix, else its
// last "!" line; a fixed text when it printed neither.
std::string AdcliFailure(const std::string& output);

// The DN one level up: everything after the first unescaped ','.
std::string ParentDN(const std::string& dn);

}  // namespace quarry::authproxyd

#endif
