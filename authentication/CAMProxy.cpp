#include <quarryauth/authentication/CAMProxy.h>

#include <cstdint>

#include "authentication/DynamicLibrary.h"
#include <quarryauth/authentication/Exception.h>
#include <quarryauth/plugin/CAMProxyClient.h>

namespace quarry {
namespace authentication {

namespace {

[[noreturn]] void ThrowProxyResult(CAMProxyResult result) {
  switch (result) {
    case CAM_PROXY_NOT_ENOUGH_MEMORY:
      throw NotEnoughMemoryException();
    case CAM_PROXY_CONNECTION_REFUSED:
      throw ConnectionRefusedException();
    case CAM_PROXY_CONNECTION_INVALID:
      throw ConnectionInvalidException();
    case CAM_PROXY_TIMED_OUT:
      throw WSATimedOutException();
    case CAM_PROXY_CERTIFICATE_NOT_VERIFIED:
      throw InvalidCAMCertificateException();
    default:
      throw UnknownException(result);
  }
}

// Hands the plug-in's strings back to its release entry once they have been
// copied, so that none is leaked even when a copy fails.
class ReleasedStrings {
 public:
  ReleasedStrings(CAMProxyReleaseFunction release, char** first, char** second,
                  char** third = nullptr)
      : release_(release), strings_{first, second, third} {}
  ~ReleasedStrings() {
    for (char** string : strings_) {
      if (string != nullptr && *string != nullptr) release_(*string);
    }
  }
  ReleasedStrings(const ReleasedStrings&) = delete;
  ReleasedStrings& operator=(const ReleasedStrings&) = delete;

 private:
  CAMProxyReleaseFunction release_;
  char** strings_[3];
};

const char* NullWhenEmpty(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

}  // namespace

CAMProxy::CAMProxy(const std::string& provider, const std::string& server,
                   bool verifyCertificate, const std::string& thumbprint)
    : library(new DynamicLibrary),
      operations(nullptr),
      verifyCertificate(verifyCertificate),
      server(server),
      thumbprint(thumbprint) {
  std::string error;
  if (!IsPlainPluginName(provider)) {
    throw IOError(std::string("Unable to open CAM provider: ") +
                  kPlainPluginNameRule);
  }
  if (!library->OpenPlugin(provider, error)) {
    throw IOError("Unable to open CAM provider: " + error);
  }
  const void* symbol =
      library->Symbol(CAM_PROXY_CLIENT_OPERATIONS_SYMBOL, error);
  operations = static_cast<const CAMProxyClientOperationTable*>(symbol);
  if (operations == nullptr || operations->GetDomainInfo == nullptr ||
      operations->CreateMachineAccount == nullptr ||
      operations->Release == nullptr) {
    operations = nullptr;
    library->Close();
    throw InvalidCAMProxyProviderException(provider, error);
  }
}

CAMProxy::~CAMProxy() = default;

void CAMProxy::GetDomainInfo(std::string& netbiosName, std::string& dnsName,
                             std::string& domainSid) const {
  char* netbios = nullptr;
  char* dns = nullptr;
  char* sid = nullptr;
  const CAMProxyResult result = operations->GetDomainInfo(
      server.c_str(), verifyCertificate ? 1 : 0, thumbprint.c_str(), &netbios,
      &dns, &sid);
  if (result != CAM_PROXY_SUCCESS) ThrowProxyResult(result);
  ReleasedStrings release(operations->Release, &netbios, &dns, &sid);
  // A null string on success is the plug-in's fault; constructing from it
  // raises the string library's error.
  netbiosName = std::string(netbios);
  dnsName = std::string(dns);
  domainSid = std::string(sid);
}

std::string CAMProxy::GetNetBIOSDomainName() const {
  std::string netbiosName, dnsName, domainSid;
  GetDomainInfo(netbiosName, dnsName, domainSid);
  return netbiosName;
}

std::string CAMProxy::GetDNSDomainName() const {
  std::string netbiosName, dnsName, domainSid;
  GetDomainInfo(netbiosName, dnsName, domainSid);
  return dnsName;
}

std::string CAMProxy::GetDomainSID() const {
  std::string netbiosName, dnsName, domainSid;
  GetDomainInfo(netbiosName, dnsName, domainSid);
  return domainSid;
}

std::string CAMProxy::GetDomainController() const { return std::string(); }

std::string CAMProxy::GetDefaultComputerContainer() const {
  return std::string();
}

ComputerPrincipalInfo CAMProxy::CreateMachineAccount(
    const std::string& first, const std::string& container) const {
  char* firstResult = nullptr;
  char* secondResult = nullptr;
  const CAMProxyResult result = operations->CreateMachineAccount(
      server.c_str(), first.c_str(), NullWhenEmpty(container),
      verifyCertificate ? 1 : 0, thumbprint.c_str(), &firstResult,
      &secondResult);
  if (result != CAM_PROXY_SUCCESS) ThrowProxyResult(result);
  ReleasedStrings release(operations->Release, &firstResult, &secondResult);
  ComputerPrincipalInfo info;
  info.second = std::string(firstResult);
  info.third = std::string(secondResult);
  return info;
}

}  // namespace authentication
}  // namespace quarry
