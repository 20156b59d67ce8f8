// Loading the directory client plug-in: from which directory, with which
// metadata and operations tables, and under which provider names.
#include <functional>
#include <string>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"

namespace qa = quarry::authentication;
using quarryauth_test::InstallPlugin;
using quarryauth_test::InstalledPluginPath;
using quarryauth_test::IsLoaded;
using quarryauth_test::PluginControl;
using quarryauth_test::PluginDirectory;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const std::string kLib64Path =
    InstalledPluginPath("testad", PluginDirectory::Lib64);
const std::string kBasePath =
    InstalledPluginPath("testad", PluginDirectory::Base);

std::string InvalidProviderMessage(const std::string& name,
                                   const std::string& reason) {
  return "The specified Active Directory provider '" + name +
         "' is invalid: " + reason;
}

template <class Failure>
std::string MessageOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "(nothing thrown)";
}

// ---- loading ----

TEST(ProviderLoading, LoadsFromTheLib64Directory) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_TRUE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, FallsBackToThePluginDirectory) {
  InstallPlugin("", "testad", PluginDirectory::Base);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_TRUE(IsLoaded(kBasePath));
}

TEST(ProviderLoading, PrefersTheLib64DirectoryWhenBothHoldThePlugin) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  InstallPlugin("", "testad", PluginDirectory::Base);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_TRUE(IsLoaded(kLib64Path));
  EXPECT_FALSE(IsLoaded(kBasePath));
}

TEST(ProviderLoading, ClosesThePluginWhenDestroyed) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  { qa::ActiveDirectoryProvider provider("testad"); }
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, MissingPluginIsAnIOErrorWithTheLoaderText) {
  try {
    qa::ActiveDirectoryProvider provider("testad");
    FAIL() << "loaded a plug-in that does not exist";
  } catch (const qa::IOError& error) {
    EXPECT_STREQ(
        "Unable to open provider: /usr/libexec/quarryauth/libtestad.so: "
        "cannot open shared object file: No such file or directory",
        error.what());
    EXPECT_EQ(0u, error.GetCode());
  }
}

TEST(ProviderLoading, MetadataVersion3IsAccepted) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(3, "pam_testad.so", nullptr, "testad", nullptr);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("testad"));
}

TEST(ProviderLoading, MetadataVersion4IsRefusedAndThePluginClosed) {
  InstallPlugin("_metadata4", "testad", PluginDirectory::Lib64);
  EXPECT_EQ(InvalidProviderMessage(
                "testad",
                "The API version (4) is not supported by this version of "
                "libquarryauth"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [] { qa::ActiveDirectoryProvider provider("testad"); }));
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, MetadataVersion0IsAccepted) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(0, "pam_testad.so", nullptr, "testad", nullptr);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("testad"));
}

TEST(ProviderLoading, NegativeMetadataVersionIsAccepted) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(-1, "pam_testad.so", nullptr, "testad", nullptr);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("testad"));
}

TEST(ProviderLoading, MissingMetadataSymbolIsRefusedAndThePluginClosed) {
  InstallPlugin("_nometadata", "testad", PluginDirectory::Lib64);
  EXPECT_EQ(InvalidProviderMessage(
                "testad", kLib64Path +
                              ": undefined symbol: "
                              "ActiveDirectoryClientMetadata"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [] { qa::ActiveDirectoryProvider provider("testad"); }));
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, MissingOperationsSymbolIsRefusedAndThePluginClosed) {
  InstallPlugin("_nooperations", "testad", PluginDirectory::Lib64);
  EXPECT_EQ(InvalidProviderMessage(
                "testad", kLib64Path +
                              ": undefined symbol: "
                              "ActiveDirectoryClientOperations"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [] { qa::ActiveDirectoryProvider provider("testad"); }));
  EXPECT_FALSE(IsLoaded(kLib64Path));
}

TEST(ProviderLoading, CopiesTheModuleNamesAndParameters) {
  InstallPlugin("", "testad", PluginDirectory::Lib64);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_EQ("pam_testad.so", provider.PAMModule());
  EXPECT_THAT(provider.PAMModuleParameters(), ElementsAre("try_first_pass"));
  EXPECT_EQ("testad", provider.NSSModule());
  EXPECT_THAT(provider.NSSModuleParameters(), IsEmpty());
}

TEST(ProviderLoading, NullParameterTextsGiveEmptyLists) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(3, "pam_x.so", nullptr, "x", nullptr);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_THAT(provider.PAMModuleParameters(), IsEmpty());
  EXPECT_THAT(provider.NSSModuleParameters(), IsEmpty());
}

TEST(ProviderLoading, ParameterTextsAreSplitIntoWords) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetMetadata(3, "pam_x.so", "one  two\tthree", "x",
                     "\n use_first_pass \"quoted word\" ");
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_THAT(provider.PAMModuleParameters(),
              ElementsAre("one", "two", "three"));
  EXPECT_THAT(provider.NSSModuleParameters(),
              ElementsAre("use_first_pass", "\"quoted", "word\""));
}

TEST(ProviderLoading, MetadataTextsAreNeverReleased) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  { qa::ActiveDirectoryProvider provider("testad"); }
  EXPECT_EQ(0, plugin.Releases());
}

TEST(ProviderLoading, ApiVersionComesFromTheOperationsTable) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetTableVersion(7);
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_EQ(7, provider.GetAPIVersion());
}

TEST(ProviderLoading, TableVersion1StillLoads) {
  PluginControl plugin(InstallPlugin("", "testad", PluginDirectory::Lib64));
  plugin.SetTableVersion(1);
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=node1"});
  qa::ActiveDirectoryProvider provider("testad");
  EXPECT_EQ(1, provider.GetAPIVersion());
  EXPECT_EQ("CN=node1", provider.GetMachineAccountDN());
}

// ---- provider names that would lead out of the plug-in directory ----

void ExpectNameRefusedBeforeLoading(const std::string& name) {
  EXPECT_EQ(InvalidProviderMessage(
                name,
                "The provider name must not contain '/' or be '.' or '..'"),
            MessageOf<qa::InvalidActiveDirectoryProviderException>(
                [&] { qa::ActiveDirectoryProvider provider(name); }));
}

TEST(ProviderName, PathOutsideThePluginDirectoryIsRefused) {
  // Without the check, this name would load /etc/quarry/evil.so.
  mkdir("/usr/libexec/quarryauth", 0755);
  mkdir("/usr/libexec/quarryauth/lib64", 0755);
  mkdir("/usr/libexec/quarryauth/lib64/libx", 0755);
  quarryauth_test::WriteFile(
      "/etc/quarry/evil.so",
      quarryauth_test::ReadFile(std::string(QUARRYAUTH_TEST_ADCLIENT_DIR) +
                                "/libtestad.so"));
  ExpectNameRefusedBeforeLoading("x/../../../../../etc/quarry/evil");
  EXPECT_FALSE(IsLoaded("/etc/quarry/evil.so"));
}

TEST(ProviderName, SingleDotIsRefused) {
  InstallPlugin("", ".", PluginDirectory::Lib64);
  ExpectNameRefusedBeforeLoading(".");
  EXPECT_FALSE(IsLoaded(InstalledPluginPath(".", PluginDirectory::Lib64)));
}

TEST(ProviderName, DoubleDotIsRefused) {
  InstallPlugin("", "..", PluginDirectory::Lib64);
  ExpectNameRefusedBeforeLoading("..");
  EXPECT_FALSE(IsLoaded(InstalledPluginPath("..", PluginDirectory::Lib64)));
}

TEST(ProviderName, EmbeddedNulIsRefused) {
  // Without the check, the path would end at the NUL and load "libtestad".
  const std::string cut = "/usr/libexec/quarryauth/lib64/libtestad";
  quarryauth_test::WriteFile(
      cut, quarryauth_test::ReadFile(InstallPlugin("", "testad",
                                                   PluginDirectory::Lib64)));
  try {
    qa::ActiveDirectoryProvider provider(std::string("testad\0x", 8));
    FAIL() << "loaded " << cut;
  } catch (const qa::InvalidActiveDirectoryProviderException& error) {
    // what() ends where the name's NUL is.
    EXPECT_STREQ("The specified Active Directory provider 'testad",
                 error.what());
  }
  EXPECT_FALSE(IsLoaded(cut));
}

TEST(ProviderName, DotsInsideANameAreAllowed) {
  InstallPlugin("", "test.ad..v2", PluginDirectory::Lib64);
  EXPECT_NO_THROW(qa::ActiveDirectoryProvider("test.ad..v2"));
}

}  // namespace
