#include "InputRules.h"

#include <cctype>
#include <vector>

#include "common/DistinguishedName.h"
#include "ExitStatus.h"

namespace quarryauthctl {

namespace {

const std::string::size_type kLongestDnsName = 253;
const std::string::size_type kLongestLabel = 63;

bool HasControlCharacter(const std::string& text) {
  for (unsigned char c : text) {
    if (c < 0x20 || c == 0x7f) return true;
  }
  return false;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

bool HasBlanksAround(const std::string& text) {
  return !text.empty() && (IsBlank(text.front()) || IsBlank(text.back()));
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::string::size_type start = 0;
  while (true) {
    const std::string::size_type end = text.find(separator, start);
    parts.push_back(text.substr(start, end - start));
    if (end == std::string::npos) return parts;
    start = end + 1;
  }
}

// Why label is not a DNS label, or empty when it is one.
std::string LabelFault(const std::string& label) {
  if (label.empty()) return "it has an empty label";
  if (label.size() > kLongestLabel) {
    return "the label '" + label + "' is longer than 63 characters";
  }
  for (unsigned char c : label) {
    if (!std::isalnum(c) && c != '-') {
      return "the label '" + label +
             "' has a character other than a letter, digit or hyphen";
    }
  }
  if (label.front() == '-' || label.back() == '-') {
    return "the label '" + label + "' begins or ends with a hyphen";
  }
  return std::string();
}

bool IsAttributeType(const std::string& type) {
  if (type.empty() || !std::isalpha(static_cast<unsigned char>(type[0]))) {
    return false;
  }
  for (unsigned char c : type) {
    if (!std::isalnum(c) && c != '-') return false;
  }
  return true;
}

void RequireDistinguishedName(const std::string& dn) {
  for (std::string part : quarry::plugin::SplitRelativeNames(dn)) {
    while (!part.empty() && IsBlank(part.front())) part.erase(0, 1);
    const std::string::size_type equals = part.find('=');
    if (equals == std::string::npos || !IsAttributeType(part.substr(0, equals)) ||
        equals + 1 == part.size()) {
      throw UsageError("the organizational unit '" + dn +
                       "' is not a distinguished name: each part between "
                       "commas must be TYPE=VALUE, as in "
                       "'OU=Hypervisors,DC=ad,DC=example,DC=com'");
    }
  }
}

void RequireUnitPath(const std::string& path) {
  for (const std::string& unit : Split(path, '/')) {
    if (unit.empty()) {
      throw UsageError("the organizational unit '" + path +
                       "' has an empty part; write units as "
                       "'Servers/Hypervisors', without a leading, trailing "
                       "or doubled '/'");
    }
    if (HasBlanksAround(unit) ||
        unit.find_first_of(",+\"\\<>;=#") != std::string::npos) {
      throw UsageError("the organizational unit '" + path + "' has the part '" +
                       unit +
                       "', which begins or ends with a blank or holds one of "
                       ", + \" \\ < > ; = #");
    }
  }
}

}  // namespace

void RequireDnsName(const std::string& name, const std::string& what) {
  std::string fault;
  if (name.empty()) {
    throw UsageError("the " + what + " is empty");
  } else if (name.size() > kLongestDnsName) {
    fault = "it is longer than 253 characters";
  } else {
    const std::vector<std::string> labels = Split(name, '.');
    for (const std::string& label : labels) {
      fault = LabelFault(label);
      if (!fault.empty()) break;
    }
    if (fault.empty() && labels.size() < 2) {
      fault = "it has one label only";
    }
  }
  if (!fault.empty()) {
    throw UsageError("the " + what + " '" + name +
                     "' is not a DNS name such as ad.example.com: " + fault);
  }
}

void RequireJoinTarget(const std::string& target) {
  const std::string::size_type slash = target.find('/');
  RequireDnsName(target.substr(0, slash), "domain");
  if (slash == std::string::npos) return;
  const std::string unit = target.substr(slash + 1);
  if (unit.empty()) {
    throw UsageError("nothing follows the '/' in '" + target +
                     "'; name the organizational unit or leave the '/' out");
  }
  RequireOrganizationalUnit(unit);
}

void RequireOrganizationalUnit(const std::string& unit) {
  if (unit.empty()) throw UsageError("the organizational unit is empty");
  if (HasControlCharacter(unit)) {
    throw UsageError("the organizational unit holds a control character");
  }
  if (unit.find('=') != std::string::npos) {
    RequireDistinguishedName(unit);
  } else {
    RequireUnitPath(unit);
  }
}

void RequireUserName(const std::string& name) {
  if (name.empty()) throw UsageError("the user name is empty");
  if (HasControlCharacter(name) || HasBlanksAround(name)) {
    throw UsageError("the user name '" + name +
                     "' begins or ends with a blank or holds a control "
                     "character");
  }
  const std::string::size_type backslash = name.find('\\');
  const std::string::size_type at = name.find('@');
  const bool malformed =
      (backslash != std::string::npos &&
       (backslash == 0 || backslash + 1 == name.size() ||
        name.find('\\', backslash + 1) != std::string::npos ||
        at != std::string::npos)) ||
      (at != std::string::npos &&
       (at == 0 || at + 1 == name.size() ||
        name.find('@', at + 1) != std::string::npos));
  if (malformed) {
    throw UsageError("the user name '" + name +
                     "' is not NAME, DOMAIN\\NAME or NAME@DOMAIN");
  }
}

void RequireName(const std::string& name, const std::string& what) {
  if (name.empty()) throw UsageError("the " + what + " is empty");
  if (HasControlCharacter(name) ||
      name.find_first_of(" \t/") != std::string::npos) {
    throw UsageError("the " + what + " '" + name +
                     "' holds a blank, a '/' or a control character");
  }
}

}  // namespace quarryauthctl
