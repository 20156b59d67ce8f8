// Operations of the host configuration store per second. Run inside
// tests/sandbox/quarry-sandbox: it writes /var/lib/quarry/configstore.db.
// Every write is a transaction flushed to stable storage, so write figures
// depend on the file system below /var/lib/quarry.
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreObject.h>

namespace scs = SkarnConfigStore;

namespace {

const scs::ConfigStoreObjectId kDomainId("active_directory", "identity",
                                         "skarn");

std::shared_ptr<scs::ConfigStore> GlobalStore() {
  return scs::ConfigStore::GetStore(scs::sGlobalNamespace);
}

// An object like the joined domain's record.
std::shared_ptr<scs::ConfigStoreObject> DomainObject(
    const scs::ConfigStoreObjectId& id) {
  auto object = std::make_shared<scs::ConfigStoreObject>(id);
  object->SetValue("domain_name", "ad.test");
  object->SetValue("organizational_unit", "OU=Hosts,DC=ad,DC=test");
  object->SetValue("auth_proxy_address", "192.0.2.1");
  return object;
}

void BM_GetStore(benchmark::State& state) {
  GlobalStore();
  for (auto _ : state) benchmark::DoNotOptimize(GlobalStore());
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_GetStore)->UseRealTime();

void BM_GetObject(benchmark::State& state) {
  const auto store = GlobalStore();
  store->SetObject(DomainObject(kDomainId), scs::StoreModeReplace);
  for (auto _ : state) benchmark::DoNotOptimize(store->GetObject(kDomainId));
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_GetObject)->UseRealTime();

void BM_GetValue(benchmark::State& state) {
  const auto store = GlobalStore();
  store->SetObject(DomainObject(kDomainId), scs::StoreModeReplace);
  std::string value;
  for (auto _ : state) {
    benchmark::DoNotOptimize(store->GetValue(kDomainId, "domain_name", value));
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_GetValue)->UseRealTime();

// Replaces the whole object, as the domain record is written on a join.
void BM_SetObject(benchmark::State& state) {
  const auto store = GlobalStore();
  const auto object = DomainObject(kDomainId);
  for (auto _ : state) store->SetObject(object, scs::StoreModeReplace);
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SetObject)->UseRealTime();

void BM_SetValue(benchmark::State& state) {
  const auto store = GlobalStore();
  for (auto _ : state) store->SetValue(kDomainId, "domain_name", "ad.test");
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SetValue)->UseRealTime();

// Only the deletion is timed; each iteration first stores the object.
void BM_DeleteObject(benchmark::State& state) {
  const auto store = GlobalStore();
  const auto object = DomainObject(kDomainId);
  for (auto _ : state) {
    state.PauseTiming();
    store->SetObject(object, scs::StoreModeReplace);
    state.ResumeTiming();
    store->DeleteObject(kDomainId);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DeleteObject)->UseRealTime();

}  // namespace
