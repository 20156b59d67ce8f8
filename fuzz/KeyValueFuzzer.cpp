// The key-value configuration parser: any input either loads or raises
// ConfigurationError, and whatever loads survives a rewrite unchanged.
#include <quarryauth/authentication.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

namespace qa = quarry::authentication;

namespace {

bool IsBlank(const std::string& text) {
  return text.find_first_not_of(" \t") == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* path = "/etc/quarry/quarryauth/fuzz.conf";
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data),
              static_cast<std::streamsize>(size));
  }
  try {
    qa::Configuration configuration(path);
    configuration.Write();
    const qa::Configuration reread(path);
    for (const auto& pair : configuration) {
      // A key of white space only is kept untrimmed and so gains the
      // writer's blank; every other pair must come back byte for byte.
      if (IsBlank(pair.first)) continue;
      if (reread[pair.first] != pair.second) std::abort();
    }
  } catch (const qa::ConfigurationError&) {
  }
  return 0;
}
