#include "CamSettings.h"

#include <cerrno>
#include <fstream>
#include <map>
#include <string>

#include "common/KeyValueFormat.h"

namespace quarrycam {

namespace {

bool ReadNumber(const std::map<std::string, std::string>& pairs,
                const char* key, int lowest, int highest, int& value) {
  const auto found = pairs.find(key);
  if (found == pairs.end()) return true;
  const std::string& text = found->second;
  if (text.empty() || text.size() > 5 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  const int number = std::stoi(text);
  if (number < lowest || number > highest) return false;
  value = number;
  return true;
}

}  // namespace

bool LoadCamSettings(CamSettings& settings) {
  std::ifstream in(quarry::common::kCamSettingsPath);
  if (!in) return errno == ENOENT;
  std::map<std::string, std::string> pairs;
  int failedLine = 0;
  if (quarry::common::ReadKeyValueStream(in, pairs, failedLine) !=
      quarry::common::KeyValueError::None) {
    return false;
  }
  const auto certificate = pairs.find("certificate-file");
  if (certificate != pairs.end()) settings.certificateFile = certificate->second;
  const auto key = pairs.find("key-file");
  if (key != pairs.end()) settings.keyFile = key->second;
  return ReadNumber(pairs, "port", 1, 65535, settings.port) &&
         ReadNumber(pairs, "connect-timeout-seconds", 1, 600,
                    settings.connectTimeoutSeconds) &&
         ReadNumber(pairs, "reply-timeout-seconds", 1, 600,
                    settings.replyTimeoutSeconds);
}

}  // namespace quarrycam
