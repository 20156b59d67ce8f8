#include <quarryauth/authentication/CAMThumbprintStore.h>

namespace quarry {
namespace authentication {

CAMThumbprintStore::CAMThumbprintStore(const std::string& path)
    : Configuration(path) {}

CAMThumbprintStore::~CAMThumbprintStore() = default;

std::string CAMThumbprintStore::LookupThumbprint(const std::string& key) const {
  const const_iterator found = find(key);
  return found == end() ? std::string() : found->second;
}

void CAMThumbprintStore::ImportThumbprint(const std::string& thumbprint,
                                          const std::string& key) {
  const iterator found = find(key);
  if (found == end()) {
    emplace(key, thumbprint);
  } else if (found->second == thumbprint) {
    return;
  } else {
    found->second = thumbprint;
  }
  Write();
}

}  // namespace authentication
}  // namespace quarry
