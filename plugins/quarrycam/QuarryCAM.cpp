// "quarrycam": the authentication proxy client plug-in. Asks a
// quarry-authproxyd at the given IPv4 address (port 443, or the port of
// /etc/quarry/quarrycam.conf) for the domain's identity and for a computer
// account. The account call hands back the account's DN first and its
// one-time password second, which the directory plug-in's join with a
// machine account consumes.
//
// Every call is independent (no state outside it), so calls from several
// threads at once are safe.
#include <quarryauth/plugin/CAMProxyClient.h>

#include <initializer_list>
#include <new>
#include <string>
#include <utility>

#include "ProxyProtocol.h"
#include "ResultCodes.h"
#include "common/PluginText.h"

namespace quarrycam {
namespace {

// malloc'd copies for the caller, all or none.
bool CopyOut(std::initializer_list<std::pair<const std::string*, char**>> strings) {
  for (auto it = strings.begin(); it != strings.end(); ++it) {
    *it->second = quarry::plugin::CopyText(*it->first);
    if (*it->second == nullptr) {
      for (auto done = strings.begin(); done != it; ++done) {
        quarry::plugin::ReleaseText(*done->second);
        *done->second = nullptr;
      }
      return false;
    }
  }
  return true;
}

ServerCheck Check(int verifyCertificate, const char* thumbprint) {
  ServerCheck check;
  check.verify = verifyCertificate != 0;
  check.thumbprint = thumbprint != nullptr ? thumbprint : "";
  return check;
}

// Failures of the C++ library inside never cross the C boundary.
template <class Call>
CAMProxyResult Guarded(Call call) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return CAM_PROXY_NOT_ENOUGH_MEMORY;
  } catch (...) {
    return kInternalError;
  }
}

CAMProxyResult GetDomainInfo(const char* server, int verifyCertificate,
                             const char* thumbprint, char** netbiosDomainName,
                             char** dnsDomainName, char** domainSid) {
  if (server == nullptr || netbiosDomainName == nullptr ||
      dnsDomainName == nullptr || domainSid == nullptr) {
    return kInvalidParameter;
  }
  return Guarded([&] {
    DomainAnswer answer;
    const CAMProxyResult result =
        AskDomain(server, Check(verifyCertificate, thumbprint), answer);
    if (result != CAM_PROXY_SUCCESS) return result;
    return CopyOut({{&answer.netbiosName, netbiosDomainName},
                    {&answer.dnsName, dnsDomainName},
                    {&answer.sid, domainSid}})
               ? CAM_PROXY_SUCCESS
               : CAM_PROXY_NOT_ENOUGH_MEMORY;
  });
}

CAMProxyResult CreateMachineAccount(const char* server, const char* account,
                                    const char* container,
                                    int verifyCertificate,
                                    const char* thumbprint, char** firstResult,
                                    char** secondResult) {
  if (server == nullptr || account == nullptr || firstResult == nullptr ||
      secondResult == nullptr) {
    return kInvalidParameter;
  }
  return Guarded([&] {
    ComputerAnswer answer;
    const CAMProxyResult result =
        AskComputer(server, Check(verifyCertificate, thumbprint), account,
                    container != nullptr ? container : "", answer);
    if (result != CAM_PROXY_SUCCESS) return result;
    return CopyOut({{&answer.dn, firstResult},
                    {&answer.oneTimePassword, secondResult}})
               ? CAM_PROXY_SUCCESS
               : CAM_PROXY_NOT_ENOUGH_MEMORY;
  });
}

}  // namespace
}  // namespace quarrycam

extern "C" {

__attribute__((visibility("default"))) extern const CAMProxyClientOperationTable
    CAMProxyClientOperations;

const CAMProxyClientOperationTable CAMProxyClientOperations = {
    nullptr,
    quarrycam::GetDomainInfo,
    quarrycam::CreateMachineAccount,
    quarry::plugin::ReleaseText,
};

}  // extern "C"
