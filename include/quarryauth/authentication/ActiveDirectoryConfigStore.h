// The host's durable record of its domain membership and of the accepted
// authentication proxy certificate, kept in the host configuration store.
#ifndef QUARRYAUTH_AUTHENTICATION_ACTIVEDIRECTORYCONFIGSTORE_H
#define QUARRYAUTH_AUTHENTICATION_ACTIVEDIRECTORYCONFIGSTORE_H

#include <memory>
#include <string>

#include "../platform/skarnconfigstore/ConfigStore.h"
#include "../platform/skarnconfigstore/ConfigStoreObjectId.h"
#include "Export.h"

namespace quarry {
namespace authentication {

// Each object is built fresh for every call: callers open one for the
// duration of one operation. Store failures arrive as
// SkarnConfigStore::ConfigStoreException and pass through unchanged.
class QUARRYAUTH_EXPORT ActiveDirectoryConfigStore {
 public:
  static const std::string AD_CONFIG_KEY;
  static const std::string AUTH_PROXY_CONFIG_KEY;
  static const std::string AD_CONFIG_GROUP;
  static const std::string AD_CONFIG_COMPONENT;
  static const std::string DOMAIN_NAME_KEY;
  static const std::string ORG_UNIT_KEY;
  static const std::string AUTH_PROXY_ADDR_KEY;
  static const std::string AUTH_PROXY_THUMBPRINT_KEY;
  static const std::string AUTH_PROXY_CERT_KEY;
  static const SkarnConfigStore::ConfigStoreObjectId AD_CSO_ID;
  static const SkarnConfigStore::ConfigStoreObjectId AUTH_PROXY_CERT_CSO_ID;

  // Connects to the store of the global namespace.
  ActiveDirectoryConfigStore();
  ~ActiveDirectoryConfigStore();

  // The key's value of the object; ConfigurationError "Failed to get the
  // requested object" when the object does not exist, and the empty string
  // when only the key is absent.
  std::string GetStringValue(const SkarnConfigStore::ConfigStoreObjectId& id,
                             const std::string& key) const;

  std::string GetDomainName() const;
  std::string GetOrganizationalUnit() const;
  std::string GetAuthProxyAddr() const;
  std::string GetThumbprint() const;
  std::string GetCertificate() const;

  // Replaces the domain record. The proxy address is always stored (empty
  // for a direct join); an empty organizational unit stores no key at all.
  void StoreDomainInfo(const std::string& domainName,
                       const std::string& organizationalUnit,
                       const std::string& authProxyAddress);
  // Replaces the accepted proxy certificate record.
  void StoreAuthProxyCertInfo(const std::string& thumbprint,
                              const std::string& certificate);
  // Forgets the domain record, if any; the proxy certificate is kept.
  void RemoveDomainInfo();

 private:
  std::shared_ptr<SkarnConfigStore::ConfigStore> store;
};

}  // namespace authentication
}  // namespace quarry

#endif
