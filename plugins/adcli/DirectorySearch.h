// Questions to the domain's directory, asked over LDAP as the host's own
// machine account: Kerberos credentials from the host's keytab, bound with
// SASL GSSAPI, so that no administrator's password is ever needed.
#ifndef QUARRYADCLI_DIRECTORYSEARCH_H
#define QUARRYADCLI_DIRECTORYSEARCH_H

#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <string>
#include <utility>
#include <vector>

#include "Membership.h"

namespace quarryadcli {

extern const char* const kKeytabPath;  // "/etc/krb5.keytab"

// (DNS name, NetBIOS name) of every domain that the joined domain trusts.
// Status 2 when the host's keytab is missing, 1311 when no controller
// answers, 10060 on a time-out, 1326 when the directory refuses the
// machine account.
ADClientStatus SearchTrustedDomains(
    const Membership& membership,
    std::vector<std::pair<std::string, std::string>>& domains);

// The controllers to ask, in order: the preferred ones, then those that DNS
// names, then the one used at the join.
std::vector<std::string> ControllersToAsk(const Membership& membership);

}  // namespace quarryadcli

#endif
