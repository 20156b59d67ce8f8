// Listing and creating stores by name, and asking which one is active.
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::InstallStandardPlugin;
using quarryauth_test::WriteActiveStore;
using quarryauth_test::WriteFile;
using ::testing::ElementsAre;
using Factory = qa::AuthenticationStoreFactory;
using FactoryInstance = qa::Singleton<qa::AuthenticationStoreFactory>;

// A store kind that only tests register.
class OtherStore : public qa::RemoteAuthenticationStore {
 public:
  qa::StoreConfiguration* GetStoreConfiguration() const override {
    return new qa::NoRemoteAuthenticationStoreConfiguration();
  }
  std::string GetDisplayName() const override { return "Other"; }
  void MakeActive() override {}
  void MakeInactive() override {}
};

TEST(StoreFactory, LibraryFactoryIsLiveOnceLoaded) {
  ASSERT_NE(nullptr, FactoryInstance::_instance);
  EXPECT_THAT(FactoryInstance::_instance->GetRegisteredStores(),
              ElementsAre("Active Directory", "None"));
}

TEST(StoreFactory, NewFactoryListsBothKindsAndBecomesTheInstance) {
  Factory factory;
  EXPECT_EQ(&factory, FactoryInstance::_instance);
  EXPECT_THAT(factory.GetRegisteredStores(),
              ElementsAre("Active Directory", "None"));
}

TEST(StoreFactory, InstanceIsNullAfterAnyFactoryIsDestroyed) {
  Factory older;
  { Factory newer; }
  EXPECT_EQ(nullptr, FactoryInstance::_instance);
}

TEST(StoreFactory, UnknownNamesGiveNoStore) {
  Factory factory;
  EXPECT_EQ(nullptr, factory.CreateInstance("none"));
  EXPECT_EQ(nullptr, factory.CreateInstance(""));
  EXPECT_EQ(nullptr, factory.CreateInstance("Active directory"));
  EXPECT_EQ(nullptr, factory.CreateInstance("None "));
}

TEST(StoreFactory, CreatesTheNoneStore) {
  Factory factory;
  std::unique_ptr<qa::AuthenticationStore> store =
      factory.CreateInstance("None");
  ASSERT_NE(nullptr, store);
  EXPECT_NE(nullptr, dynamic_cast<qa::NoRemoteAuthenticationStore*>(store.get()));
  EXPECT_EQ("None", store->GetDisplayName());
}

TEST(StoreFactory, CreatesTheActiveDirectoryStore) {
  InstallStandardPlugin();
  Factory factory;
  std::unique_ptr<qa::AuthenticationStore> store =
      factory.CreateInstance("Active Directory");
  ASSERT_NE(nullptr, store);
  EXPECT_NE(nullptr, dynamic_cast<qa::ActiveDirectoryStore*>(store.get()));
  EXPECT_NE(nullptr, dynamic_cast<qa::DirectoryStore*>(store.get()));
  EXPECT_EQ("Active Directory", store->GetDisplayName());
}

TEST(StoreFactory, ActiveDirectoryStoreFailuresReachTheCaller) {
  Factory factory;
  EXPECT_THROW(factory.CreateInstance("Active Directory"), qa::IOError);
}

TEST(StoreFactory, SecondRegistrationOfANameIsIgnored) {
  Factory factory;
  factory.RegisterType("None", &qa::Constructor<OtherStore>);
  std::unique_ptr<qa::AuthenticationStore> store =
      factory.CreateInstance("None");
  EXPECT_NE(nullptr, dynamic_cast<qa::NoRemoteAuthenticationStore*>(store.get()));
  EXPECT_THAT(factory.GetRegisteredStores(),
              ElementsAre("Active Directory", "None"));
}

TEST(StoreFactory, ListsRegisteredNamesInByteOrder) {
  Factory factory;
  factory.RegisterType("LDAP", &qa::Constructor<OtherStore>);
  factory.RegisterType("ad", &qa::Constructor<OtherStore>);
  EXPECT_THAT(factory.GetRegisteredStores(),
              ElementsAre("Active Directory", "LDAP", "None", "ad"));
  std::unique_ptr<qa::AuthenticationStore> store =
      factory.CreateInstance("LDAP");
  EXPECT_NE(nullptr, dynamic_cast<OtherStore*>(store.get()));
}

TEST(StoreFactory, ConstructorFunctionsTransferOwnership) {
  qa::AuthenticationStoreFactory::ConstructorFunction none =
      &qa::Constructor<qa::NoRemoteAuthenticationStore>;
  std::unique_ptr<qa::AuthenticationStore> store = none();
  EXPECT_EQ("None", store->GetDisplayName());
}

// ---- which store is active ----

const char kAuthenticationConf[] =
    "/etc/quarry/quarryauth/authentication.conf";

class ActiveStore : public ::testing::Test {
 protected:
  ActiveStore() { InstallStandardPlugin(); }

  bool IsActive(const std::string& name) {
    return FactoryInstance::_instance->CreateInstance(name)->IsActive();
  }
};

TEST_F(ActiveStore, MissingFileIsAnIOErrorNamingIt) {
  for (const char* name : {"Active Directory", "None"}) {
    try {
      IsActive(name);
      ADD_FAILURE() << name;
    } catch (const qa::IOError& error) {
      EXPECT_STREQ(
          "Unable to open '/etc/quarry/quarryauth/authentication.conf': No "
          "such file or directory",
          error.what());
    }
  }
}

TEST_F(ActiveStore, FileWithoutTheKeyMeansNoneIsActive) {
  WriteFile(kAuthenticationConf, "other = \"x\"\n");
  EXPECT_FALSE(IsActive("Active Directory"));
  EXPECT_FALSE(IsActive("None"));
}

TEST_F(ActiveStore, ActiveDirectoryRecorded) {
  WriteActiveStore("Active Directory");
  EXPECT_TRUE(IsActive("Active Directory"));
  EXPECT_FALSE(IsActive("None"));
}

TEST_F(ActiveStore, NoneRecorded) {
  WriteActiveStore("None");
  EXPECT_TRUE(IsActive("None"));
  EXPECT_FALSE(IsActive("Active Directory"));
}

TEST_F(ActiveStore, ComparisonIsExact) {
  WriteActiveStore("none");
  EXPECT_FALSE(IsActive("None"));
  WriteActiveStore("None ");
  EXPECT_FALSE(IsActive("None"));
  WriteActiveStore("active directory");
  EXPECT_FALSE(IsActive("Active Directory"));
}

}  // namespace
