#include <quarryauth/platform/tesselctl/DnsConfigImpl.h>

#include <cctype>

#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include "platform/tesselctl/NetworkFile.h"

namespace TesselCtl {
namespace Network {

namespace {

const char kResolverPath[] = "/etc/resolv.conf";
const char kDefaultStackName[] = "defaultTcpipStack";
const char kBlanks[] = " \t";
const std::size_t kMaxDomainLength = 253;
const std::size_t kMaxLabelLength = 63;

enum class Keyword { None, Search, Domain };

// The resolver recognises a keyword only at the start of a line and
// followed by a blank.
bool StartsWithKeyword(const std::string& line, const std::string& keyword) {
  return line.compare(0, keyword.size(), keyword) == 0 &&
         line.size() > keyword.size() &&
         (line[keyword.size()] == ' ' || line[keyword.size()] == '\t');
}

Keyword KeywordOf(const std::string& line) {
  if (StartsWithKeyword(line, "search")) return Keyword::Search;
  if (StartsWithKeyword(line, "domain")) return Keyword::Domain;
  return Keyword::None;
}

std::vector<std::string> FieldsAfterKeyword(const std::string& line) {
  std::vector<std::string> fields;
  std::string::size_type start = line.find_first_of(kBlanks);
  while ((start = line.find_first_not_of(kBlanks, start)) !=
         std::string::npos) {
    const std::string::size_type end = line.find_first_of(kBlanks, start);
    fields.push_back(line.substr(
        start, end == std::string::npos ? std::string::npos : end - start));
    start = end;
  }
  return fields;
}

bool IsLabelCharacter(unsigned char c) {
  return std::isalnum(c) || c == '-' || c == '_';
}

// Letters, digits, "-" and "_" in dot-separated labels of 1 to 63
// characters, 253 characters in all; one final dot is allowed.
bool IsValidDomainName(const std::string& domain) {
  std::string name = domain;
  if (!name.empty() && name.back() == '.') name.pop_back();
  if (name.empty() || name.size() > kMaxDomainLength) return false;
  std::size_t labelLength = 0;
  for (unsigned char c : name) {
    if (c == '.') {
      if (labelLength == 0) return false;
      labelLength = 0;
    } else if (IsLabelCharacter(c) && ++labelLength <= kMaxLabelLength) {
      continue;
    } else {
      return false;
    }
  }
  return labelLength > 0;
}

// DNS names compare without regard to ASCII case; "a.test." is "a.test".
std::string ComparableName(const std::string& domain) {
  std::string name = domain;
  if (!name.empty() && name.back() == '.') name.pop_back();
  for (char& c : name) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return name;
}

std::string SearchLine(const std::vector<std::string>& domains) {
  std::string line = "search";
  for (const std::string& domain : domains) line += " " + domain;
  return line;
}

std::size_t SearchListLength(const std::vector<std::string>& domains) {
  return SearchLine(domains).size() - std::string("search ").size();
}

[[noreturn]] void ThrowRefused(const std::string& domain,
                               const std::string& reason) {
  throw HostCtl::Lib::HostCtlException("Unable to add the search domain '" +
                                       domain + "': " + reason);
}

}  // namespace

DnsConfigImpl::DnsConfigImpl(const std::string& networkStackName)
    : changed_(false) {
  if (networkStackName != kDefaultStackName) {
    throw HostCtl::Lib::HostCtlException("Unknown network stack '" +
                                         networkStackName + "'");
  }
  std::string contents;
  ReadNetworkFile(kResolverPath, contents);
  lines_ = SplitLines(contents);
  for (const std::string& line : lines_) {
    const Keyword keyword = KeywordOf(line);
    if (keyword == Keyword::Search) {
      searchDomains_ = FieldsAfterKeyword(line);
    } else if (keyword == Keyword::Domain) {
      // "domain" makes its one name the whole search list.
      std::vector<std::string> fields = FieldsAfterKeyword(line);
      fields.resize(fields.empty() ? 0 : 1);
      searchDomains_ = fields;
    }
  }
}

DnsConfigImpl::~DnsConfigImpl() = default;

const std::vector<std::string>& DnsConfigImpl::GetUserSearchDomains() const {
  return searchDomains_;
}

void DnsConfigImpl::AddUserSearchDomain(const std::string& domain) {
  if (!IsValidDomainName(domain)) {
    ThrowRefused(domain, "not a valid DNS domain name");
  }
  for (const std::string& present : searchDomains_) {
    if (ComparableName(present) == ComparableName(domain)) return;
  }
  std::vector<std::string> domains = searchDomains_;
  domains.push_back(domain);
  if (domains.size() > kMaxSearchDomains) {
    ThrowRefused(domain, "the resolver allows at most " +
                             std::to_string(kMaxSearchDomains) +
                             " search domains");
  }
  if (SearchListLength(domains) > kMaxSearchListLength) {
    ThrowRefused(domain, "the search list would be longer than " +
                             std::to_string(kMaxSearchListLength) +
                             " characters");
  }
  searchDomains_.swap(domains);
  changed_ = true;
}

void DnsConfigImpl::SaveConfig() {
  if (!changed_) return;
  std::vector<std::string> lines = lines_;
  std::vector<std::string>::size_type lastSearch = lines.size();
  bool searchIsLast = false;
  for (std::vector<std::string>::size_type i = 0; i < lines.size(); ++i) {
    const Keyword keyword = KeywordOf(lines[i]);
    if (keyword == Keyword::Search) lastSearch = i;
    if (keyword != Keyword::None) searchIsLast = keyword == Keyword::Search;
  }
  if (searchIsLast) {
    lines[lastSearch] = SearchLine(searchDomains_);
  } else {
    lines.push_back(SearchLine(searchDomains_));
  }
  ReplaceNetworkFile(kResolverPath, JoinLines(lines));
  lines_.swap(lines);
  changed_ = false;
}

}  // namespace Network
}  // namespace TesselCtl
