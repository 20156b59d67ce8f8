// Editing the hosts file: whatever /etc/hosts holds, adding the management
// address's entry keeps every other line byte for byte, replaces the first
// line of that address in place, drops its later lines and leaves the
// entry there exactly once.
#include <quarryauth/platform/tesselctl/HostsFile.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char kHostsPath[] = "/etc/hosts";
const char kAddress[] = "192.0.2.5";
const char kEntry[] = "192.0.2.5\tnode1.ad.test node1";

void Check(bool condition) {
  if (!condition) std::abort();
}

std::string ReadHosts() {
  std::ifstream in(kHostsPath, std::ios::binary);
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

// The address field of a line as the resolver reads it: the first word
// before any comment. The dotted form of an IPv4 address has no other
// spelling that inet_pton accepts, so text comparison is exact here.
bool IsEntryOfAddress(const std::string& line) {
  const std::string entry = line.substr(0, line.find('#'));
  const std::string::size_type start = entry.find_first_not_of(" \t");
  if (start == std::string::npos) return false;
  const std::string::size_type end = entry.find_first_of(" \t", start);
  return entry.substr(start, end == std::string::npos ? end : end - start) ==
         kAddress;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string old(reinterpret_cast<const char*>(data), size);
  {
    std::ofstream out(kHostsPath, std::ios::binary | std::ios::trunc);
    out << old;
  }
  TesselCtl::Network::HostsFile().AddOrReplaceEntry("192.0.2.5",
                                                    "node1.ad.test", {"node1"});
  std::string expected;
  bool placed = false;
  for (const std::string& line : Lines(old)) {
    if (!IsEntryOfAddress(line)) {
      expected += line + "\n";
    } else if (!placed) {
      expected += std::string(kEntry) + "\n";
      placed = true;
    }
  }
  if (!placed) expected += std::string(kEntry) + "\n";

  const std::string now = ReadHosts();
  Check(now == expected);
  int entries = 0;
  for (const std::string& line : Lines(now)) entries += line == kEntry;
  Check(entries == 1);
  return 0;
}
