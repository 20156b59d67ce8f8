#include "services/authproxyd/AccountRules.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace quarry::authproxyd {

namespace {

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  return text;
}

std::string Trimmed(const std::string& text) {
  const std::string::size_type first = text.find_first_not_of(' ');
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The parts of dn between the commas that no backslash escapes, as given.
std::vector<std::string> RawParts(const std::string& dn) {
  std::vector<std::string> parts(1);
  for (std::string::size_type i = 0; i < dn.size(); ++i) {
    if (dn[i] == '\\' && i + 1 < dn.size()) {
      parts.back() += dn.substr(i, 2);
      ++i;
    } else if (dn[i] == ',') {
      parts.emplace_back();
    } else {
      parts.back() += dn[i];
    }
  }
  return parts;
}

// "ou = Hosts " gives "ou=hosts": the form in which two parts compare.
std::string ComparablePart(const std::string& part) {
  const std::string::size_type equals = part.find('=');
  if (equals == std::string::npos) return Lower(Trimmed(part));
  return Lower(Trimmed(part.substr(0, equals))) + "=" +
         Lower(Trimmed(part.substr(equals + 1)));
}

}  // namespace

bool IsNameInDomain(const std::string& hostName, const std::string& domain) {
  const std::string suffix = "." + Lower(domain);
  const std::string name = Lower(hostName);
  return name.size() > suffix.size() &&
         name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool IsWithinContainer(const std::string& dn, const std::string& base) {
  const std::vector<std::string> parts = RawParts(dn);
  const std::vector<std::string> baseParts = RawParts(base);
  if (base.empty() || baseParts.size() > parts.size()) return false;
  const std::size_t offset = parts.size() - baseParts.size();
  for (std::size_t i = 0; i < baseParts.size(); ++i) {
    if (ComparablePart(parts[offset + i]) != ComparablePart(baseParts[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace quarry::authproxyd
