#include "support/Files.h"

#include <quarryauth/authentication.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace qa = quarry::authentication;
using SkarnConfigStore::ConfigStore;
using SkarnConfigStore::ConfigStoreException;

namespace {

std::shared_ptr<SkarnConfigStore::StoreObject> RawDomainObject() {
  return ConfigStore::GetStore(SkarnConfigStore::sGlobalNamespace)
      ->GetObject(qa::ActiveDirectoryConfigStore::AD_CSO_ID);
}

TEST(ActiveDirectoryConfigStore, ConstantsNameTheStoreObjects) {
  using Store = qa::ActiveDirectoryConfigStore;
  EXPECT_EQ(Store::AD_CONFIG_KEY, "active_directory");
  EXPECT_EQ(Store::AUTH_PROXY_CONFIG_KEY, "auth_proxy_certificate");
  EXPECT_EQ(Store::AD_CONFIG_GROUP, "identity");
  EXPECT_EQ(Store::AD_CONFIG_COMPONENT, "skarn");
  EXPECT_EQ(Store::DOMAIN_NAME_KEY, "domain_name");
  EXPECT_EQ(Store::ORG_UNIT_KEY, "organizational_unit");
  EXPECT_EQ(Store::AUTH_PROXY_ADDR_KEY, "auth_proxy_address");
  EXPECT_EQ(Store::AUTH_PROXY_THUMBPRINT_KEY, "thumbprint");
  EXPECT_EQ(Store::AUTH_PROXY_CERT_KEY, "certificate");
  EXPECT_EQ(Store::AD_CSO_ID,
            SkarnConfigStore::ConfigStoreObjectId("active_directory",
                                                  "identity", "skarn"));
  EXPECT_EQ(Store::AUTH_PROXY_CERT_CSO_ID,
            SkarnConfigStore::ConfigStoreObjectId("auth_proxy_certificate",
                                                  "identity", "skarn"));
}

TEST(ActiveDirectoryConfigStore, DomainRecordRoundTrips) {
  qa::ActiveDirectoryConfigStore store;
  store.StoreDomainInfo("ad.test", "OU=Hosts,DC=ad,DC=test", "192.0.2.10");
  qa::ActiveDirectoryConfigStore reopened;
  EXPECT_EQ(reopened.GetDomainName(), "ad.test");
  EXPECT_EQ(reopened.GetOrganizationalUnit(), "OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(reopened.GetAuthProxyAddr(), "192.0.2.10");
}

TEST(ActiveDirectoryConfigStore, EmptyProxyAddressIsStoredEmptyOrganizationalUnitIsNot) {
  qa::ActiveDirectoryConfigStore store;
  store.StoreDomainInfo("ad.test", "", "");
  const auto object = RawDomainObject();
  ASSERT_TRUE(object);
  std::string value = "untouched";
  EXPECT_TRUE(object->GetValue("auth_proxy_address", value));
  EXPECT_EQ(value, "");
  value = "untouched";
  EXPECT_FALSE(object->GetValue("organizational_unit", value));
  EXPECT_EQ(value, "untouched");
}

TEST(ActiveDirectoryConfigStore, LaterJoinWithoutOrganizationalUnitLeavesNone) {
  qa::ActiveDirectoryConfigStore store;
  store.StoreDomainInfo("ad.test", "OU=Old", "");
  store.StoreDomainInfo("ad.test", "", "");
  EXPECT_EQ(store.GetOrganizationalUnit(), "");
  std::string value;
  EXPECT_FALSE(RawDomainObject()->GetValue("organizational_unit", value));
}

TEST(ActiveDirectoryConfigStore, RemovalForgetsTheDomainButKeepsTheThumbprint) {
  qa::ActiveDirectoryConfigStore store;
  store.StoreAuthProxyCertInfo("AA:BB", "-----BEGIN CERTIFICATE-----\n");
  store.StoreDomainInfo("ad.test", "OU=Hosts", "192.0.2.10");
  store.RemoveDomainInfo();
  try {
    store.GetDomainName();
    FAIL();
  } catch (const qa::ConfigurationError& error) {
    EXPECT_EQ(error.GetCode(), 0u);
    EXPECT_STREQ(error.what(), "Failed to get the requested object");
  }
  EXPECT_EQ(store.GetThumbprint(), "AA:BB");
  EXPECT_EQ(store.GetCertificate(), "-----BEGIN CERTIFICATE-----\n");
  EXPECT_FALSE(RawDomainObject());
}

TEST(ActiveDirectoryConfigStore, RemovalOnAHostThatNeverJoinedDoesNothing) {
  qa::ActiveDirectoryConfigStore store;
  EXPECT_NO_THROW(store.RemoveDomainInfo());
  EXPECT_THROW(store.GetDomainName(), qa::ConfigurationError);
}

TEST(ActiveDirectoryConfigStore, GettersOfAMissingObjectFail) {
  qa::ActiveDirectoryConfigStore store;
  EXPECT_THROW(store.GetOrganizationalUnit(), qa::ConfigurationError);
  EXPECT_THROW(store.GetAuthProxyAddr(), qa::ConfigurationError);
  EXPECT_THROW(store.GetThumbprint(), qa::ConfigurationError);
  EXPECT_THROW(store.GetCertificate(), qa::ConfigurationError);
}

TEST(ActiveDirectoryConfigStore, ProxyCertificateRecordIsReplacedWhole) {
  qa::ActiveDirectoryConfigStore store;
  store.StoreAuthProxyCertInfo("AA:BB", "first");
  store.StoreAuthProxyCertInfo("CC:DD", "second");
  EXPECT_EQ(store.GetThumbprint(), "CC:DD");
  EXPECT_EQ(store.GetCertificate(), "second");
}

TEST(ActiveDirectoryConfigStore, UnreachableStorePassesTheStoreExceptionThrough) {
  quarry_test::Shell("mkdir -p /var/lib/quarry && mount -t tmpfs -o ro tmpfs "
                     "/var/lib/quarry");
  try {
    qa::ActiveDirectoryConfigStore store;
    FAIL();
  } catch (const ConfigStoreException& error) {
    EXPECT_EQ(static_cast<unsigned>(error.GetCode()), 1001u);
    EXPECT_EQ(std::string(error.what()).rfind("Failed to open database ", 0),
              0u);
  }
}

TEST(ActiveDirectoryConfigStore, FailedWritePassesTheStoreExceptionThrough) {
  quarry_test::Shell("mkdir /var/lib/quarry && mount -t tmpfs -o "
                     "size=256k,mode=0700 quarry /var/lib/quarry");
  qa::ActiveDirectoryConfigStore store;
  store.StoreDomainInfo("ad.test", "", "");
  // Fill what is left of the disk.
  quarry_test::Shell("dd if=/dev/zero of=/var/lib/quarry/filler bs=4k "
                     "2>/dev/null || true");
  try {
    store.StoreDomainInfo("other.test", std::string(8192, 'o'), "");
    FAIL();
  } catch (const ConfigStoreException& error) {
    EXPECT_EQ(static_cast<unsigned>(error.GetCode()), 1051u);
  }
  EXPECT_EQ(store.GetDomainName(), "ad.test");
}

}  // namespace
