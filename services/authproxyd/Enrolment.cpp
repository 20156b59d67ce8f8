#include "services/authproxyd/Enrolment.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <sstream>

#include "common/DurableFile.h"
#include "common/KeyValueFormat.h"
#include "services/authproxyd/HostNameRules.h"
#include "services/authproxyd/ProxySettings.h"

namespace quarry::authproxyd {

namespace {

constexpr std::size_t kSha256Bytes = 32;

bool IsUpperHex(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

}  // namespace

bool IsValidThumbprint(const std::string& text) {
  if (text.size() != kSha256Bytes * 3 - 1) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool separator = i % 3 == 2;
    if (separator ? text[i] != ':' : !IsUpperHex(text[i])) return false;
  }
  return true;
}

Enrolment ReadEnrolment(const std::string& path) {
  if (::access(path.c_str(), F_OK) != 0 && errno == ENOENT) return Enrolment();
  const Enrolment enrolment = ReadSettingsFile(path);
  for (const auto& entry : enrolment) {
    if (!IsValidThumbprint(entry.first) || !IsValidHostName(entry.second)) {
      throw SettingsError(path + ": \"" + entry.first + "\" = \"" +
                          entry.second +
                          "\" is not a thumbprint and a host name");
    }
  }
  return enrolment;
}

void WriteEnrolment(const std::string& path, const Enrolment& enrolment) {
  std::ostringstream out;
  for (const auto& entry : enrolment) {
    common::WriteKeyValueLine(out, entry.first, entry.second);
  }
  const int error = common::ReplaceFileContents(path, out.str(), 0640);
  if (error != 0) {
    throw SettingsError("cannot write " + path + ": " + std::strerror(error));
  }
}

}  // namespace quarry::authproxyd
