// The Active Directory store's three status queries: worker threads, the
// time-out, the caches and the in-flight rule.
#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <syslog.h>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"
#include "authentication/SyslogCapture.h"

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::CapturedLog;
using quarryauth_test::BaselineThreadCount;
using quarryauth_test::CountThreads;
using quarryauth_test::InstallStandardPlugin;
using quarryauth_test::LogLine;
using quarryauth_test::PluginControl;
using quarryauth_test::WaitForThreadCount;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Clock = std::chrono::steady_clock;
using Domains = std::deque<qa::Domain>;

const char kConfigurationTimeout[] =
    "GetStoreConfiguration call timedout. Returning cached value.";
const char kTrustedDomainsTimeout[] =
    "GetTrustedDomains call timedout. Returning cached value.";
const char kTrustStateTimeout[] =
    "GetDomainTrustState call timedout. Returning cached value.";

LogLine Warning(const std::string& text) { return {LOG_WARNING, text}; }

class StatusQueries : public ::testing::Test {
 protected:
  StatusQueries()
      : plugin(InstallStandardPlugin()),
        baselineThreads(BaselineThreadCount()),
        store(new qa::ActiveDirectoryStore(1)) {}

  void TearDown() override {
    for (int operation = 0; operation < TEST_OP_COUNT; ++operation) {
      plugin.Release(static_cast<TestOperation>(operation));
    }
    EXPECT_TRUE(WaitForThreadCount(baselineThreads));
    store.reset();
    EXPECT_EQ(0, plugin.LiveAllocations());
  }

  std::unique_ptr<qa::ActiveDirectoryStoreConfiguration> Configuration() {
    qa::StoreConfiguration* configuration = store->GetStoreConfiguration();
    auto* typed =
        dynamic_cast<qa::ActiveDirectoryStoreConfiguration*>(configuration);
    EXPECT_NE(nullptr, typed);
    return std::unique_ptr<qa::ActiveDirectoryStoreConfiguration>(typed);
  }

  // A call that must answer from the cache without waiting: no new worker,
  // no log line, back well before the time-out.
  template <class Call>
  auto AtOnce(TestOperation operation, Call call) {
    const int calls = plugin.Calls(operation);
    const size_t lines = CapturedLog().size();
    const auto started = Clock::now();
    auto answer = call();
    EXPECT_LT(Clock::now() - started, std::chrono::seconds(1));
    EXPECT_EQ(calls, plugin.Calls(operation)) << "a new worker was started";
    EXPECT_EQ(lines, CapturedLog().size()) << "something was logged";
    return answer;
  }

  PluginControl plugin;
  const int baselineThreads;
  std::unique_ptr<qa::ActiveDirectoryStore> store;
};

// ---- store configuration ----

TEST_F(StatusQueries, StoreConfigurationAnswersInTime) {
  plugin.SetTexts(TEST_OP_GET_ACTIVE_DOMAIN, {"example.com", "EXAMPLE"});
  plugin.SetTexts(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS, {"dc1", "dc2"});
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=NODE1"});
  auto configuration = Configuration();
  EXPECT_EQ(qa::Domain("example.com", "EXAMPLE"), configuration->activeDomain);
  EXPECT_THAT(configuration->preferredDomainControllers,
              ElementsAre("dc1", "dc2"));
  EXPECT_EQ("CN=NODE1", configuration->machineAccountDN);
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

TEST_F(StatusQueries, StoreConfigurationIsANewObjectEachTime) {
  auto first = Configuration();
  auto second = Configuration();
  EXPECT_NE(first.get(), second.get());
}

TEST_F(StatusQueries, StoreConfigurationKeepsWhatThePluginCouldGive) {
  plugin.SetStatus(TEST_OP_GET_ACTIVE_DOMAIN, ADCLIENT_STATUS_NO_SUCH_DOMAIN);
  plugin.Remove(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS);
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=NODE1"});
  auto configuration = Configuration();
  EXPECT_EQ(qa::Domain(), configuration->activeDomain);
  EXPECT_THAT(configuration->preferredDomainControllers, IsEmpty());
  EXPECT_EQ("CN=NODE1", configuration->machineAccountDN);
}

TEST_F(StatusQueries, StoreConfigurationTimesOutToTheCache) {
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=FIRST"});
  EXPECT_EQ("CN=FIRST", Configuration()->machineAccountDN);
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=SECOND"});
  plugin.Block(TEST_OP_GET_MACHINE_ACCOUNT_DN);
  EXPECT_EQ("CN=FIRST", Configuration()->machineAccountDN);
  EXPECT_THAT(CapturedLog(), ElementsAre(Warning(kConfigurationTimeout)));
  auto cached = AtOnce(TEST_OP_GET_MACHINE_ACCOUNT_DN,
                       [&] { return Configuration(); });
  EXPECT_EQ("CN=FIRST", cached->machineAccountDN);
}

// ---- trusted domains ----

TEST_F(StatusQueries, TrustedDomainsAnswerInTime) {
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS,
                  {"a.example.com", "A", "b.example.com", "B"});
  EXPECT_THAT(store->GetTrustedDomains(),
              ElementsAre(qa::Domain("a.example.com", "A"),
                          qa::Domain("b.example.com", "B")));
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

TEST_F(StatusQueries, TimeoutAnswersFromTheCacheAndASecondCallerAtOnce) {
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"a.example.com", "A"});
  const Domains cached = {qa::Domain("a.example.com", "A")};
  EXPECT_EQ(cached, store->GetTrustedDomains());
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"b.example.com", "B"});
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_EQ(cached, store->GetTrustedDomains());
  EXPECT_THAT(CapturedLog(), ElementsAre(Warning(kTrustedDomainsTimeout)));
  EXPECT_EQ(cached, AtOnce(TEST_OP_GET_TRUSTED_DOMAINS,
                           [&] { return store->GetTrustedDomains(); }));
  EXPECT_EQ(2, plugin.Calls(TEST_OP_GET_TRUSTED_DOMAINS));
}

TEST_F(StatusQueries, TwoCallersWhileAWorkerIsOutBothGetTheCacheAtOnce) {
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  store->GetTrustedDomains();
  const size_t lines = CapturedLog().size();
  const auto started = Clock::now();
  std::vector<std::thread> callers;
  std::atomic<int> emptyAnswers{0};
  for (int i = 0; i < 2; ++i) {
    callers.emplace_back([&] {
      if (store->GetTrustedDomains().empty()) ++emptyAnswers;
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_LT(Clock::now() - started, std::chrono::seconds(1));
  EXPECT_EQ(2, emptyAnswers.load());
  EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_TRUSTED_DOMAINS));
  EXPECT_EQ(lines, CapturedLog().size());
  EXPECT_EQ(baselineThreads + 1, CountThreads());
}

TEST_F(StatusQueries, AnotherStoreAnswersFromItsOwnCacheWhileAWorkerIsOut) {
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"a.example.com", "A"});
  store->GetTrustedDomains();
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  store->GetTrustedDomains();
  qa::ActiveDirectoryStore other(1);
  EXPECT_THAT(AtOnce(TEST_OP_GET_TRUSTED_DOMAINS,
                     [&] { return other.GetTrustedDomains(); }),
              IsEmpty());
}

TEST_F(StatusQueries, LateWorkerRefreshesTheCache) {
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_THAT(store->GetTrustedDomains(), IsEmpty());
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"late.example.com", "LATE"});
  plugin.Release(TEST_OP_GET_TRUSTED_DOMAINS);
  ASSERT_TRUE(WaitForThreadCount(baselineThreads));
  // The next worker hangs too, so this answer can only be the late one.
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"new.example.com", "NEW"});
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_THAT(store->GetTrustedDomains(),
              ElementsAre(qa::Domain("late.example.com", "LATE")));
  EXPECT_THAT(CapturedLog(), ElementsAre(Warning(kTrustedDomainsTimeout),
                                         Warning(kTrustedDomainsTimeout)));
}

TEST_F(StatusQueries, LateWorkerOutlivesItsStore) {
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  store->GetTrustedDomains();
  store.reset();
  plugin.Release(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_TRUE(WaitForThreadCount(baselineThreads));
  EXPECT_EQ(1, plugin.Returns(TEST_OP_GET_TRUSTED_DOMAINS));
}

TEST_F(StatusQueries, WorkersFileNotFoundIsCaughtWithItsClass) {
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"a.example.com", "A"});
  const Domains cached = store->GetTrustedDomains();
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_FILE_NOT_FOUND);
  try {
    store->GetTrustedDomains();
    FAIL();
  } catch (const qa::FileNotFoundException& error) {
    EXPECT_EQ(2u, error.GetCode());
  }
  // The failed worker left the cache alone.
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_SUCCESS);
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_EQ(cached, store->GetTrustedDomains());
}

TEST_F(StatusQueries, FailedWorkerLetsTheNextCallStartAnother) {
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_NO_SUCH_DOMAIN);
  EXPECT_THROW(store->GetTrustedDomains(), qa::NoSuchDomainException);
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_SUCCESS);
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"a.example.com", "A"});
  EXPECT_THAT(store->GetTrustedDomains(),
              ElementsAre(qa::Domain("a.example.com", "A")));
  EXPECT_EQ(2, plugin.Calls(TEST_OP_GET_TRUSTED_DOMAINS));
}

TEST_F(StatusQueries, UnimplementedTrustedDomainsAreAnEmptyList) {
  plugin.SetTexts(TEST_OP_GET_TRUSTED_DOMAINS, {"a.example.com", "A"});
  store->GetTrustedDomains();
  plugin.Remove(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_THAT(store->GetTrustedDomains(), IsEmpty());
}

TEST_F(StatusQueries, ZeroTimeoutReportsAHangingCallAsTimedOut) {
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  qa::ActiveDirectoryStore impatient(0);
  EXPECT_THAT(impatient.GetTrustedDomains(), IsEmpty());
  EXPECT_THAT(CapturedLog(), ElementsAre(Warning(kTrustedDomainsTimeout)));
}

// ---- trust state ----

TEST_F(StatusQueries, TrustStateIsThePluginsAnswer) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
  EXPECT_EQ(5u, store->GetDomainTrustState());
  EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_TRUSTED_DOMAINS));
  EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_DOMAIN_TRUST_STATE));
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

TEST_F(StatusQueries, MissingFileForTrustedDomainsGives7WithoutAsking) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_FILE_NOT_FOUND);
  EXPECT_EQ(7u, store->GetDomainTrustState());
  EXPECT_EQ(0, plugin.Calls(TEST_OP_GET_DOMAIN_TRUST_STATE));
  EXPECT_THAT(CapturedLog(), IsEmpty());
}

TEST_F(StatusQueries, MissingFileStateIsCached) {
  plugin.Block(TEST_OP_GET_DOMAIN_TRUST_STATE);
  EXPECT_EQ(2u, store->GetDomainTrustState());
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_FILE_NOT_FOUND);
  EXPECT_EQ(7u, store->GetDomainTrustState());
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_SUCCESS);
  // The trust-state worker is still out, so this is the cache.
  EXPECT_EQ(7u, AtOnce(TEST_OP_GET_DOMAIN_TRUST_STATE,
                       [&] { return store->GetDomainTrustState(); }));
  EXPECT_EQ(1, plugin.Calls(TEST_OP_GET_DOMAIN_TRUST_STATE));
}

TEST_F(StatusQueries, OtherTrustedDomainsFailureIsLoggedAndTheStateAsked) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 3);
  plugin.SetStatus(TEST_OP_GET_TRUSTED_DOMAINS, ADCLIENT_STATUS_NO_SUCH_DOMAIN);
  EXPECT_EQ(3u, store->GetDomainTrustState());
  EXPECT_THAT(CapturedLog(),
              ElementsAre(Warning(
                  "GetDomainTrustState: Call to GetTrustedDomains() failed: "
                  "Exception 0x0000054b: The specified domain either does not "
                  "exist or could not be contacted.")));
}

TEST_F(StatusQueries, TrustedDomainsTimeoutDoesNotStopTheStateQuery) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 4);
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  EXPECT_EQ(4u, store->GetDomainTrustState());
  EXPECT_THAT(CapturedLog(), ElementsAre(Warning(kTrustedDomainsTimeout)));
}

TEST_F(StatusQueries, TrustStateTimeoutGives2AndCachesIt) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
  EXPECT_EQ(5u, store->GetDomainTrustState());
  plugin.Block(TEST_OP_GET_DOMAIN_TRUST_STATE);
  EXPECT_EQ(2u, store->GetDomainTrustState());
  EXPECT_THAT(CapturedLog(), ElementsAre(Warning(kTrustStateTimeout)));
  EXPECT_EQ(2u, AtOnce(TEST_OP_GET_DOMAIN_TRUST_STATE,
                       [&] { return store->GetDomainTrustState(); }));
}

TEST_F(StatusQueries, UnimplementedTrustStateIsZero) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
  EXPECT_EQ(5u, store->GetDomainTrustState());
  plugin.Remove(TEST_OP_GET_DOMAIN_TRUST_STATE);
  EXPECT_EQ(0u, store->GetDomainTrustState());
}

// ---- where an answer came from ----

using Source = qa::ActiveDirectoryStore::AnswerSource;

TEST_F(StatusQueries, AnswerSourceSaysThePluginAnsweredInTime) {
  plugin.SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=NODE1"});
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
  Source source = Source::CacheWhileAsking;
  std::unique_ptr<qa::StoreConfiguration> configuration(
      store->GetStoreConfiguration(source));
  EXPECT_EQ(source, Source::Plugin);
  source = Source::CacheWhileAsking;
  store->GetTrustedDomains(source);
  EXPECT_EQ(source, Source::Plugin);
  source = Source::CacheWhileAsking;
  EXPECT_EQ(5u, store->GetDomainTrustState(source));
  EXPECT_EQ(source, Source::Plugin);
}

TEST_F(StatusQueries, AnswerSourceSaysTheCacheAfterATimeOutAndWhileAsking) {
  plugin.Block(TEST_OP_GET_MACHINE_ACCOUNT_DN);
  Source source = Source::Plugin;
  std::unique_ptr<qa::StoreConfiguration> first(
      store->GetStoreConfiguration(source));
  EXPECT_EQ(source, Source::CacheAfterTimeOut);
  std::unique_ptr<qa::StoreConfiguration> second(AtOnce(
      TEST_OP_GET_MACHINE_ACCOUNT_DN,
      [&] { return store->GetStoreConfiguration(source); }));
  EXPECT_EQ(source, Source::CacheWhileAsking);

  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  store->GetTrustedDomains(source);
  EXPECT_EQ(source, Source::CacheAfterTimeOut);
  AtOnce(TEST_OP_GET_TRUSTED_DOMAINS,
         [&] { return store->GetTrustedDomains(source); });
  EXPECT_EQ(source, Source::CacheWhileAsking);
}

TEST_F(StatusQueries, AnswerSourceOfTheTrustStateIsItsOwnQuerys) {
  plugin.SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 4);
  plugin.Block(TEST_OP_GET_TRUSTED_DOMAINS);
  Source source = Source::CacheAfterTimeOut;
  EXPECT_EQ(4u, store->GetDomainTrustState(source));
  EXPECT_EQ(source, Source::Plugin);
  plugin.Block(TEST_OP_GET_DOMAIN_TRUST_STATE);
  EXPECT_EQ(2u, store->GetDomainTrustState(source));
  EXPECT_EQ(source, Source::CacheAfterTimeOut);
}

}  // namespace
