#include <sys/stat.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreObject.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreObjectId.h>
#include <quarryauth/platform/skarnconfigstore/StoreObject.h>

#include "ConfigStoreSupport.h"
#include "SandboxSupport.h"

namespace {

using SkarnConfigStore::ConfigStore;
using SkarnConfigStore::ConfigStoreObject;
using SkarnConfigStore::ConfigStoreObjectId;
using SkarnConfigStore::CSErrorCodes;
using SkarnConfigStore::StoreObject;
using Values = std::map<std::string, std::string>;
namespace qt = quarry::test;
using quarry::test::GlobalStore;

const ConfigStoreObjectId kDomainId("active_directory", "identity", "skarn");
const ConfigStoreObjectId kCertificateId("auth_proxy_certificate", "identity",
                                         "skarn");

std::shared_ptr<ConfigStoreObject> MakeObject(const ConfigStoreObjectId& id,
                                              const Values& values) {
  auto object = std::make_shared<ConfigStoreObject>(id);
  for (const auto& pair : values) object->SetValue(pair.first, pair.second);
  return object;
}

Values StoredValues(ConfigStore& store, const ConfigStoreObjectId& id) {
  const std::shared_ptr<StoreObject> object = store.GetObject(id);
  if (!object) return Values{{"<absent>", ""}};
  return object->GetValues();
}

// The vtable slot of a virtual member function (Itanium C++ ABI: the
// pointer holds 1 + the slot's byte offset).
template <class Member>
std::ptrdiff_t VirtualSlot(Member member) {
  struct Representation {
    std::uintptr_t pointer;
    std::ptrdiff_t adjustment;
  } representation;
  static_assert(sizeof(member) == sizeof(representation));
  std::memcpy(&representation, &member, sizeof(representation));
  return static_cast<std::ptrdiff_t>((representation.pointer - 1) /
                                     sizeof(void*));
}

TEST(StoreObject, ReadsOnlyKeysThatItHas) {
  StoreObject object;
  object.SetValue("domain_name", "ad.test");
  std::string out = "unchanged";
  EXPECT_FALSE(object.GetValue("organizational_unit", out));
  EXPECT_EQ("unchanged", out);
  EXPECT_TRUE(object.GetValue("domain_name", out));
  EXPECT_EQ("ad.test", out);
  object.SetValue("domain_name", "other.test");
  EXPECT_TRUE(object.GetValue("domain_name", out));
  EXPECT_EQ("other.test", out);
  EXPECT_TRUE(object.RemoveValue("domain_name"));
  EXPECT_FALSE(object.RemoveValue("domain_name"));
  EXPECT_TRUE(object.GetValues().empty());
}

TEST(ConfigStoreObject, StartsEmptyWithItsId) {
  const ConfigStoreObject object(kDomainId);
  EXPECT_EQ(kDomainId, object.GetId());
  EXPECT_TRUE(object.GetValues().empty());
  EXPECT_EQ("skarn/identity/active_directory", kDomainId.ToString());
  EXPECT_EQ("active_directory", kDomainId.GetKey());
  EXPECT_EQ("identity", kDomainId.GetGroup());
  EXPECT_EQ("skarn", kDomainId.GetComponent());
  EXPECT_NE(kDomainId, kCertificateId);
}

TEST(ConfigStore, KeepsOperationsInTheirVirtualSlots) {
  EXPECT_EQ(0, VirtualSlot(&ConfigStore::GetObject));
  EXPECT_EQ(1, VirtualSlot(&ConfigStore::ObjectExists));
  EXPECT_EQ(2, VirtualSlot(&ConfigStore::ListObjectIds));
  EXPECT_EQ(3, VirtualSlot(&ConfigStore::CreateObject));
  EXPECT_EQ(4, VirtualSlot(&ConfigStore::SetObject));
  EXPECT_EQ(5, VirtualSlot(&ConfigStore::UpdateObject));
  EXPECT_EQ(6, VirtualSlot(&ConfigStore::GetValue));
  EXPECT_EQ(7, VirtualSlot(&ConfigStore::SetValue));
  EXPECT_EQ(8, VirtualSlot(&ConfigStore::RemoveValue));
  EXPECT_EQ(9, VirtualSlot(&ConfigStore::DeleteObject));
}

TEST(ConfigStore, CreatesItsDirectoryAndFilePrivately) {
  ASSERT_FALSE(qt::FileExists("/var/lib/quarry"));
  ::umask(0);
  const auto store = GlobalStore();
  store->SetValue(kDomainId, "domain_name", "ad.test");
  EXPECT_EQ(0700u, qt::FileMode("/var/lib/quarry"));
  EXPECT_EQ(0600u, qt::FileMode("/var/lib/quarry/configstore.db"));
  // SQLite gives its side files the database file's mode.
  EXPECT_EQ(0600u, qt::FileMode("/var/lib/quarry/configstore.db-wal"));
  EXPECT_EQ(0600u, qt::FileMode("/var/lib/quarry/configstore.db-shm"));
}

TEST(ConfigStore, LeavesAnExistingDirectoryAndFileAsTheyAre) {
  ASSERT_EQ(0, qt::Run("mkdir -m 0750 /var/lib/quarry && "
                       "touch /var/lib/quarry/configstore.db && "
                       "chmod 0640 /var/lib/quarry/configstore.db"));
  GlobalStore()->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"}}),
                           0);
  EXPECT_EQ(0750u, qt::FileMode("/var/lib/quarry"));
  EXPECT_EQ(0640u, qt::FileMode("/var/lib/quarry/configstore.db"));
  EXPECT_EQ((Values{{"domain_name", "ad.test"}}),
            StoredValues(*GlobalStore(), kDomainId));
}

TEST(ConfigStore, ReportsAnAbsentObjectAsNull) {
  const auto store = GlobalStore();
  EXPECT_EQ(nullptr, store->GetObject(kDomainId));
  EXPECT_FALSE(store->ObjectExists(kDomainId));
}

TEST(ConfigStore, RoundTripsAnObject) {
  const Values values{{"domain_name", "ad.test"},
                      {"auth_proxy_address", ""},
                      {"organizational_unit", "OU=Hosts,DC=ad,DC=test"}};
  GlobalStore()->SetObject(MakeObject(kDomainId, values), 0);

  const auto store = GlobalStore();
  const std::shared_ptr<StoreObject> object = store->GetObject(kDomainId);
  ASSERT_TRUE(object);
  EXPECT_EQ(values, object->GetValues());
  const auto typed = std::dynamic_pointer_cast<ConfigStoreObject>(object);
  ASSERT_TRUE(typed);
  EXPECT_EQ(kDomainId, typed->GetId());
  std::string out = "unchanged";
  EXPECT_FALSE(object->GetValue("thumbprint", out));
  EXPECT_EQ("unchanged", out);
  EXPECT_TRUE(store->ObjectExists(kDomainId));
  EXPECT_EQ(nullptr, store->GetObject(kCertificateId));
}

TEST(ConfigStore, KeepsValuesByteForByte) {
  const std::string binary("a\0b\xff\n\"'=", 8);
  const std::string pem =
      "-----BEGIN CERTIFICATE-----\nMIIB\n-----END CERTIFICATE-----\n";
  GlobalStore()->SetObject(
      MakeObject(kCertificateId, {{"certificate", pem}, {binary, binary}}), 0);
  EXPECT_EQ((Values{{"certificate", pem}, {binary, binary}}),
            StoredValues(*GlobalStore(), kCertificateId));
}

TEST(ConfigStore, StoresAnObjectWithoutKeys) {
  GlobalStore()->SetObject(std::make_shared<ConfigStoreObject>(kDomainId), 0);
  const auto store = GlobalStore();
  EXPECT_TRUE(store->ObjectExists(kDomainId));
  const auto object = store->GetObject(kDomainId);
  ASSERT_TRUE(object);
  EXPECT_TRUE(object->GetValues().empty());
}

TEST(ConfigStore, ReplacesTheWholeObjectOnStore) {
  const auto store = GlobalStore();
  store->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"},
                                          {"organizational_unit", "OU=A"}}),
                   SkarnConfigStore::StoreModeReplace);
  store->SetObject(MakeObject(kDomainId, {{"domain_name", "other.test"},
                                          {"auth_proxy_address", ""}}),
                   0);
  EXPECT_EQ((Values{{"domain_name", "other.test"}, {"auth_proxy_address", ""}}),
            StoredValues(*store, kDomainId));
}

TEST(ConfigStore, MergesKeysInMergeMode) {
  const auto store = GlobalStore();
  store->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"},
                                          {"organizational_unit", "OU=A"}}),
                   0);
  store->SetObject(MakeObject(kDomainId, {{"domain_name", "other.test"}}),
                   SkarnConfigStore::StoreModeMerge);
  EXPECT_EQ(
      (Values{{"domain_name", "other.test"}, {"organizational_unit", "OU=A"}}),
      StoredValues(*store, kDomainId));
  store->SetObject(MakeObject(kCertificateId, {{"thumbprint", "AB"}}),
                   SkarnConfigStore::StoreModeMerge);
  EXPECT_EQ((Values{{"thumbprint", "AB"}}),
            StoredValues(*store, kCertificateId));
}

TEST(ConfigStore, RefusesAnUnknownMode) {
  const auto store = GlobalStore();
  const auto failure = qt::StoreFailureOf([&] {
    store->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"}}), 2);
  });
  EXPECT_EQ(CSErrorCodes::InvalidArgument, failure.first);
  EXPECT_EQ("Invalid Argument", failure.second);
  EXPECT_FALSE(store->ObjectExists(kDomainId));
}

TEST(ConfigStore, DeletesAnObject) {
  const auto store = GlobalStore();
  store->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"}}), 0);
  store->SetObject(MakeObject(kCertificateId, {{"thumbprint", "AB"}}), 0);
  EXPECT_TRUE(store->DeleteObject(kDomainId));
  EXPECT_EQ(nullptr, GlobalStore()->GetObject(kDomainId));
  EXPECT_FALSE(store->DeleteObject(kDomainId));
  EXPECT_EQ((Values{{"thumbprint", "AB"}}),
            StoredValues(*GlobalStore(), kCertificateId));
  // A new object of the same id starts without the old keys.
  store->SetValue(kDomainId, "auth_proxy_address", "192.0.2.1");
  EXPECT_EQ((Values{{"auth_proxy_address", "192.0.2.1"}}),
            StoredValues(*store, kDomainId));
}

TEST(ConfigStore, ListsTheObjectsOfAGroupByKey) {
  const auto store = GlobalStore();
  store->SetObject(MakeObject(kDomainId, {}), 0);
  store->SetObject(MakeObject(kCertificateId, {}), 0);
  store->SetObject(
      MakeObject(ConfigStoreObjectId("a", "identity", "skarn"), {}), 0);
  store->SetObject(MakeObject(ConfigStoreObjectId("b", "other", "skarn"), {}),
                   0);
  store->SetObject(
      MakeObject(ConfigStoreObjectId("c", "identity", "other"), {}), 0);
  const std::vector<ConfigStoreObjectId> expected{
      ConfigStoreObjectId("a", "identity", "skarn"), kDomainId, kCertificateId};
  EXPECT_EQ(expected, store->ListObjectIds("identity", "skarn"));
  EXPECT_TRUE(store->ListObjectIds("nothing", "skarn").empty());
}

TEST(ConfigStore, CreatesOnlyANewObject) {
  const auto store = GlobalStore();
  store->CreateObject(MakeObject(kDomainId, {{"domain_name", "ad.test"}}));
  EXPECT_EQ((Values{{"domain_name", "ad.test"}}),
            StoredValues(*store, kDomainId));
  const auto failure = qt::StoreFailureOf([&] {
    store->CreateObject(MakeObject(kDomainId, {{"domain_name", "other.test"}}));
  });
  EXPECT_EQ(CSErrorCodes::ObjectAlreadyExists, failure.first);
  EXPECT_EQ(
      "Configuration object already exists: skarn/identity/active_directory",
      failure.second);
  EXPECT_EQ((Values{{"domain_name", "ad.test"}}),
            StoredValues(*store, kDomainId));
}

TEST(ConfigStore, UpdatesOnlyAnExistingObject) {
  const auto store = GlobalStore();
  const auto failure = qt::StoreFailureOf([&] {
    store->UpdateObject(MakeObject(kDomainId, {{"domain_name", "ad.test"}}));
  });
  EXPECT_EQ(CSErrorCodes::ObjectNotFound, failure.first);
  EXPECT_EQ("Configuration object not found: skarn/identity/active_directory",
            failure.second);
  EXPECT_FALSE(store->ObjectExists(kDomainId));

  store->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"},
                                          {"organizational_unit", "OU=A"}}),
                   0);
  store->UpdateObject(MakeObject(kDomainId, {{"organizational_unit", "OU=B"},
                                             {"auth_proxy_address", "x"}}));
  EXPECT_EQ((Values{{"domain_name", "ad.test"},
                    {"organizational_unit", "OU=B"},
                    {"auth_proxy_address", "x"}}),
            StoredValues(*store, kDomainId));
}

TEST(ConfigStore, ReadsAndWritesSingleValues) {
  const auto store = GlobalStore();
  std::string out = "unchanged";
  EXPECT_FALSE(store->GetValue(kDomainId, "domain_name", out));
  EXPECT_EQ("unchanged", out);

  store->SetValue(kDomainId, "domain_name", "ad.test");
  EXPECT_TRUE(store->ObjectExists(kDomainId));
  EXPECT_TRUE(store->GetValue(kDomainId, "domain_name", out));
  EXPECT_EQ("ad.test", out);
  out = "unchanged";
  EXPECT_FALSE(store->GetValue(kDomainId, "organizational_unit", out));
  EXPECT_EQ("unchanged", out);

  store->SetValue(kDomainId, "domain_name", "other.test");
  store->SetValue(kDomainId, "organizational_unit", "OU=A");
  EXPECT_EQ(
      (Values{{"domain_name", "other.test"}, {"organizational_unit", "OU=A"}}),
      StoredValues(*store, kDomainId));
}

TEST(ConfigStore, RemovesSingleValues) {
  const auto store = GlobalStore();
  EXPECT_FALSE(store->RemoveValue(kDomainId, "domain_name"));
  store->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"},
                                          {"organizational_unit", "OU=A"}}),
                   0);
  EXPECT_TRUE(store->RemoveValue(kDomainId, "organizational_unit"));
  EXPECT_FALSE(store->RemoveValue(kDomainId, "organizational_unit"));
  EXPECT_EQ((Values{{"domain_name", "ad.test"}}),
            StoredValues(*store, kDomainId));
  EXPECT_TRUE(store->RemoveValue(kDomainId, "domain_name"));
  EXPECT_TRUE(store->ObjectExists(kDomainId));
}

TEST(ConfigStore, KeepsNamespacesApart) {
  GlobalStore()->SetObject(MakeObject(kDomainId, {{"domain_name", "ad.test"}}),
                           0);
  const auto other = ConfigStore::GetStore("other");
  EXPECT_EQ(nullptr, other->GetObject(kDomainId));
  other->SetObject(MakeObject(kDomainId, {{"domain_name", "other.test"}}), 0);
  EXPECT_EQ((Values{{"domain_name", "ad.test"}}),
            StoredValues(*GlobalStore(), kDomainId));
  EXPECT_TRUE(other->DeleteObject(kDomainId));
  EXPECT_TRUE(GlobalStore()->ObjectExists(kDomainId));
}

TEST(ConfigStore, RefusesInvalidArguments) {
  const auto store = GlobalStore();
  const ConfigStoreObjectId noKey("", "identity", "skarn");
  const ConfigStoreObjectId noGroup("k", "", "skarn");
  const ConfigStoreObjectId noComponent("k", "identity", "");
  std::string out;
  for (const ConfigStoreObjectId& id : {noKey, noGroup, noComponent}) {
    EXPECT_FALSE(id.IsValid());
    const std::vector<std::pair<CSErrorCodes, std::string>> failures{
        qt::StoreFailureOf([&] { store->GetObject(id); }),
        qt::StoreFailureOf([&] { store->ObjectExists(id); }),
        qt::StoreFailureOf([&] { store->CreateObject(MakeObject(id, {})); }),
        qt::StoreFailureOf([&] { store->SetObject(MakeObject(id, {}), 0); }),
        qt::StoreFailureOf([&] { store->UpdateObject(MakeObject(id, {})); }),
        qt::StoreFailureOf([&] { store->GetValue(id, "k", out); }),
        qt::StoreFailureOf([&] { store->SetValue(id, "k", "v"); }),
        qt::StoreFailureOf([&] { store->RemoveValue(id, "k"); }),
        qt::StoreFailureOf([&] { store->DeleteObject(id); })};
    for (const auto& failure : failures) {
      EXPECT_EQ(CSErrorCodes::InvalidArgument, failure.first);
      EXPECT_EQ("Invalid Argument", failure.second);
    }
  }
  EXPECT_EQ("Invalid Argument",
            qt::StoreFailureOf([&] { store->SetObject(nullptr, 0); }).second);
  EXPECT_EQ("Invalid Argument",
            qt::StoreFailureOf([&] { store->CreateObject(nullptr); }).second);
  EXPECT_EQ("Invalid Argument",
            qt::StoreFailureOf([&] { store->UpdateObject(nullptr); }).second);
  EXPECT_EQ("Invalid Argument",
            qt::StoreFailureOf([] { ConfigStore::GetStore(""); }).second);
}

TEST(ConfigStore, SharesOneHandleBetweenThreads) {
  const auto store = GlobalStore();
  const int kThreads = 4;
  const int kWrites = 25;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&store, t] {
      for (int i = 0; i < kWrites; ++i) {
        store->SetValue(kDomainId, std::to_string(t) + "-" + std::to_string(i),
                        "v");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(static_cast<std::size_t>(kThreads * kWrites),
            store->GetObject(kDomainId)->GetValues().size());
}

}  // namespace
