// The Active Directory store's status queries against the test plug-in,
// which answers at once: what a query costs beyond the plug-in's own work
// (a worker thread, the rendezvous, the cache copies), and what a caller
// pays while a worker is still out and the cache answers. Run inside
// tests/sandbox/quarry-sandbox: it installs the plug-in under
// /usr/libexec/quarryauth.
#include <benchmark/benchmark.h>

#include <quarryauth/authentication.h>

#include <cstdarg>
#include <memory>

#include "authentication/PluginHarness.h"

namespace qa = quarry::authentication;
using quarryauth_test::PluginControl;

// The one time-out warning of the in-flight benchmark goes nowhere.
extern "C" __attribute__((visibility("default"))) void vsyslog(int,
                                                               const char*,
                                                               va_list) {}

namespace {

PluginControl& Plugin() {
  static PluginControl plugin(quarryauth_test::InstallStandardPlugin());
  return plugin;
}

void SetAnswers() {
  Plugin().SetTexts(TEST_OP_GET_TRUSTED_DOMAINS,
                    {"a.example.com", "A", "b.example.com", "B"});
  Plugin().SetTexts(TEST_OP_GET_ACTIVE_DOMAIN, {"example.com", "EXAMPLE"});
  Plugin().SetTexts(TEST_OP_GET_PREFERRED_DOMAIN_CONTROLLERS, {"dc1", "dc2"});
  Plugin().SetTexts(TEST_OP_GET_MACHINE_ACCOUNT_DN, {"CN=NODE1"});
  Plugin().SetValue(TEST_OP_GET_DOMAIN_TRUST_STATE, 5);
}

void BM_TrustedDomainsPluginCallAlone(benchmark::State& state) {
  SetAnswers();
  qa::ActiveDirectoryProvider provider("testad");
  for (auto _ : state) benchmark::DoNotOptimize(provider.GetTrustedDomains());
}
BENCHMARK(BM_TrustedDomainsPluginCallAlone)
    ->Repetitions(10)->ReportAggregatesOnly(true);

void BM_TrustedDomains(benchmark::State& state) {
  SetAnswers();
  qa::ActiveDirectoryStore store(60);
  for (auto _ : state) benchmark::DoNotOptimize(store.GetTrustedDomains());
}
BENCHMARK(BM_TrustedDomains)
    ->UseRealTime()->Repetitions(10)->ReportAggregatesOnly(true);

void BM_StoreConfiguration(benchmark::State& state) {
  SetAnswers();
  qa::ActiveDirectoryStore store(60);
  for (auto _ : state) {
    std::unique_ptr<qa::StoreConfiguration> configuration(
        store.GetStoreConfiguration());
    benchmark::DoNotOptimize(configuration.get());
  }
}
BENCHMARK(BM_StoreConfiguration)
    ->UseRealTime()->Repetitions(10)->ReportAggregatesOnly(true);

void BM_TrustStateWithItsTrustedDomains(benchmark::State& state) {
  SetAnswers();
  qa::ActiveDirectoryStore store(60);
  for (auto _ : state) benchmark::DoNotOptimize(store.GetDomainTrustState());
}
BENCHMARK(BM_TrustStateWithItsTrustedDomains)
    ->UseRealTime()->Repetitions(10)->ReportAggregatesOnly(true);

// A store whose trusted-domains worker hangs in the plug-in, so that every
// call answers from the cache (two domains). Set up once: reaching that
// state costs one time-out.
class StoreWithAWorkerOut {
 public:
  StoreWithAWorkerOut() : store(1) {
    SetAnswers();
    store.GetTrustedDomains();
    Plugin().Block(TEST_OP_GET_TRUSTED_DOMAINS);
    store.GetTrustedDomains();
  }
  ~StoreWithAWorkerOut() {
    const int returned = Plugin().Returns(TEST_OP_GET_TRUSTED_DOMAINS);
    Plugin().Release(TEST_OP_GET_TRUSTED_DOMAINS);
    while (Plugin().Returns(TEST_OP_GET_TRUSTED_DOMAINS) == returned) {
    }
  }

  qa::ActiveDirectoryStore store;
};

void BM_TrustedDomainsWhileAWorkerIsOut(benchmark::State& state) {
  static StoreWithAWorkerOut setUp;
  for (auto _ : state) {
    benchmark::DoNotOptimize(setUp.store.GetTrustedDomains());
  }
}
BENCHMARK(BM_TrustedDomainsWhileAWorkerIsOut)
    ->Repetitions(10)->ReportAggregatesOnly(true);

}  // namespace
