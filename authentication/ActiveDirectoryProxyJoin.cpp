// Joining a domain through the authentication proxy, and the proxy
// certificate that such joins are checked against.
#include <quarryauth/authentication/ActiveDirectoryStore.h>

#include <syslog.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include <quarryauth/authentication/ActiveDirectoryConfigStore.h>
#include <quarryauth/authentication/ActiveDirectoryProvider.h>
#include <quarryauth/authentication/CAMProxy.h>
#include <quarryauth/authentication/CAMRecords.h>
#include <quarryauth/authentication/Exception.h>
#include "authentication/HostNames.h"
#include <quarryauth/authentication/LibraryConfiguration.h>
#include "authentication/Log.h"
#include "authentication/Thumbprint.h"
#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>
#include <quarryauth/platform/tesselctl/AdvancedIntegerOption.h>
#include <quarryauth/platform/tesselctl/AdvancedOptionBranch.h>
#include <quarryauth/platform/tesselctl/AdvancedOptions.h>
#include <quarryauth/platform/tesselctl/Host.h>
#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include <quarryauth/platform/tesselctl/HostFactory.h>
#include <quarryauth/platform/tesselctl/Ipv4Address.h>

namespace quarry {
namespace authentication {

namespace {

using HostCtl::Lib::HostCtlException;

const char kOptionText[] = "UserVars.ActiveDirectoryVerifyCAMCertificate";

void CheckProxyAddress(const std::string& server) {
  if (!HostCtl::Network::Ipv4Address::IsValidAddress(server)) {
    throw InvalidIPAddressException("IPv4 address '" + server +
                                    "' cannot be parsed as an IP address");
  }
}

// Runs one call of the host control library; its failures mean that the
// option cannot be read.
template <class Call>
auto OptionStep(Call call) -> decltype(call()) {
  try {
    return call();
  } catch (const HostCtlException&) {
    throw InvalidVerifyCAMCertificateOptionException(
        std::string("Unable to get advanced option ") + kOptionText);
  }
}

// 0: do not verify the proxy's certificate; 1: verify it against the
// stored thumbprint.
bool VerifyCertificateOption() {
  auto host = OptionStep([] { return HostCtl::HostFactory::GetHost(); });
  auto options = OptionStep([&] { return host->GetAdvancedOptions(); });
  auto root = OptionStep([&] { return options->GetRootBranch(); });
  if (!root) throw HostCtlException("Unable to get root option branch");
  auto user = OptionStep([&] { return root->GetChildBranch("UserVars"); });
  if (!user) throw HostCtlException("Unable to get user from root");
  auto option = std::dynamic_pointer_cast<HostCtl::Adv::AdvancedIntegerOption>(
      OptionStep([&] {
        return user->GetOption("ActiveDirectoryVerifyCAMCertificate");
      }));
  if (!option) throw HostCtlException("Unable to get the user option");
  const int64_t value = OptionStep([&] { return option->GetIntValue(); });
  if (value != 0 && value != 1) {
    throw InvalidVerifyCAMCertificateOptionException(
        std::string("Invalid value for ") + kOptionText);
  }
  return value == 1;
}

std::string ProxyProviderName() {
  std::string name;
  try {
    CAMProviderConfiguration configuration;
    name = configuration["provider"];
  } catch (const IOError&) {
    throw InvalidCAMProxyProviderException("(none installed)");
  }
  if (name.empty()) throw InvalidCAMProxyProviderException("(unset)");
  return name;
}

std::string StoredThumbprint() {
  try {
    ActiveDirectoryConfigStore configStore;
    return configStore.GetThumbprint();
  } catch (const std::exception& error) {
    Log(LOG_ERR, "Unable to fetch thumbprint from Config Store: %s",
        error.what());
    throw InvalidThumbprintStoreException("auth_proxy_certificate");
  }
}

std::unique_ptr<CAMProxy> LoadProxy(const std::string& provider,
                                    const std::string& server, bool verify,
                                    const std::string& thumbprint) {
  try {
    return std::unique_ptr<CAMProxy>(
        new CAMProxy(provider, server, verify, thumbprint));
  } catch (const IOError&) {
    throw InvalidCAMProxyProviderException(provider);
  }
}

}  // namespace

void ActiveDirectoryStore::JoinDomainWithCAM(
    const std::string& server, const std::string& organizationalUnit,
    bool skipHostnameChecks) {
  CheckProxyAddress(server);
  const bool verify = VerifyCertificateOption();
  const std::string hostName = SystemHostName();
  const std::string canonicalName = ResolveCanonicalName(hostName);
  const std::string shortName = ShortName(hostName);
  const std::string proxyProvider = ProxyProviderName();
  const std::string thumbprint = verify ? StoredThumbprint() : std::string();

  const std::unique_ptr<CAMProxy> proxy =
      LoadProxy(proxyProvider, server, verify, thumbprint);
  if (!skipHostnameChecks) {
    SanitiseHostnameForDomain(proxy->GetDNSDomainName());
  }
  const std::string container = organizationalUnit.empty()
                                    ? proxy->GetDefaultComputerContainer()
                                    : organizationalUnit;
  const ComputerPrincipalInfo principal =
      proxy->CreateMachineAccount(canonicalName, container);

  CAM::DirectoryDomainInfo domainInfo;
  domainInfo.netbiosDomainName = proxy->GetNetBIOSDomainName();
  domainInfo.dnsDomainName = proxy->GetDNSDomainName();
  domainInfo.domainSid = proxy->GetDomainSID();
  CAM::MachineAccountInfo accountInfo;
  accountInfo.hostShortName = shortName;
  accountInfo.dnsDomainName = domainInfo.dnsDomainName;
  accountInfo.principalSecond = principal.second;
  accountInfo.principalThird = principal.third;

  provider->JoinDomainWithMachineAccount(domainInfo, accountInfo);
  RecordDomainOrLeave(domainInfo.dnsDomainName, organizationalUnit, server);
}

void ActiveDirectoryStore::ImportCertificateForCAM(
    const std::string& certificate) {
  const std::string thumbprint = ComputeThumbprint(certificate);
  try {
    ActiveDirectoryConfigStore configStore;
    configStore.StoreAuthProxyCertInfo(thumbprint, certificate);
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    Log(LOG_ERR, "Failed to store thumbprint to Config Store: %s",
        error.what());
    throw;
  }
}

void ActiveDirectoryStore::ImportCertificateForCAM(const std::string& path,
                                                   const std::string&) {
  std::ifstream in(path.c_str(), std::ios::binary);
  if (!in.is_open()) throw FileNotFoundException();
  std::ostringstream text;
  text << in.rdbuf();
  ImportCertificateForCAM(text.str());
}

std::string ActiveDirectoryStore::GetDomainForCAMService(
    const std::string& server) {
  CheckProxyAddress(server);
  CAMProxy proxy(ProxyProviderName(), server, false, std::string());
  return proxy.GetDNSDomainName();
}

}  // namespace authentication
}  // namespace quarry
