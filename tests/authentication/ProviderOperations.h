// The fixture of the directory provider's operation tests: the test
// plug-in installed, the provider loaded on first use, and, after each
// test, every text the plug-in handed out released and no sentinel
// released after a failure.
#ifndef QUARRYAUTH_TESTS_PROVIDEROPERATIONS_H
#define QUARRYAUTH_TESTS_PROVIDEROPERATIONS_H

#include <memory>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"

namespace quarryauth_test {

class ProviderOperations : public ::testing::Test {
 protected:
  ProviderOperations()
      : plugin(InstallPlugin("", "testad", PluginDirectory::Lib64)) {}

  quarry::authentication::ActiveDirectoryProvider& Provider() {
    if (!provider) {
      provider.reset(
          new quarry::authentication::ActiveDirectoryProvider("testad"));
    }
    return *provider;
  }

  void TearDown() override {
    provider.reset();
    EXPECT_EQ(0, plugin.LiveAllocations()) << "plug-in data not released";
    EXPECT_EQ(0, plugin.SentinelReleases()) << "released after a failure";
  }

  PluginControl plugin;
  std::unique_ptr<quarry::authentication::ActiveDirectoryProvider> provider;
  Credentials credentials = {"administrator", "secret"};
};

}  // namespace quarryauth_test

#endif
