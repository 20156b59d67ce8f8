// The "None" store: switching remote authentication off.
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::InstallStandardPlugin;
using quarryauth_test::ReadFile;
using quarryauth_test::WriteActiveStore;
using quarryauth_test::WriteFile;
using FactoryInstance = qa::Singleton<qa::AuthenticationStoreFactory>;

const char kAuthenticationConf[] =
    "/etc/quarry/quarryauth/authentication.conf";
const char kRecordsNone[] = "remote-authentication-store = \"None\"\n";

// Counts what happens to the stores that the None store creates.
int inactivations = 0;
int destructions = 0;

class RecordingStore : public qa::RemoteAuthenticationStore {
 public:
  ~RecordingStore() override { ++destructions; }
  qa::StoreConfiguration* GetStoreConfiguration() const override {
    return new qa::NoRemoteAuthenticationStoreConfiguration();
  }
  std::string GetDisplayName() const override { return "Recording"; }
  void MakeActive() override {}
  void MakeInactive() override { ++inactivations; }
};

class FailingStore : public RecordingStore {
 public:
  void MakeInactive() override { throw qa::AccessDeniedException(); }
};

class LocalStore : public qa::AuthenticationStore {
 public:
  ~LocalStore() override { ++destructions; }
  qa::StoreConfiguration* GetStoreConfiguration() const override {
    return new qa::NoRemoteAuthenticationStoreConfiguration();
  }
  std::string GetDisplayName() const override { return "Local"; }
  bool IsActive() const override { return false; }
  void MakeActive() override {}
};

class NoneStore : public ::testing::Test {
 protected:
  NoneStore() {
    FactoryInstance::_instance->RegisterType(
        "Recording", &qa::Constructor<RecordingStore>);
    FactoryInstance::_instance->RegisterType("Failing",
                                             &qa::Constructor<FailingStore>);
    FactoryInstance::_instance->RegisterType("Local",
                                             &qa::Constructor<LocalStore>);
  }

  qa::NoRemoteAuthenticationStore store;
};

template <class Failure>
std::string MessageOf(qa::AuthenticationStore& store) {
  try {
    store.MakeActive();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "(nothing thrown)";
}

TEST_F(NoneStore, IsNamedNone) { EXPECT_EQ("None", store.GetDisplayName()); }

TEST_F(NoneStore, GivesANewEmptyConfigurationOnEveryCall) {
  std::unique_ptr<qa::StoreConfiguration> first(store.GetStoreConfiguration());
  std::unique_ptr<qa::StoreConfiguration> second(
      store.GetStoreConfiguration());
  EXPECT_NE(first.get(), second.get());
  EXPECT_NE(nullptr, dynamic_cast<qa::NoRemoteAuthenticationStoreConfiguration*>(
                         first.get()));
}

TEST_F(NoneStore, CannotBeMadeInactive) {
  WriteActiveStore("None");
  try {
    store.MakeInactive();
    FAIL();
  } catch (const qa::Exception&) {
    FAIL() << "not a library exception";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ("Attempted to disable None Store", error.what());
  }
  EXPECT_EQ(kRecordsNone, ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, AlreadyActiveLeavesTheFileUntouched) {
  WriteFile(kAuthenticationConf,
            "remote-authentication-store='None'\n\n#note = kept as it is\n=x\n");
  struct stat before;
  ASSERT_EQ(0, stat(kAuthenticationConf, &before));
  // Without a factory any attempt to create a store would fail.
  { qa::AuthenticationStoreFactory passing; }
  store.MakeActive();
  struct stat after;
  ASSERT_EQ(0, stat(kAuthenticationConf, &after));
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(before.st_mtim.tv_sec, after.st_mtim.tv_sec);
  EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
  EXPECT_EQ("remote-authentication-store='None'\n\n#note = kept as it is\n=x\n",
            ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, DeactivatesTheActiveDirectoryStore) {
  InstallStandardPlugin();
  WriteFile(kAuthenticationConf,
            "remote-authentication-store = \"Active Directory\"\n"
            "zz = 'kept'\n");
  store.MakeActive();
  EXPECT_EQ("remote-authentication-store = \"None\"\nzz = \"kept\"\n",
            ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, AsksThePreviousStoreOnceToMakeItselfInactive) {
  WriteActiveStore("Recording");
  store.MakeActive();
  EXPECT_EQ(1, inactivations);
  EXPECT_EQ(1, destructions);
  EXPECT_EQ(kRecordsNone, ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, MissingKeyIsRecordedThenAnUnknownEmptyName) {
  WriteFile(kAuthenticationConf, "");
  EXPECT_EQ("The specified store '' is unknown",
            MessageOf<qa::UnknownRemoteAuthenticationStoreException>(store));
  EXPECT_EQ(kRecordsNone, ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, UnregisteredPreviousNameIsUnknown) {
  WriteActiveStore("LDAP");
  EXPECT_EQ("The specified store 'LDAP' is unknown",
            MessageOf<qa::UnknownRemoteAuthenticationStoreException>(store));
  EXPECT_EQ(kRecordsNone, ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, PreviousStoreThatIsNotRemoteIsInvalid) {
  WriteActiveStore("Local");
  EXPECT_EQ("The specified store 'Local' is invalid",
            MessageOf<qa::InvalidRemoteAuthenticationStoreException>(store));
  EXPECT_EQ(1, destructions);
  EXPECT_EQ(kRecordsNone, ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, PreviousStoresFailurePropagates) {
  WriteActiveStore("Failing");
  EXPECT_THROW(store.MakeActive(), qa::AccessDeniedException);
  EXPECT_EQ(1, destructions);
  EXPECT_EQ(kRecordsNone, ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, WithoutAFactoryThePreviousNameIsUnknown) {
  WriteActiveStore("Recording");
  { qa::AuthenticationStoreFactory passing; }
  EXPECT_EQ("The specified store 'Recording' is unknown",
            MessageOf<qa::UnknownRemoteAuthenticationStoreException>(store));
  EXPECT_EQ(0, inactivations);
  EXPECT_EQ(kRecordsNone, ReadFile(kAuthenticationConf));
}

TEST_F(NoneStore, MissingFileIsAnIOErrorAndNothingIsWritten) {
  EXPECT_EQ(
      "Unable to open '/etc/quarry/quarryauth/authentication.conf': No such "
      "file or directory",
      MessageOf<qa::IOError>(store));
  struct stat status;
  EXPECT_NE(0, stat(kAuthenticationConf, &status));
}

TEST_F(NoneStore, MalformedFileIsAConfigurationErrorAndNothingIsWritten) {
  WriteFile(kAuthenticationConf, "remote-authentication-store\n");
  EXPECT_EQ("Error parsing configuration on line 1: no delimiter found",
            MessageOf<qa::ConfigurationError>(store));
  EXPECT_EQ("remote-authentication-store\n", ReadFile(kAuthenticationConf));
  EXPECT_EQ(0, inactivations);
}

TEST_F(NoneStore, UnwritableFileIsAnIOErrorAndTheFileIsUnchanged) {
  WriteActiveStore("Recording");
  // A read-only view of the directory, inside this test's own mount
  // namespace.
  const char* directory = "/etc/quarry/quarryauth";
  ASSERT_EQ(0, mount(directory, directory, nullptr, MS_BIND, nullptr));
  ASSERT_EQ(0, mount(nullptr, directory, nullptr,
                     MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr));
  EXPECT_EQ(
      "Unable to create temporary file to write "
      "'/etc/quarry/quarryauth/authentication.conf': Read-only file system",
      MessageOf<qa::IOError>(store));
  EXPECT_EQ("remote-authentication-store = \"Recording\"\n",
            ReadFile(kAuthenticationConf));
  EXPECT_EQ(0, inactivations);
}

}  // namespace
