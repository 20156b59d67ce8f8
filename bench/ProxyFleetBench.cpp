// A fleet of hosts creating their computer accounts through one
// quarry-authproxyd against a Samba domain controller: every simulated host
// has its own enrolled certificate and asks once, all at the same time.
// Each configuration runs with the proxy's pool of directory workers at its
// default size and forced to one worker; the summary gives accounts per
// minute, latencies, failures and the ratio of the two. Every created
// account is counted in the directory, and a sample is proven usable with a
// Kerberos logon with its one-time password.
//
// Runs inside the test sandbox (tools/run-fleet-bench), which gives it the
// private network, /etc and /var/lib that the domain controller needs.
#include <benchmark/benchmark.h>
#include <httplib.h>
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "authproxy/ProxyHarness.h"
#include "bench/DelayingRelay.h"
#include "support/Files.h"

namespace {

using authproxy_test::Daemon;
using quarry_test::ReadFile;
using quarry_test::Shell;
using quarry_test::WriteFile;
using Clock = std::chrono::steady_clock;

const std::string kSambaDc = SAMBA_DC;
const char kDcDirectory[] = "/var/lib/samba-dc";
const char kProxy[] = "198.51.100.10";
const char kAdminPassword[] = "Quarry-Admin-1";
const int kLargestFleet = 128;
const int kSampledLogons = 4;
// The pool size that the proxy has unless configured otherwise.
const int kDefaultWorkers = 16;
// Each way between the proxy and a domain controller in another site.
const int kLinkDelayMs = 10;

// CPU time in clock ticks: the machine's busy and total time, and what the
// domain controller's processes, the proxy and this program (the clients)
// used.
struct CpuUse {
  double busy = 0, total = 0, directory = 0, proxy = 0, clients = 0;

  static CpuUse Now() {
    CpuUse use;
    std::istringstream machine(ReadFile("/proc/stat"));
    std::string cpu;
    machine >> cpu;
    double value = 0;
    for (int field = 0; machine >> value && field < 8; ++field) {
      use.total += value;
      if (field != 3 && field != 4) use.busy += value;  // not idle, iowait
    }
    DIR* processes = ::opendir("/proc");
    while (dirent* entry = processes ? ::readdir(processes) : nullptr) {
      if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
      std::ifstream file(std::string("/proc/") + entry->d_name + "/stat");
      std::string text((std::istreambuf_iterator<char>(file)),
                       std::istreambuf_iterator<char>());
      const std::string::size_type open = text.find('('), close = text.rfind(')');
      if (open == std::string::npos || close == std::string::npos) continue;
      const std::string name = text.substr(open + 1, close - open - 1);
      std::istringstream fields(text.substr(close + 2));
      std::string skip;
      for (int field = 3; field < 14; ++field) fields >> skip;
      double user = 0, system = 0;
      fields >> user >> system;
      std::ifstream command(std::string("/proc/") + entry->d_name + "/cmdline");
      std::string program;
      std::getline(command, program, '\0');
      // Samba's processes call themselves "samba: task[ldap] ..." and the
      // like; smbd, winbindd and their helpers serve the domain too.
      if (program.compare(0, 5, "samba") == 0 ||
          program.find("/usr/sbin/samba") == 0 ||
          program.find("/usr/sbin/smbd") == 0 ||
          program.find("/usr/sbin/winbindd") == 0) {
        use.directory += user + system;
      } else if (name.compare(0, 15, "quarry-authprox") == 0) {
        use.proxy += user + system;
      } else if (std::to_string(::getpid()) == entry->d_name) {
        use.clients += user + system;
      }
    }
    if (processes != nullptr) ::closedir(processes);
    return use;
  }
};

struct FleetRun {
  double seconds = 0;
  std::vector<double> latencies;  // milliseconds, sorted
  int failures = 0;
  int lostAccounts = 0;
  int unusableAccounts = 0;
  std::string firstFailure;
  CpuUse cpu;  // used during the run

  double AccountsPerMinute() const {
    return seconds > 0 ? (latencies.size() - failures) * 60.0 / seconds : 0;
  }
  double CpuBusyPercent() const {
    return cpu.total > 0 ? 100.0 * cpu.busy / cpu.total : 0;
  }
  // CPU milliseconds per created account of part.
  double CpuPerAccount(double part) const {
    const double accounts = latencies.size() - failures;
    return accounts > 0 ? part * 1000.0 / ::sysconf(_SC_CLK_TCK) / accounts : 0;
  }
  double Percentile(double fraction) const {
    if (latencies.empty()) return 0;
    const std::size_t at = std::min(
        latencies.size() - 1, static_cast<std::size_t>(fraction * latencies.size()));
    return latencies[at];
  }
};

// By (link delay in ms, clients, workers).
std::map<std::tuple<int, int, int>, FleetRun> results;

std::string HostName(int host) { return "fleet" + std::to_string(host) + ".ad.test"; }

// The domain controller, the proxy's certificate, password and settings,
// and every simulated host's certificate, enrolled. Made once.
void PrepareFleet() {
  static bool prepared = false;
  if (prepared) return;
  prepared = true;
  Shell(kSambaDc + " start " SAMBA_DC_TEMPLATE " " + kDcDirectory);
  WriteFile("/etc/hosts", "127.0.0.1\tlocalhost\n198.51.100.10\tdc1.ad.test\n");
  WriteFile("/etc/resolv.conf", "nameserver 198.51.100.10\nsearch ad.test\n");
  WriteFile("/etc/krb5.conf",
            "[libdefaults]\n  default_realm = AD.TEST\n"
            "  dns_lookup_kdc = false\n  rdns = false\n"
            "[realms]\n  AD.TEST = {\n    kdc = 198.51.100.10\n  }\n");
  authproxy_test::MakeCertificate("authproxyd");
  WriteFile("/etc/quarry/authproxyd.secret", std::string(kAdminPassword) + "\n");
  ::chmod("/etc/quarry/authproxyd.secret", 0600);
  std::string enrolled;
  for (int host = 0; host < kLargestFleet; ++host) {
    authproxy_test::MakeHostCertificate(HostName(host));
    enrolled += authproxy_test::OpensslSha256Thumbprint("/etc/quarry/" +
                                                        HostName(host) + ".pem") +
                " = \"" + HostName(host) + "\"\n";
  }
  WriteFile("/etc/quarry/authproxyd.enrolled", enrolled);
}

// The proxy, reaching the domain controller's LDAP service as dc1.ad.test:
// directly, or through a relay on this side of the link that delays every
// exchange (the Kerberos service stays direct; the proxy keeps its tickets).
std::unique_ptr<Daemon> StartProxy(int workers, int delayMs) {
  WriteFile("/etc/hosts", std::string("127.0.0.1\tlocalhost\n") +
                              (delayMs > 0 ? "198.51.100.1" : "198.51.100.10") +
                              "\tdc1.ad.test\n");
  WriteFile("/etc/quarry/authproxyd.conf",
            authproxy_test::DomainProxySettings(
                "domain-controller = \"dc1.ad.test\"\n"
                "request-timeout-seconds = \"300\"\n"
                "directory-workers = \"" + std::to_string(workers) + "\"\n"));
  const std::string netns = ReadFile(std::string(kDcDirectory) + "/netns.pid");
  std::unique_ptr<Daemon> proxy(new Daemon(
      {"nsenter", "--net", "--target", netns.substr(0, netns.find('\n')),
       AUTHPROXYD, "--foreground"},
      "/var/lib/authproxyd-fleet.log"));
  if (!authproxy_test::WaitForPort(kProxy, 443, std::chrono::seconds(15))) {
    std::fprintf(stderr, "the proxy did not start: %s\n",
                 ReadFile("/var/lib/authproxyd-fleet.log").c_str());
    std::exit(1);
  }
  return proxy;
}

// The computer accounts in the directory, as samba-tool lists them.
std::string ComputerList() {
  Shell(kSambaDc + " tool " + kDcDirectory +
        " computer list > /var/lib/fleet-computers.txt");
  return ReadFile("/var/lib/fleet-computers.txt");
}

std::string OneTimePassword(const std::string& body) {
  const std::string key = "\"oneTimePassword\":\"";
  const std::string::size_type at = body.find(key);
  if (at == std::string::npos) return std::string();
  return body.substr(at + key.size(), body.find('"', at + key.size()) - at - key.size());
}

// Every host of the fleet asks for its account at once; each account is
// deleted afterwards so that every run creates new ones.
FleetRun RunFleet(int clients, int workers, int delayMs) {
  PrepareFleet();
  std::unique_ptr<DelayingRelay> relay;
  if (delayMs > 0) {
    relay.reset(new DelayingRelay("198.51.100.1", "198.51.100.10", 389,
                                  std::chrono::milliseconds(delayMs)));
  }
  const std::unique_ptr<Daemon> proxy = StartProxy(workers, delayMs);
  FleetRun run;
  std::vector<double> latencies(clients);
  std::vector<std::string> passwords(clients);
  std::vector<std::string> failures(clients);
  std::vector<std::thread> hosts;
  const CpuUse before = CpuUse::Now();
  const Clock::time_point started = Clock::now();
  for (int host = 0; host < clients; ++host) {
    hosts.emplace_back([host, &latencies, &passwords, &failures] {
      const std::string name = HostName(host);
      httplib::SSLClient client(kProxy, 443, "/etc/quarry/" + name + ".pem",
                                "/etc/quarry/" + name + ".key");
      client.enable_server_certificate_verification(false);
      client.set_connection_timeout(60);
      client.set_read_timeout(300);
      const Clock::time_point asked = Clock::now();
      const auto reply = client.Post("/api/v1/computers",
                                     "{\"hostName\":\"" + name + "\"}",
                                     "application/json");
      latencies[host] = std::chrono::duration<double, std::milli>(Clock::now() - asked).count();
      if (!reply || reply->status != 200) {
        failures[host] = reply ? std::to_string(reply->status) + " " + reply->body
                               : "no answer: " + httplib::to_string(reply.error());
      } else {
        passwords[host] = OneTimePassword(reply->body);
      }
    });
  }
  for (std::thread& host : hosts) host.join();
  run.seconds = std::chrono::duration<double>(Clock::now() - started).count();
  const CpuUse after = CpuUse::Now();
  run.cpu.busy = after.busy - before.busy;
  run.cpu.total = after.total - before.total;
  run.cpu.directory = after.directory - before.directory;
  run.cpu.proxy = after.proxy - before.proxy;
  run.cpu.clients = after.clients - before.clients;
  proxy->Stop();
  run.latencies = latencies;
  std::sort(run.latencies.begin(), run.latencies.end());
  const std::string computers = ComputerList();
  for (int host = 0; host < clients; ++host) {
    if (!failures[host].empty()) {
      ++run.failures;
      if (run.firstFailure.empty()) run.firstFailure = failures[host];
      continue;
    }
    const std::string account = "FLEET" + std::to_string(host) + "$";
    if (computers.find(account + "\n") == std::string::npos) ++run.lostAccounts;
  }
  // A sample spread over the fleet logs on with its one-time password.
  for (int sample = 0; sample < kSampledLogons; ++sample) {
    const int host = sample * clients / kSampledLogons;
    if (!failures[host].empty()) continue;
    if (!authproxy_test::KerberosLogon("FLEET" + std::to_string(host) + "$@AD.TEST", passwords[host])) {
      ++run.unusableAccounts;
    }
  }
  for (int host = 0; host < clients; ++host) {
    Shell(kSambaDc + " tool " + kDcDirectory + " computer delete FLEET" +
          std::to_string(host) + " > /dev/null 2>&1 || true");
  }
  return run;
}

void BM_ProxyFleet(benchmark::State& state) {
  const int clients = static_cast<int>(state.range(0));
  const int workers = static_cast<int>(state.range(1));
  const int delayMs = static_cast<int>(state.range(2));
  for (auto _ : state) {
    const FleetRun run = RunFleet(clients, workers, delayMs);
    state.SetIterationTime(run.seconds);
    state.counters["accounts_per_minute"] = run.AccountsPerMinute();
    state.counters["p50_ms"] = run.Percentile(0.50);
    state.counters["p99_ms"] = run.Percentile(0.99);
    state.counters["failures"] = run.failures;
    state.counters["lost"] = run.lostAccounts;
    state.counters["unusable"] = run.unusableAccounts;
    state.counters["cpu_busy_percent"] = run.CpuBusyPercent();
    if (!run.firstFailure.empty()) state.SetLabel("first failure: " + run.firstFailure);
    results[{delayMs, clients, workers}] = run;
  }
}

BENCHMARK(BM_ProxyFleet)
    ->ArgNames({"clients", "workers", "link_delay_ms"})
    ->Args({32, kDefaultWorkers, 0})
    ->Args({32, 1, 0})
    ->Args({128, kDefaultWorkers, 0})
    ->Args({128, 1, 0})
    ->Args({32, kDefaultWorkers, kLinkDelayMs})
    ->Args({32, 1, kLinkDelayMs})
    ->Args({128, kDefaultWorkers, kLinkDelayMs})
    ->Args({128, 1, kLinkDelayMs})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

// The side-by-side summary; false when an account failed, went missing or
// would not log on.
bool PrintSummary() {
  bool sound = true;
  std::printf("\n%-6s %-8s %-8s %12s %8s %8s %9s %5s %9s %6s %22s\n", "delay",
              "clients", "workers", "accounts/min", "p50 ms", "p99 ms", "failures", "lost",
              "unusable", "CPU %", "CPU ms/account dc/px/cl");
  for (const auto& [key, run] : results) {
    std::printf("%-6d %-8d %-8d %12.0f %8.0f %8.0f %9d %5d %9d %6.0f %8.1f/%5.1f/%5.1f\n",
                std::get<0>(key), std::get<1>(key), std::get<2>(key),
                run.AccountsPerMinute(),
                run.Percentile(0.5), run.Percentile(0.99), run.failures,
                run.lostAccounts, run.unusableAccounts, run.CpuBusyPercent(),
                run.CpuPerAccount(run.cpu.directory),
                run.CpuPerAccount(run.cpu.proxy),
                run.CpuPerAccount(run.cpu.clients));
    sound = sound && run.failures == 0 && run.lostAccounts == 0 &&
            run.unusableAccounts == 0;
  }
  for (const int delayMs : {0, kLinkDelayMs}) {
    for (const int clients : {32, kLargestFleet}) {
      const auto pool = results.find({delayMs, clients, kDefaultWorkers});
      const auto single = results.find({delayMs, clients, 1});
      if (pool == results.end() || single == results.end() ||
          single->second.AccountsPerMinute() <= 0) {
        continue;
      }
      std::printf("link delay %d ms, %d clients: %d workers give %.1f times "
                  "the throughput of one\n",
                  delayMs, clients, kDefaultWorkers,
                  pool->second.AccountsPerMinute() /
                      single->second.AccountsPerMinute());
    }
  }
  return sound;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  const bool sound = PrintSummary();
  Shell(kSambaDc + " stop " + kDcDirectory + " || true");
  return sound ? 0 : 1;
}
