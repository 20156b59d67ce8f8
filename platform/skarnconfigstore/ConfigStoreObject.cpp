#include <quarryauth/platform/skarnconfigstore/ConfigStoreObject.h>

namespace SkarnConfigStore {

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id) : id_(id) {}

ConfigStoreObject::~ConfigStoreObject() = default;

const ConfigStoreObjectId& ConfigStoreObject::GetId() const { return id_; }

}  // namespace SkarnConfigStore
