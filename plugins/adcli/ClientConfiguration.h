// What the host's directory client needs for the joined domain, written at
// the join and taken away at the leave:
//
// - SSSD's settings for the domain, in a file of their own that SSSD reads
//   beside (never instead of) the host's: /etc/sssd/conf.d/
//   quarryadcli-<domain>.conf, mode 0600.
// - The realm for Kerberos, in a drop-in /etc/krb5.conf.d/
//   quarryadcli-<realm>.conf, which /etc/krb5.conf includes through a
//   marked "includedir" line that is added only when the file has none.
//
// Every file is replaced atomically. Where systemd runs the host (it is
// process 1), SSSD is restarted so that it reads them.
#ifndef QUARRYADCLI_CLIENTCONFIGURATION_H
#define QUARRYADCLI_CLIENTCONFIGURATION_H

#include <quarryauth/plugin/ActiveDirectoryClient.h>

#include <string>

#include "Membership.h"

namespace quarryadcli {

extern const char kSssdSettingsFolder[];   // "/etc/sssd/conf.d"
extern const char kKerberosSettingsPath[];  // "/etc/krb5.conf"
extern const char kKerberosDropInFolder[];  // "/etc/krb5.conf.d"

std::string SssdSettingsPath(const Membership& membership);
std::string KerberosDropInPath(const Membership& membership);

// Whether the host can take the configuration, checked before a join
// changes anything: 1060 when SSSD is not installed, 1610 when the host's
// Kerberos settings cannot be read (the system log says where).
ADClientStatus CheckClientCanBeConfigured();

// Writes both and has SSSD read them. On failure (status 29) whatever was
// written is taken away again, so that the previous configuration stands.
ADClientStatus ConfigureClient(const Membership& membership);

// Takes away what ConfigureClient wrote and has SSSD forget the domain.
ADClientStatus UnconfigureClient(const Membership& membership);

}  // namespace quarryadcli

#endif
