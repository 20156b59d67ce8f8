#include "services/authproxyd/HostNameRules.h"

#include <vector>

namespace quarry::authproxyd {

namespace {

bool IsLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
         (c >= '0' && c <= '9');
}

bool IsValidLabel(const std::string& label) {
  if (label.empty() || label.size() > 63) return false;
  if (label.front() == '-' || label.back() == '-') return false;
  for (const char c : label) {
    if (!IsLetterOrDigit(c) && c != '-') return false;
  }
  return true;
}

std::vector<std::string> Labels(const std::string& name) {
  std::vector<std::string> labels;
  std::string::size_type start = 0;
  for (;;) {
    const std::string::size_type dot = name.find('.', start);
    labels.push_back(name.substr(start, dot - start));
    if (dot == std::string::npos) return labels;
    start = dot + 1;
  }
}

bool AreValidLabels(const std::string& name) {
  if (name.empty() || name.size() > 253) return false;
  for (const std::string& label : Labels(name)) {
    if (!IsValidLabel(label)) return false;
  }
  return true;
}

}  // namespace

bool IsValidHostName(const std::string& name) {
  if (!AreValidLabels(name)) return false;
  const std::vector<std::string> labels = Labels(name);
  return labels.size() >= 2 && labels.front().size() <= 15;
}

bool IsValidDomainName(const std::string& name) { return AreValidLabels(name); }

bool IsPlausibleContainer(const std::string& dn) {
  if (dn.empty() || dn.size() > 1024) return false;
  for (const char c : dn) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return false;
  }
  const std::string::size_type equals = dn.find('=');
  return equals != std::string::npos && equals > 0 && equals + 1 < dn.size();
}

}  // namespace quarry::authproxyd
