#include "DirectorySettings.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include "KeyValueFile.h"
#include "common/PluginText.h"

namespace quarrydemo {

using namespace quarry::plugin;

const char kDirectorySettingsPath[] = "/etc/quarry/quarrydemo.conf";

namespace {

long NumberOr(const KeyValues& pairs, const std::string& key, long fallback) {
  const std::string text = ValueOr(pairs, key, "");
  if (text.empty()) return fallback;
  char* end = nullptr;
  const long number = std::strtol(text.c_str(), &end, 0);
  return *end == '\0' ? number : fallback;
}

// "emea.ad.test:EMEA lab.test:LAB"
std::vector<std::pair<std::string, std::string>> ParseTrustedDomains(
    const std::string& text) {
  std::vector<std::pair<std::string, std::string>> domains;
  for (const auto& word : SplitWords(text)) {
    const auto colon = word.find(':');
    if (colon == std::string::npos) {
      domains.emplace_back(word, ToUpper(word.substr(0, word.find('.'))));
    } else {
      domains.emplace_back(word.substr(0, colon), word.substr(colon + 1));
    }
  }
  return domains;
}

}  // namespace

DirectorySettings LoadDirectorySettings() {
  const KeyValues pairs = ReadKeyValueFile(kDirectorySettingsPath);
  DirectorySettings settings;
  settings.administrator = ValueOr(pairs, "administrator", "Administrator");
  settings.password = ValueOr(pairs, "password", "");
  settings.domain = ValueOr(pairs, "domain", "ad.test");
  settings.netbiosName =
      ValueOr(pairs, "netbios-name",
              ToUpper(settings.domain.substr(0, settings.domain.find('.'))));
  settings.domainControllers =
      SplitWords(ValueOr(pairs, "domain-controllers",
                         "dc1." + settings.domain + " dc2." + settings.domain));
  settings.trustedDomains =
      ParseTrustedDomains(ValueOr(pairs, "trusted-domains", ""));
  const std::string delay = ValueOr(pairs, "delay-seconds", "0");
  settings.delaySeconds =
      delay == "forever"
          ? -1
          : static_cast<int>(NumberOr(pairs, "delay-seconds", 0));
  settings.wrongPasswordStatus =
      static_cast<uint32_t>(NumberOr(pairs, "wrong-password-status", 1326));
  settings.lockoutThreshold =
      static_cast<int>(NumberOr(pairs, "lockout-threshold", 0));
  return settings;
}

void DelayStatusAnswer(const DirectorySettings& settings) {
  if (settings.delaySeconds == 0) return;
  if (settings.delaySeconds > 0) {
    std::this_thread::sleep_for(std::chrono::seconds(settings.delaySeconds));
    return;
  }
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

}  // namespace quarrydemo
