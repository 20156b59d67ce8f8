// The host-name checks that run before the host joins a domain.
#include <quarryauth/authentication/ActiveDirectoryStore.h>

#include <netdb.h>
#include <syslog.h>

#include <locale>
#include <string>
#include <vector>

#include <quarryauth/authentication/Exception.h>
#include "authentication/HostNames.h"
#include "authentication/Log.h"
#include <quarryauth/platform/tesselctl/DnsConfigImpl.h>
#include <quarryauth/platform/tesselctl/HostsFile.h>
#include <quarryauth/platform/tesselctl/NetworkInfoImpl.h>

namespace quarry {
namespace authentication {

namespace {

const char kNetworkStack[] = "defaultTcpipStack";

// Generic names that no computer account should carry. Built once; the
// language guarantees a single, thread-safe initialisation.
const std::vector<std::string>& Blacklist() {
  static const std::vector<std::string> names = {"localhost", "linux",
                                                 "hostname"};
  return names;
}

bool IsBlacklisted(const std::string& shortName) {
  for (const std::string& name : Blacklist()) {
    if (name == shortName) return true;
  }
  return false;
}

bool EqualIgnoringCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  const std::locale locale;
  for (std::string::size_type i = 0; i < a.size(); ++i) {
    if (std::toupper(a[i], locale) != std::toupper(b[i], locale)) return false;
  }
  return true;
}

bool DomainResolves(const std::string& domain) {
  return ::gethostbyname(domain.c_str()) != nullptr;
}

}  // namespace

void ActiveDirectoryStore::SanitiseHostnameForDomain(
    const std::string& domain) const {
  TesselCtl::Network::HostsFile hostsFile;
  TesselCtl::Network::NetworkInfoImpl networkInfo;

  const std::string hostName = SystemHostName();
  std::string canonicalName = ResolveCanonicalName(hostName);
  const std::string shortName = ShortName(hostName);
  if (ShortName(canonicalName) != shortName) {
    throw InvalidHostNameException("shortname does not match FQDN");
  }

  const std::string expectedName = shortName + "." + domain;
  if (canonicalName.find('.') == std::string::npos) {
    canonicalName = expectedName;
  }
  if (!EqualIgnoringCase(canonicalName, expectedName)) {
    // Not an error: the host may live in another DNS domain. It must then
    // at least find the directory's names.
    Log(LOG_WARNING,
        "The fully qualified hostname %s does not match the expected value "
        "%s\n",
        canonicalName.c_str(), expectedName.c_str());
    if (DomainResolves(domain)) {
      TesselCtl::Network::DnsConfigImpl dnsConfig(kNetworkStack);
      dnsConfig.AddUserSearchDomain(domain);
      dnsConfig.SaveConfig();
    }
  }

  if (IsBlacklisted(shortName)) {
    throw InvalidHostNameException("hostname is in blacklist");
  }

  const std::string address = networkInfo.GetManagementInterface()
                                  ->GetIpConfig()
                                  .GetIpv4Address()
                                  .GetStringAddress();
  hostsFile.AddOrReplaceEntry(address, canonicalName, {shortName});
}

}  // namespace authentication
}  // namespace quarry
