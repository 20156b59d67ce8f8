// "quarrydemocam": a demonstration authentication proxy client plug-in. The
// proxy it pretends to reach is described by /etc/quarry/quarrydemocam.conf:
//   server = "192.0.2.10"          the proxy's address (others: refused)
//   domain = "ad.test"             the domain it serves
//   netbios-name = "AD"
//   domain-sid = "S-1-5-21-..."
//   thumbprint = "AB:CD:..."       SHA-1 thumbprint of its certificate
// With verification asked for, a thumbprint other than the configured one
// answers 0x80090325, as a proxy with an unexpected certificate would.
#include <quarryauth/plugin/CAMProxyClient.h>

#include <string>

#include "common/DistinguishedName.h"
#include "KeyValueFile.h"
#include "common/PluginText.h"

namespace quarrydemo {

using namespace quarry::plugin;
namespace {

const char kProxySettingsPath[] = "/etc/quarry/quarrydemocam.conf";

struct ProxySettings {
  std::string server;
  std::string domain;
  std::string netbiosName;
  std::string domainSid;
  std::string thumbprint;
};

ProxySettings LoadProxySettings() {
  const KeyValues pairs = ReadKeyValueFile(kProxySettingsPath);
  ProxySettings settings;
  settings.server = ValueOr(pairs, "server", "192.0.2.10");
  settings.domain = ValueOr(pairs, "domain", "ad.test");
  settings.netbiosName =
      ValueOr(pairs, "netbios-name",
              ToUpper(settings.domain.substr(0, settings.domain.find('.'))));
  settings.domainSid =
      ValueOr(pairs, "domain-sid", "S-1-5-21-3623811015-3361044348-30300820");
  settings.thumbprint = ValueOr(pairs, "thumbprint", "");
  return settings;
}

// Reaching the proxy: the right server, and a certificate the caller
// accepts.
CAMProxyResult Connect(const ProxySettings& settings, const char* server,
                       int verifyCertificate, const char* thumbprint) {
  if (server == nullptr || settings.server != server) {
    return CAM_PROXY_CONNECTION_REFUSED;
  }
  if (verifyCertificate &&
      (thumbprint == nullptr || settings.thumbprint != thumbprint)) {
    return CAM_PROXY_CERTIFICATE_NOT_VERIFIED;
  }
  return CAM_PROXY_SUCCESS;
}

CAMProxyResult GetDomainInfo(const char* server, int verifyCertificate,
                             const char* thumbprint, char** netbiosDomainName,
                             char** dnsDomainName, char** domainSid) {
  const ProxySettings settings = LoadProxySettings();
  const CAMProxyResult result =
      Connect(settings, server, verifyCertificate, thumbprint);
  if (result != CAM_PROXY_SUCCESS) return result;
  *netbiosDomainName = CopyText(settings.netbiosName);
  *dnsDomainName = CopyText(settings.domain);
  *domainSid = CopyText(settings.domainSid);
  return CAM_PROXY_SUCCESS;
}

// A machine password as the proxy would set it; fixed, since nothing here
// ever authenticates with it.
std::string MachinePassword(const std::string& account) {
  return "demo-" + ToLower(account) + "-machine-secret";
}

// Hands back the account's DN and its password.
CAMProxyResult CreateMachineAccount(const char* server, const char* account,
                                    const char* container,
                                    int verifyCertificate,
                                    const char* thumbprint, char** firstResult,
                                    char** secondResult) {
  const ProxySettings settings = LoadProxySettings();
  const CAMProxyResult result =
      Connect(settings, server, verifyCertificate, thumbprint);
  if (result != CAM_PROXY_SUCCESS) return result;
  const std::string host = account ? account : "";
  const std::string shortName = host.substr(0, host.find('.'));
  *firstResult = CopyText(
      MachineAccountDN(shortName, container ? container : "", settings.domain));
  *secondResult = CopyText(MachinePassword(shortName));
  return CAM_PROXY_SUCCESS;
}

}  // namespace
}  // namespace quarrydemo

extern "C" {

__attribute__((visibility("default"))) extern const CAMProxyClientOperationTable
    CAMProxyClientOperations;

const CAMProxyClientOperationTable CAMProxyClientOperations = {
    nullptr,
    quarrydemo::GetDomainInfo,
    quarrydemo::CreateMachineAccount,
    quarrydemo::ReleaseText,
};

}  // extern "C"
