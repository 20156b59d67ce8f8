#include "support/Files.h"

#include <quarryauth/authentication.h>

#include <gtest/gtest.h>

#include <string>

namespace qa = quarry::authentication;
using quarry_test::ReadFile;
using quarry_test::WriteFile;

namespace {

template <class T>
std::string OpenFailure() {
  try {
    T configuration;
  } catch (const qa::IOError& error) {
    return error.what();
  }
  return "no error";
}

TEST(LibraryConfiguration, EachClassReadsItsOwnFile) {
  WriteFile("/etc/quarry/quarryauth/authentication.conf",
            "remote-authentication-store = \"None\"\n");
  WriteFile("/etc/quarry/quarryauth/provider.conf", "provider = \"adp\"\n");
  WriteFile("/etc/quarry/quarryauth/camprovider.conf", "provider = 'cam'\n");
  qa::AuthenticationConfiguration authentication;
  qa::ProviderConfiguration provider;
  qa::CAMProviderConfiguration proxy;
  EXPECT_EQ(authentication["remote-authentication-store"], "None");
  EXPECT_EQ(provider["provider"], "adp");
  EXPECT_EQ(proxy["provider"], "cam");
  EXPECT_EQ(authentication.Path(), "/etc/quarry/quarryauth/authentication.conf");
  EXPECT_EQ(provider.Path(), "/etc/quarry/quarryauth/provider.conf");
  EXPECT_EQ(proxy.Path(), "/etc/quarry/quarryauth/camprovider.conf");
}

TEST(LibraryConfiguration, MissingFilesAreIOErrorsNamingThePath) {
  EXPECT_EQ(OpenFailure<qa::AuthenticationConfiguration>(),
            "Unable to open '/etc/quarry/quarryauth/authentication.conf': No "
            "such file or directory");
  EXPECT_EQ(OpenFailure<qa::ProviderConfiguration>(),
            "Unable to open '/etc/quarry/quarryauth/provider.conf': No such "
            "file or directory");
  EXPECT_EQ(OpenFailure<qa::CAMProviderConfiguration>(),
            "Unable to open '/etc/quarry/quarryauth/camprovider.conf': No "
            "such file or directory");
}

TEST(LibraryConfiguration, MissingKeyReadsAsEmpty) {
  WriteFile("/etc/quarry/quarryauth/provider.conf", "other = \"x\"\n");
  qa::ProviderConfiguration provider;
  EXPECT_EQ(provider["provider"], "");
}

TEST(LibraryConfiguration, ExtraKeysSurviveARewriteSortedAndQuoted) {
  WriteFile("/etc/quarry/quarryauth/authentication.conf",
            "zz-admin-note = kept\nremote-authentication-store = \"None\"\n"
            "aa-first = 'one'\n");
  qa::AuthenticationConfiguration configuration;
  configuration["remote-authentication-store"] = "Active Directory";
  configuration.Write();
  EXPECT_EQ(ReadFile("/etc/quarry/quarryauth/authentication.conf"),
            "aa-first = \"one\"\n"
            "remote-authentication-store = \"Active Directory\"\n"
            "zz-admin-note = \"kept\"\n");
}

TEST(LibraryConfiguration, MalformedLineIsConfigurationError) {
  WriteFile("/etc/quarry/quarryauth/authentication.conf", "\nbroken\n");
  try {
    qa::AuthenticationConfiguration configuration;
    FAIL();
  } catch (const qa::ConfigurationError& error) {
    EXPECT_STREQ(error.what(),
                 "Error parsing configuration on line 2: no delimiter found");
  }
}

}  // namespace
