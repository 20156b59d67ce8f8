// Many threads asking the three status queries at once, against a plug-in
// that answers at once and against one that hangs.
#include <atomic>
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::BaselineThreadCount;
using quarryauth_test::CountThreads;
using quarryauth_test::InstallStandardPlugin;
using quarryauth_test::PluginControl;
using quarryauth_test::WaitForThreadCount;

const int kThreads = 32;
const int kQueriesPerThread = 500;
const TestOperation kQueried[] = {
    TEST_OP_GET_ACTIVE_DOMAIN, TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS,
    TEST_OP_GET_MACHINE_ACCOUNT_DN, TEST_OP_GET_TRUSTED_DOMAINS,
    TEST_OP_GET_DOMAIN_TRUST_STATE};

class StoreStress : public ::testing::Test {
 protected:
  StoreStress() : plugin(InstallStandardPlugin()) {
    plugin.SetTexts(TEST_OP_GET_ACTIVE_DOMAIN, {"example.com", "EXAMPLE"});
    plugin.SetTexts(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS, {"dc1"});
    plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=NODE1"});
    plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"b.example.com", "B"});
    plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
  }

  // Every answer is either the plug-in's or, while workers are out, what
  // the cache held: the initial empty value or (for the trust state) 2.
  void Query(qa::ActiveDirectoryStore& store, int round) {
    switch (round % 3) {
      case 0: {
        std::unique_ptr<qa::StoreConfiguration> configuration(
            store.GetStoreConfiguration());
        auto& typed =
            dynamic_cast<qa::ActiveDirectoryStoreConfiguration&>(*configuration);
        if (!typed.machineAccountDN.empty() &&
            typed.machineAccountDN != "CN=NODE1") {
          ++wrongAnswers;
        }
        break;
      }
      case 1: {
        std::deque<qa::Domain> domains = store.GetTrustedDomains();
        if (!domains.empty() &&
            !(domains.size() == 1 &&
              domains[0] == qa::Domain("b.example.com", "B"))) {
          ++wrongAnswers;
        }
        break;
      }
      case 2: {
        qa::TrustState state = store.GetDomainTrustState();
        if (state != 0 && state != 2 && state != 5) ++wrongAnswers;
        break;
      }
    }
  }

  void Hammer(qa::ActiveDirectoryStore& store) {
    std::vector<std::thread> callers;
    for (int t = 0; t < kThreads; ++t) {
      callers.emplace_back([this, &store, t] {
        for (int round = 0; round < kQueriesPerThread; ++round) {
          Query(store, t + round);
        }
      });
    }
    for (std::thread& caller : callers) caller.join();
  }

  PluginControl plugin;
  std::atomic<int> wrongAnswers{0};
};

TEST_F(StoreStress, InstantPlugin) {
  const int baseline = BaselineThreadCount();
  {
    qa::ActiveDirectoryStore store(30);
    Hammer(store);
    EXPECT_TRUE(WaitForThreadCount(baseline));
    EXPECT_EQ(5u, store.GetDomainTrustState());
  }
  EXPECT_EQ(0, wrongAnswers.load());
  EXPECT_TRUE(WaitForThreadCount(baseline));
  EXPECT_EQ(0, plugin.LiveAllocations());
}

TEST_F(StoreStress, HangingPlugin) {
  const int baseline = BaselineThreadCount();
  for (TestOperation operation : kQueried) plugin.Block(operation);
  {
    qa::ActiveDirectoryStore store(1);
    Hammer(store);
    // One worker per query kind is out, however many callers asked.
    EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_ACTIVE_DOMAIN));
    EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_TRUSTED_DOMAINS));
    EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_DOMAIN_TRUST_STATE));
    EXPECT_EQ(baseline + 3, CountThreads());
  }
  for (TestOperation operation : kQueried) plugin.Release(operation);
  EXPECT_TRUE(WaitForThreadCount(baseline));
  EXPECT_EQ(0, wrongAnswers.load());
  EXPECT_EQ(0, plugin.LiveAllocations());
}

}  // namespace
