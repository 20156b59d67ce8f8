// The authentication proxy (CAM) client: loads the proxy client plug-in and
// turns its table of plain functions into calls with owned strings and
// exceptions. One object serves one proxy server with one certificate
// policy; it is used by one thread at a time.
#ifndef QUARRYAUTH_AUTHENTICATION_CAMPROXY_H
#define QUARRYAUTH_AUTHENTICATION_CAMPROXY_H

#include <memory>
#include <string>

#include "Export.h"

struct CAMProxyClientOperationTable;

namespace quarry {
namespace authentication {

class DynamicLibrary;

// What the proxy hands back for a new machine account. The member names are
// part of the library's interface; their meanings are these.
struct QUARRYAUTH_EXPORT ComputerPrincipalInfo {
  std::string first;   // always empty
  std::string second;  // the plug-in's first result: the account's DN
  std::string third;   // its second result: the account's one-time password
};

class QUARRYAUTH_EXPORT CAMProxy {
 public:
  // Loads plug-in lib<provider>.so. Throws IOError ("Unable to open CAM
  // provider: ...") when it cannot be opened and
  // InvalidCAMProxyProviderException when its table is missing or
  // incomplete.
  CAMProxy(const std::string& provider, const std::string& server,
           bool verifyCertificate, const std::string& thumbprint);
  ~CAMProxy();
  CAMProxy(const CAMProxy&) = delete;
  CAMProxy& operator=(const CAMProxy&) = delete;

  // One round trip; overwrites the three strings.
  void GetDomainInfo(std::string& netbiosName, std::string& dnsName,
                     std::string& domainSid) const;
  std::string GetNetBIOSDomainName() const;
  std::string GetDNSDomainName() const;
  std::string GetDomainSID() const;
  // The proxy names no domain controller and leaves the container to the
  // plug-in: both are always empty and cost no round trip.
  std::string GetDomainController() const;
  std::string GetDefaultComputerContainer() const;

  // An empty container reaches the plug-in as a null pointer.
  ComputerPrincipalInfo CreateMachineAccount(const std::string& first,
                                             const std::string& container) const;

 private:
  std::unique_ptr<DynamicLibrary> library;
  const CAMProxyClientOperationTable* operations;
  bool verifyCertificate;
  std::string server;
  std::string thumbprint;
};

}  // namespace authentication
}  // namespace quarry

#endif
