#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>

#include "platform/skarnconfigstore/SqliteConfigStore.h"
#include "platform/skarnconfigstore/StoreError.h"

namespace SkarnConfigStore {

ConfigStore::ConfigStore() = default;

ConfigStore::~ConfigStore() = default;

std::shared_ptr<ConfigStore> ConfigStore::GetStore(
    const std::string& nameSpace) {
  if (nameSpace.empty()) ThrowInvalidArgument();
  return std::make_shared<SqliteConfigStore>(nameSpace);
}

}  // namespace SkarnConfigStore
