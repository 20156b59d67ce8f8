#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <quarryauth/platform/tesselctl/AdvancedIntegerOption.h>
#include <quarryauth/platform/tesselctl/AdvancedOption.h>
#include <quarryauth/platform/tesselctl/AdvancedOptionBranch.h>
#include <quarryauth/platform/tesselctl/AdvancedOptions.h>
#include <quarryauth/platform/tesselctl/Host.h>
#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include <quarryauth/platform/tesselctl/HostFactory.h>

#include "ExceptionText.h"
#include "SandboxSupport.h"

namespace {

using HostCtl::Adv::AdvancedIntegerOption;
using HostCtl::Adv::AdvancedOption;
using HostCtl::Adv::AdvancedOptionKind;
namespace qt = quarry::test;

const char kAdvancedConf[] = "/etc/quarry/advanced.conf";

// The option as libquarryauth reaches it: host, options, root branch,
// "UserVars", "ActiveDirectoryVerifyCAMCertificate".
std::shared_ptr<AdvancedIntegerOption> VerifyOption() {
  const auto host = HostCtl::HostFactory::GetHost();
  const auto root = host->GetAdvancedOptions()->GetRootBranch();
  if (!root) return nullptr;
  const auto userVars = root->GetChildBranch("UserVars");
  if (!userVars) return nullptr;
  return std::dynamic_pointer_cast<AdvancedIntegerOption>(
      userVars->GetOption("ActiveDirectoryVerifyCAMCertificate"));
}

int64_t VerifyValue() {
  const auto option = VerifyOption();
  if (!option) throw std::runtime_error("option missing");
  return option->GetIntValue();
}

void WriteVerifyValue(const std::string& quotedValue) {
  qt::WriteFile(
      kAdvancedConf,
      "UserVars.ActiveDirectoryVerifyCAMCertificate = " + quotedValue + "\n");
}

std::string LoadError() {
  return qt::ExceptionText<HostCtl::Lib::HostCtlException>(
      [] { HostCtl::HostFactory::GetHost()->GetAdvancedOptions(); });
}

TEST(AdvancedOptions, DeclaresTheVerifyOptionAsAnInteger) {
  const auto option = VerifyOption();
  ASSERT_TRUE(option);
  EXPECT_EQ("ActiveDirectoryVerifyCAMCertificate", option->GetName());
  EXPECT_EQ("UserVars.ActiveDirectoryVerifyCAMCertificate", option->GetPath());
  EXPECT_EQ(AdvancedOptionKind::Integer, option->GetKind());
  EXPECT_EQ(1, option->GetDefaultIntValue());
}

TEST(AdvancedOptions, DefaultsToOneWithoutTheFile) {
  EXPECT_EQ(1, VerifyValue());
}

TEST(AdvancedOptions, DefaultsToOneWithoutTheLine) {
  qt::WriteFile(kAdvancedConf, "UserVars.SomethingElse = \"7\"\n");
  EXPECT_EQ(1, VerifyValue());
}

TEST(AdvancedOptions, ReadsZero) {
  WriteVerifyValue("\"0\"");
  EXPECT_EQ(0, VerifyValue());
}

TEST(AdvancedOptions, ReadsOne) {
  WriteVerifyValue("\"1\"");
  EXPECT_EQ(1, VerifyValue());
}

TEST(AdvancedOptions, ReadsTwoWithoutRangeCheck) {
  WriteVerifyValue("\"2\"");
  EXPECT_EQ(2, VerifyValue());
}

TEST(AdvancedOptions, ReadsTheWholeSigned64BitRange) {
  WriteVerifyValue("-9223372036854775808");
  EXPECT_EQ(INT64_MIN, VerifyValue());
  WriteVerifyValue("'9223372036854775807'");
  EXPECT_EQ(INT64_MAX, VerifyValue());
}

TEST(AdvancedOptions, SeesAChangedFileOnTheNextRead) {
  WriteVerifyValue("\"0\"");
  EXPECT_EQ(0, VerifyValue());
  WriteVerifyValue("\"1\"");
  EXPECT_EQ(1, VerifyValue());
}

TEST(AdvancedOptions, RefusesAValueThatIsNotAnInteger) {
  const std::string values[] = {"abc",
                                "",
                                "1.5",
                                " 1",
                                "1 ",
                                "0x1",
                                "+1",
                                "1e3",
                                "--1",
                                "one",
                                "9223372036854775808"};
  for (const std::string& value : values) {
    WriteVerifyValue("\"" + value + "\"");
    EXPECT_EQ("Invalid value '" + value +
                  "' for the integer option "
                  "UserVars.ActiveDirectoryVerifyCAMCertificate in "
                  "'/etc/quarry/advanced.conf'",
              LoadError());
  }
}

TEST(AdvancedOptions, LeavesUndeclaredOptionsOutOfTheTree) {
  qt::WriteFile(kAdvancedConf,
                "UserVars.Undeclared = \"5\"\nOther.Option = \"1\"\n");
  const auto options = HostCtl::HostFactory::GetHost()->GetAdvancedOptions();
  const auto root = options->GetRootBranch();
  ASSERT_TRUE(root);
  EXPECT_EQ("", root->GetName());
  const auto userVars = root->GetChildBranch("UserVars");
  ASSERT_TRUE(userVars);
  EXPECT_EQ("UserVars", userVars->GetName());
  EXPECT_EQ(nullptr, userVars->GetOption("Undeclared"));
  EXPECT_EQ(nullptr, root->GetChildBranch("Other"));
  EXPECT_EQ(nullptr, root->GetOption("UserVars"));
  EXPECT_EQ(nullptr,
            userVars->GetChildBranch("ActiveDirectoryVerifyCAMCertificate"));
  EXPECT_EQ(nullptr, options->FindOption("UserVars.Undeclared"));
  EXPECT_EQ(nullptr, options->FindOption("Other.Option"));
  EXPECT_EQ(nullptr,
            options->FindOption("ActiveDirectoryVerifyCAMCertificate"));
}

TEST(AdvancedOptions, FindsAnOptionByItsDottedPath) {
  WriteVerifyValue("\"0\"");
  const auto options = HostCtl::HostFactory::GetHost()->GetAdvancedOptions();
  const auto option = std::dynamic_pointer_cast<AdvancedIntegerOption>(
      options->FindOption("UserVars.ActiveDirectoryVerifyCAMCertificate"));
  ASSERT_TRUE(option);
  EXPECT_EQ(0, option->GetIntValue());
}

TEST(AdvancedOptions, RefusesAMalformedFile) {
  qt::WriteFile(kAdvancedConf,
                "UserVars.ActiveDirectoryVerifyCAMCertificate = \"0\"\n"
                "\n"
                "UserVars.ActiveDirectoryVerifyCAMCertificate\n");
  EXPECT_EQ(
      "Unable to read '/etc/quarry/advanced.conf': Error parsing configuration "
      "on line 3: no delimiter found",
      LoadError());
}

TEST(AdvancedOptions, RefusesAFileThatCannotBeRead) {
  ASSERT_EQ(0, qt::Run("mkdir /etc/quarry/advanced.conf"));
  EXPECT_EQ("Unable to read '/etc/quarry/advanced.conf': Is a directory",
            LoadError());
}

TEST(AdvancedOptions, KeepsTheFirstOfTwoLinesForAnOption) {
  qt::WriteFile(kAdvancedConf,
                "UserVars.ActiveDirectoryVerifyCAMCertificate = \"0\"\n"
                "UserVars.ActiveDirectoryVerifyCAMCertificate = \"1\"\n");
  EXPECT_EQ(0, VerifyValue());
}

}  // namespace
