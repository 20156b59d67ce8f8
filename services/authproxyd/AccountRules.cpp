#include "services/authproxyd/AccountRules.h"

#include <vector>

#include "common/DistinguishedName.h"
#include "common/PluginText.h"

namespace quarry::authproxyd {

namespace {

std::string Trimmed(const std::string& text) {
  const std::string::size_type first = text.find_first_not_of(' ');
  if (first == std::string::npos) return std::string();
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// "ou = Hosts " gives "ou=hosts": the form in which two parts compare.
std::string ComparablePart(const std::string& part) {
  const std::string::size_type equals = part.find('=');
  if (equals == std::string::npos) return plugin::ToLower(Trimmed(part));
  return plugin::ToLower(Trimmed(part.substr(0, equals))) + "=" +
         plugin::ToLower(Trimmed(part.substr(equals + 1)));
}

}  // namespace

bool IsNameInDomain(const std::string& hostName, const std::string& domain) {
  const std::string suffix = "." + plugin::ToLower(domain);
  const std::string name = plugin::ToLower(hostName);
  return name.size() > suffix.size() &&
         name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool IsWithinContainer(const std::string& dn, const std::string& base) {
  const std::vector<std::string> parts = plugin::SplitRelativeNames(dn);
  const std::vector<std::string> baseParts = plugin::SplitRelativeNames(base);
  if (base.empty() || baseParts.size() > parts.size()) return false;
  const std::size_t offset = parts.size() - baseParts.size();
  for (std::size_t i = 0; i < baseParts.size(); ++i) {
    if (ComparablePart(parts[offset + i]) != ComparablePart(baseParts[i])) {
      return false;
    }
  }
  return true;
}

bool IsSameDN(const std::string& left, const std::string& right) {
  return !left.empty() && !right.empty() &&
         plugin::SplitRelativeNames(left).size() ==
             plugin::SplitRelativeNames(right).size() &&
         IsWithinContainer(left, right);
}

std::string ParentDN(const std::string& dn) {
  for (std::string::size_type i = 0; i < dn.size(); ++i) {
    if (dn[i] == '\\') {
      ++i;  // the escaped character
    } else if (dn[i] == ',') {
      return dn.substr(i + 1);
    }
  }
  return std::string();
}

}  // namespace quarry::authproxyd
