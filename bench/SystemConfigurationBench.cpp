// Reading and writing PAM service files and the name-service switch file:
// throughput on large generated files (MB/s through SetBytesProcessed) and
// the time of one read plus write of a typical small file. Works on memory
// streams only, so it needs no sandbox.
#include <benchmark/benchmark.h>

#include <quarryauth/systemconfiguration.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

namespace sc = SystemConfiguration;

namespace {

constexpr std::size_t kLargeBytes = 4 << 20;

// About kLargeBytes of rules of every facility and control, with comments,
// blank lines and the layouts real files use.
std::string LargePAMFile() {
  static const char* const kFacilities[] = {"auth", "account", "password",
                                            "session"};
  static const char* const kControls[] = {
      "required", "requisite", "sufficient", "optional", "include", "substack",
      "[success=1 default=ignore]",
      "[success=ok ignore=ignore module_unknown=ignore default=bad]"};
  static const char* const kArguments[] = {
      "", " nullok", " try_first_pass use_authtok",
      " readenv=1 envfile=/etc/default/locale", " obscure yescrypt rounds=5"};
  std::string text = "#%PAM-1.0\n";
  for (std::uint32_t i = 0; text.size() < kLargeBytes; ++i) {
    if (i % 16 == 0) text += "\n# rules of group " + std::to_string(i) + "\n";
    text += kFacilities[i % 4];
    text += i % 3 == 0 ? "\t" : "    ";
    text += kControls[i % 8];
    text += "\t/lib/security/pam_module" + std::to_string(i % 97) + ".so";
    text += kArguments[i % 5];
    text += '\n';
  }
  return text;
}

// About kLargeBytes of lines for every database, comments among them.
std::string LargeNSSFile() {
  static const char* const kDatabases[] = {
      "passwd",   "group",     "shadow",   "hosts",  "netmasks",
      "networks", "protocols", "services", "ethers", "rpc",
      "netgroup", "bootparams", "publickey", "automount", "aliases"};
  static const char* const kServices[] = {
      " files", " files systemd", " files dns myhostname",
      " db files", " nis", " sss files [NOTFOUND=return]",
      " ldap [NOTFOUND=return UNAVAIL=continue]"};
  std::string text;
  for (std::uint32_t i = 0; text.size() < kLargeBytes; ++i) {
    if (i % 20 == 0) text += "# databases, round " + std::to_string(i) + "\n\n";
    text += kDatabases[i % 15];
    text += ":        ";
    text += kServices[i % 7];
    text += '\n';
  }
  return text;
}

const char kSmallPAMFile[] =
    "#\n"
    "# /etc/pam.d/common-auth - authentication settings common to all "
    "services\n"
    "#\n"
    "auth\t[success=1 default=ignore]\tpam_unix.so nullok\n"
    "auth\trequisite\t\t\tpam_deny.so\n"
    "auth\trequired\t\t\tpam_permit.so\n"
    "auth\toptional\t\t\tpam_cap.so \n"
    "account\t[success=1 new_authtok_reqd=done default=ignore]\tpam_unix.so \n"
    "account\trequisite\t\t\tpam_deny.so\n"
    "account\trequired\t\t\tpam_permit.so\n"
    "session\t[default=1]\t\t\tpam_permit.so\n"
    "session\trequisite\t\t\tpam_deny.so\n"
    "session\trequired\t\t\tpam_permit.so\n"
    "session\trequired\tpam_unix.so \n"
    "session\toptional\tpam_systemd.so \n";

const char kSmallNSSFile[] =
    "# /etc/nsswitch.conf\n"
    "\n"
    "passwd:         files systemd\n"
    "group:          files systemd\n"
    "shadow:         files systemd\n"
    "gshadow:        files systemd\n"
    "\n"
    "hosts:          files dns\n"
    "networks:       files\n"
    "\n"
    "protocols:      db files\n"
    "services:       db files\n"
    "ethers:         db files\n"
    "rpc:            db files\n"
    "\n"
    "netgroup:       nis\n";

sc::PAMPolicy ReadPAM(const std::string& text) {
  sc::PAMPolicy policy("bench");
  std::istringstream in(text);
  in >> policy;
  return policy;
}

sc::NSSConfiguration ReadNSS(const std::string& text) {
  sc::NSSConfiguration configuration;
  std::istringstream in(text);
  in >> configuration;
  return configuration;
}

void BM_PAMReadLarge(benchmark::State& state) {
  const std::string text = LargePAMFile();
  for (auto _ : state) {
    sc::PAMPolicy policy = ReadPAM(text);
    benchmark::DoNotOptimize(policy);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_PAMReadLarge)->Unit(benchmark::kMillisecond);

void BM_PAMWriteLarge(benchmark::State& state) {
  const sc::PAMPolicy policy = ReadPAM(LargePAMFile());
  std::size_t written = 0;
  for (auto _ : state) {
    std::ostringstream out;
    out << policy;
    written = out.str().size();
    benchmark::DoNotOptimize(written);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(written));
}
BENCHMARK(BM_PAMWriteLarge)->Unit(benchmark::kMillisecond);

void BM_NSSReadLarge(benchmark::State& state) {
  const std::string text = LargeNSSFile();
  for (auto _ : state) {
    sc::NSSConfiguration configuration = ReadNSS(text);
    benchmark::DoNotOptimize(configuration);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_NSSReadLarge)->Unit(benchmark::kMillisecond);

void BM_NSSWriteLarge(benchmark::State& state) {
  const sc::NSSConfiguration configuration = ReadNSS(LargeNSSFile());
  std::size_t written = 0;
  for (auto _ : state) {
    std::ostringstream out;
    out << configuration;
    written = out.str().size();
    benchmark::DoNotOptimize(written);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(written));
}
BENCHMARK(BM_NSSWriteLarge)->Unit(benchmark::kMillisecond);

// One typical service file, read and written back: the cost a caller pays
// for one edit.
void BM_PAMSmallReadWrite(benchmark::State& state) {
  const std::string text = kSmallPAMFile;
  for (auto _ : state) {
    sc::PAMPolicy policy = ReadPAM(text);
    std::ostringstream out;
    out << policy;
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_PAMSmallReadWrite)->Unit(benchmark::kMicrosecond);

void BM_NSSSmallReadWrite(benchmark::State& state) {
  const std::string text = kSmallNSSFile;
  for (auto _ : state) {
    sc::NSSConfiguration configuration = ReadNSS(text);
    std::ostringstream out;
    out << configuration;
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                          static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_NSSSmallReadWrite)->Unit(benchmark::kMicrosecond);

}  // namespace
