#include <quarryauth/platform/tesselctl/HostsFile.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>

#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include "platform/tesselctl/NetworkFile.h"

namespace TesselCtl {
namespace Network {

namespace {

const char kHostsPath[] = "/etc/hosts";
const char kBlanks[] = " \t";

// An address in binary form, so that "::1" and "0::1" are the same entry.
struct ParsedAddress {
  int family = AF_UNSPEC;
  unsigned char bytes[sizeof(in6_addr)] = {};

  bool operator==(const ParsedAddress& other) const {
    return family == other.family &&
           std::memcmp(bytes, other.bytes, sizeof(bytes)) == 0;
  }
};

bool ParseAddress(const std::string& text, ParsedAddress& address) {
  if (text.find('\0') != std::string::npos) return false;
  for (int family : {AF_INET, AF_INET6}) {
    if (::inet_pton(family, text.c_str(), address.bytes) == 1) {
      address.family = family;
      return true;
    }
  }
  return false;
}

bool IsValidName(const std::string& name) {
  if (name.empty()) return false;
  for (unsigned char c : name) {
    if (c <= ' ' || c == 0x7f || c == '#') return false;
  }
  return true;
}

// The first field of an entry line; empty for comments and blank lines.
std::string AddressField(const std::string& line) {
  const std::string entry = line.substr(0, line.find('#'));
  const std::string::size_type start = entry.find_first_not_of(kBlanks);
  if (start == std::string::npos) return std::string();
  const std::string::size_type end = entry.find_first_of(kBlanks, start);
  return entry.substr(start, end == std::string::npos ? end : end - start);
}

bool IsEntryFor(const std::string& line, const ParsedAddress& address) {
  ParsedAddress lineAddress;
  return ParseAddress(AddressField(line), lineAddress) &&
         lineAddress == address;
}

std::string EntryLine(const std::string& address, const std::string& name,
                      const std::vector<std::string>& aliases) {
  std::string line = address + "\t" + name;
  for (const std::string& alias : aliases) line += " " + alias;
  return line;
}

void CheckName(const std::string& name) {
  if (!IsValidName(name)) {
    throw HostCtl::Lib::HostCtlException("'" + name +
                                         "' is not a valid host name");
  }
}

}  // namespace

HostsFile::HostsFile() = default;

HostsFile::~HostsFile() = default;

void HostsFile::AddOrReplaceEntry(const std::string& address,
                                  const std::string& fullyQualifiedName,
                                  const std::vector<std::string>& aliases) {
  ParsedAddress parsed;
  if (!ParseAddress(address, parsed)) {
    throw HostCtl::Lib::HostCtlException("'" + address +
                                         "' is not a valid IP address");
  }
  CheckName(fullyQualifiedName);
  for (const std::string& alias : aliases) CheckName(alias);

  std::string oldContents;
  ReadNetworkFile(kHostsPath, oldContents);
  const std::string entry = EntryLine(address, fullyQualifiedName, aliases);

  std::vector<std::string> lines;
  bool placed = false;
  for (const std::string& line : SplitLines(oldContents)) {
    if (!IsEntryFor(line, parsed)) {
      lines.push_back(line);
    } else if (!placed) {
      lines.push_back(entry);
      placed = true;
    }
  }
  if (!placed) lines.push_back(entry);

  const std::string newContents = JoinLines(lines);
  if (newContents != oldContents) ReplaceNetworkFile(kHostsPath, newContents);
}

}  // namespace Network
}  // namespace TesselCtl
