// The key-value configuration parser: any input either loads or raises
// ConfigurationError, and whatever loads survives a rewrite.
#include <quarryauth/authentication.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

namespace qa = quarry::authentication;

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsQuote(char c) { return c == '"' || c == '\''; }

// Keys are written bare, so a key reads back unchanged only when the
// reader's trimming and unquoting have nothing to take from it.
bool SurvivesBareWriting(const std::string& key) {
  if (key.empty()) return false;
  if (IsBlank(key.front()) || IsBlank(key.back())) return false;
  if (key.size() == 1) return !IsQuote(key[0]);
  return !(IsQuote(key.front()) && key.back() == key.front());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* path = "/etc/quarry/quarryauth/fuzz.conf";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data),
              static_cast<std::streamsize>(size));
  }
  bool everyKeySurvives = true;
  try {
    qa::Configuration configuration(path);
    for (const auto& pair : configuration) {
      everyKeySurvives = everyKeySurvives && SurvivesBareWriting(pair.first);
    }
    configuration.Write();
    const qa::Configuration reread(path);
    // A key that does not survive bare writing may read back as another
    // key of the file (" a" as "a"), and the first of the two then wins;
    // only a file whose every key survives must come back whole.
    if (everyKeySurvives) {
      if (reread.size() != configuration.size()) std::abort();
      for (const auto& pair : configuration) {
        // Values are always quoted and must come back byte for byte.
        if (reread[pair.first] != pair.second) std::abort();
      }
    }
  } catch (const qa::ConfigurationError&) {
  }
  return 0;
}
