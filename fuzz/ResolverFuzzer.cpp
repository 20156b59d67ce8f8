// Editing the resolver configuration: whatever /etc/resolv.conf holds,
// adding a search domain either is refused (the resolver's limits) and
// writes nothing, or leaves a file whose search list is the old one plus
// the domain, with every other line kept.
#include <quarryauth/platform/tesselctl/DnsConfigImpl.h>
#include <quarryauth/platform/tesselctl/HostCtlException.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char kResolverPath[] = "/etc/resolv.conf";
const char kDomain[] = "ad.test";

void Check(bool condition) {
  if (!condition) std::abort();
}

std::string ReadResolver() {
  std::ifstream in(kResolverPath, std::ios::binary);
  std::ostringstream contents;
  contents << in.rdbuf();
  return contents.str();
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::string::size_type start = 0;
  while (start < text.size()) {
    std::string::size_type end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

bool IsSearchLine(const std::string& line) {
  return line.compare(0, 7, "search ") == 0 ||
         line.compare(0, 7, "search\t") == 0;
}

// The new lines are the old ones with one search line rewritten in place,
// or with one search line appended.
bool OnlySearchLineChanged(const std::vector<std::string>& before,
                           const std::vector<std::string>& after) {
  if (after.size() == before.size() + 1) {
    return IsSearchLine(after.back()) &&
           std::equal(before.begin(), before.end(), after.begin());
  }
  if (after.size() != before.size()) return false;
  int changed = 0;
  for (std::size_t i = 0; i < before.size(); ++i) {
    if (before[i] == after[i]) continue;
    if (!IsSearchLine(before[i]) || !IsSearchLine(after[i])) return false;
    ++changed;
  }
  return changed <= 1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string old(reinterpret_cast<const char*>(data), size);
  {
    std::ofstream out(kResolverPath, std::ios::binary | std::ios::trunc);
    out << old;
  }
  std::vector<std::string> domains;
  try {
    TesselCtl::Network::DnsConfigImpl dns("defaultTcpipStack");
    domains = dns.GetUserSearchDomains();
    const std::size_t before = domains.size();
    dns.AddUserSearchDomain(kDomain);
    domains = dns.GetUserSearchDomains();
    // Either already present or appended at the end.
    Check(domains.size() == before ||
          (domains.size() == before + 1 && domains.back() == kDomain));
    dns.SaveConfig();
  } catch (const HostCtl::Lib::HostCtlException&) {
    Check(ReadResolver() == old);
    return 0;
  }
  const std::string now = ReadResolver();
  Check(now == old || OnlySearchLineChanged(Lines(old), Lines(now)));
  const TesselCtl::Network::DnsConfigImpl reread("defaultTcpipStack");
  Check(reread.GetUserSearchDomains() == domains);
  return 0;
}
