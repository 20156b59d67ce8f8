// One opened Active Directory client plug-in, with its operations as typed
// member functions.
#ifndef QUARRYAUTH_AUTHENTICATION_ACTIVEDIRECTORYPROVIDER_H
#define QUARRYAUTH_AUTHENTICATION_ACTIVEDIRECTORYPROVIDER_H

#include <cstdint>
#include <deque>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "../plugin/ActiveDirectoryClient.h"
#include "CAMRecords.h"
#include "Domain.h"
#include "Export.h"

namespace quarry {
namespace authentication {

class DynamicLibrary;

// A domain trust state as the plug-in defines it.
using TrustState = uint32_t;

// Every operation throws CallNotImplementedException when the plug-in
// lacks it, and the exception that ThrowMappedException chooses when the
// plug-in reports a non-zero status. The operations are safe to call from
// several threads when the plug-in is.
class QUARRYAUTH_EXPORT ActiveDirectoryProvider {
 public:
  // Opens /usr/libexec/quarryauth/lib64/lib<name>.so, or failing that
  // /usr/libexec/quarryauth/lib<name>.so, and checks it. Throws IOError
  // when neither opens, InvalidActiveDirectoryProviderException when the
  // name is not a plain file name or the plug-in is unusable.
  explicit ActiveDirectoryProvider(const std::string& providerName);
  ~ActiveDirectoryProvider();

  ActiveDirectoryProvider(const ActiveDirectoryProvider&) = delete;
  ActiveDirectoryProvider& operator=(const ActiveDirectoryProvider&) = delete;

  const std::string& PAMModule() const { return pamModule; }
  const std::list<std::string>& PAMModuleParameters() const {
    return pamModuleParameters;
  }
  const std::string& NSSModule() const { return nssModule; }
  const std::list<std::string>& NSSModuleParameters() const {
    return nssModuleParameters;
  }

  // The version of the operations table (not of the metadata).
  int32_t GetAPIVersion() const;

  // Both joins make up to four attempts while the plug-in reports a failed
  // logon (1326) or the private retry status, sleeping 30 seconds after
  // each such failure. An empty organizational unit is passed as null.
  void JoinDomain(const std::string& domain,
                  const std::string& organizationalUnit,
                  const Credentials& credentials) const;
  // Needs a version 2 table; logs each attempt.
  void JoinDomainWithMachineAccount(const CAM::DirectoryDomainInfo& domain,
                                    const CAM::MachineAccountInfo& account) const;

  // Leaves the domain without an account.
  void PartDomain() const;
  void PartDomain(const Credentials& credentials) const;

  Domain GetActiveDomain() const;
  void SetPreferredDomainControllers(
      const std::deque<std::string>& hostNames) const;
  std::deque<std::string> GetPreferredDomainControllers() const;
  // The plug-in's answer itself; no status, no mapping.
  TrustState GetDomainTrustState() const;
  std::deque<Domain> GetTrustedDomains() const;
  std::string GetMachineAccountDN() const;
  // An empty first string is passed as null.
  std::string GetAnyDomainController(const std::string& first,
                                     const std::string& domain) const;
  std::string ConvertCanonicalUsername(const std::string& name) const;
  // Needs a version 2 table.
  std::string GetHostPrincipalForDomain(const std::string& domain) const;
  // The plug-in's answer itself; no status, no mapping.
  uint32_t GetDomainTrustRelationship(const std::string& domain) const;
  void SetSmartCardEnabledServices(
      const std::vector<std::string>& services) const;
  std::vector<std::string> GetSmartCardEnabledServices() const;

 private:
  const void* LookUp(const char* symbol, const std::string& providerName);
  void CacheMetadata();

  std::unique_ptr<DynamicLibrary> handle;
  const ADClientMetadata* metadata;
  const ADClientOperations* operations;
  std::string pamModule;
  std::list<std::string> pamModuleParameters;
  std::string nssModule;
  std::list<std::string> nssModuleParameters;
};

}  // namespace authentication
}  // namespace quarry

#endif
