// Parsing and rewriting key-value configuration files, with the cost of
// making each rewrite durable. Run inside tests/sandbox/quarry-sandbox: it
// writes below /etc/quarry/quarryauth.
#include <benchmark/benchmark.h>

#include <quarryauth/authentication.h>

#include <fstream>
#include <string>

namespace qa = quarry::authentication;

namespace {

const char kPath[] = "/etc/quarry/quarryauth/bench.conf";

void WriteSample(int pairs) {
  std::ofstream out(kPath);
  for (int i = 0; i < pairs; ++i) {
    out << "key-" << i << " = \"value number " << i << "\"\n";
  }
}

void BM_ParseLine(benchmark::State& state) {
  const std::string line = "remote-authentication-store = \"Active Directory\"";
  for (auto _ : state) {
    benchmark::DoNotOptimize(qa::GetKeyValuePair(line, 1));
  }
}
BENCHMARK(BM_ParseLine);

void BM_LoadFile(benchmark::State& state) {
  WriteSample(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    qa::Configuration configuration(kPath);
    benchmark::DoNotOptimize(configuration.size());
  }
}
BENCHMARK(BM_LoadFile)->Arg(1)->Arg(100);

// Write() flushes the new file and its directory to disk before and after
// the rename; this is the price of surviving a power cut.
void BM_WriteDurable(benchmark::State& state) {
  WriteSample(static_cast<int>(state.range(0)));
  qa::Configuration configuration(kPath);
  for (auto _ : state) configuration.Write();
}
BENCHMARK(BM_WriteDurable)->Arg(1)->Arg(100)->UseRealTime();

// The same contents rewritten in place with a plain ofstream: no temporary
// file, no flush to disk, no rename. What durability and atomicity cost is
// the difference to BM_WriteDurable.
void BM_WritePlainOfstream(benchmark::State& state) {
  WriteSample(static_cast<int>(state.range(0)));
  qa::Configuration configuration(kPath);
  for (auto _ : state) {
    std::ofstream out(kPath, std::ios::trunc);
    for (const auto& pair : configuration) {
      out << pair.first << " = \"" << pair.second << "\"\n";
    }
  }
}
BENCHMARK(BM_WritePlainOfstream)->Arg(1)->Arg(100)->UseRealTime();

}  // namespace
