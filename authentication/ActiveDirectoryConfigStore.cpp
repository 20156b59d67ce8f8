#include <quarryauth/authentication/ActiveDirectoryConfigStore.h>

#include <quarryauth/authentication/Exception.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreObject.h>

namespace quarry {
namespace authentication {

using SkarnConfigStore::ConfigStoreObject;
using SkarnConfigStore::ConfigStoreObjectId;

namespace {

// Stored objects replace what the store held for their id.
const int kReplaceMode = SkarnConfigStore::StoreModeReplace;

}  // namespace

// Defined in this order so that the ids are built from initialised strings.
const std::string ActiveDirectoryConfigStore::AD_CONFIG_KEY = "active_directory";
const std::string ActiveDirectoryConfigStore::AUTH_PROXY_CONFIG_KEY =
    "auth_proxy_certificate";
const std::string ActiveDirectoryConfigStore::AD_CONFIG_GROUP = "identity";
const std::string ActiveDirectoryConfigStore::AD_CONFIG_COMPONENT = "skarn";
const std::string ActiveDirectoryConfigStore::DOMAIN_NAME_KEY = "domain_name";
const std::string ActiveDirectoryConfigStore::ORG_UNIT_KEY =
    "organizational_unit";
const std::string ActiveDirectoryConfigStore::AUTH_PROXY_ADDR_KEY =
    "auth_proxy_address";
const std::string ActiveDirectoryConfigStore::AUTH_PROXY_THUMBPRINT_KEY =
    "thumbprint";
const std::string ActiveDirectoryConfigStore::AUTH_PROXY_CERT_KEY =
    "certificate";
const ConfigStoreObjectId ActiveDirectoryConfigStore::AD_CSO_ID(
    AD_CONFIG_KEY, AD_CONFIG_GROUP, AD_CONFIG_COMPONENT);
const ConfigStoreObjectId ActiveDirectoryConfigStore::AUTH_PROXY_CERT_CSO_ID(
    AUTH_PROXY_CONFIG_KEY, AD_CONFIG_GROUP, AD_CONFIG_COMPONENT);

ActiveDirectoryConfigStore::ActiveDirectoryConfigStore()
    : store(SkarnConfigStore::ConfigStore::GetStore(
          SkarnConfigStore::sGlobalNamespace)) {}

ActiveDirectoryConfigStore::~ActiveDirectoryConfigStore() = default;

std::string ActiveDirectoryConfigStore::GetStringValue(
    const ConfigStoreObjectId& id, const std::string& key) const {
  const std::shared_ptr<SkarnConfigStore::StoreObject> object =
      store->GetObject(id);
  if (!object) throw ConfigurationError("Failed to get the requested object");
  std::string value;
  object->GetValue(key, value);
  return value;
}

std::string ActiveDirectoryConfigStore::GetDomainName() const {
  return GetStringValue(AD_CSO_ID, DOMAIN_NAME_KEY);
}

std::string ActiveDirectoryConfigStore::GetOrganizationalUnit() const {
  return GetStringValue(AD_CSO_ID, ORG_UNIT_KEY);
}

std::string ActiveDirectoryConfigStore::GetAuthProxyAddr() const {
  return GetStringValue(AD_CSO_ID, AUTH_PROXY_ADDR_KEY);
}

std::string ActiveDirectoryConfigStore::GetThumbprint() const {
  return GetStringValue(AUTH_PROXY_CERT_CSO_ID, AUTH_PROXY_THUMBPRINT_KEY);
}

std::string ActiveDirectoryConfigStore::GetCertificate() const {
  return GetStringValue(AUTH_PROXY_CERT_CSO_ID, AUTH_PROXY_CERT_KEY);
}

void ActiveDirectoryConfigStore::StoreDomainInfo(
    const std::string& domainName, const std::string& organizationalUnit,
    const std::string& authProxyAddress) {
  auto object = std::make_shared<ConfigStoreObject>(AD_CSO_ID);
  object->SetValue(DOMAIN_NAME_KEY, domainName);
  object->SetValue(AUTH_PROXY_ADDR_KEY, authProxyAddress);
  if (!organizationalUnit.empty()) {
    object->SetValue(ORG_UNIT_KEY, organizationalUnit);
  }
  store->SetObject(object, kReplaceMode);
}

void ActiveDirectoryConfigStore::StoreAuthProxyCertInfo(
    const std::string& thumbprint, const std::string& certificate) {
  auto object = std::make_shared<ConfigStoreObject>(AUTH_PROXY_CERT_CSO_ID);
  object->SetValue(AUTH_PROXY_THUMBPRINT_KEY, thumbprint);
  object->SetValue(AUTH_PROXY_CERT_KEY, certificate);
  store->SetObject(object, kReplaceMode);
}

void ActiveDirectoryConfigStore::RemoveDomainInfo() {
  if (store->GetObject(AD_CSO_ID)) store->DeleteObject(AD_CSO_ID);
}

}  // namespace authentication
}  // namespace quarry
