#include "ConfigStoreSupport.h"

namespace quarry::test {

std::shared_ptr<SkarnConfigStore::ConfigStore> GlobalStore() {
  return SkarnConfigStore::ConfigStore::GetStore(
      SkarnConfigStore::sGlobalNamespace);
}

}  // namespace quarry::test
