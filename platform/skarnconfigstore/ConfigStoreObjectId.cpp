#include <quarryauth/platform/skarnconfigstore/ConfigStoreObjectId.h>

namespace SkarnConfigStore {

ConfigStoreObjectId::ConfigStoreObjectId(const std::string& key,
                                         const std::string& group,
                                         const std::string& component)
    : key_(key), group_(group), component_(component) {}

const std::string& ConfigStoreObjectId::GetKey() const { return key_; }

const std::string& ConfigStoreObjectId::GetGroup() const { return group_; }

const std::string& ConfigStoreObjectId::GetComponent() const {
  return component_;
}

bool ConfigStoreObjectId::IsValid() const {
  return !key_.empty() && !group_.empty() && !component_.empty();
}

std::string ConfigStoreObjectId::ToString() const {
  return component_ + "/" + group_ + "/" + key_;
}

bool ConfigStoreObjectId::operator==(const ConfigStoreObjectId& other) const {
  return key_ == other.key_ && group_ == other.group_ &&
         component_ == other.component_;
}

bool ConfigStoreObjectId::operator!=(const ConfigStoreObjectId& other) const {
  return !(*this == other);
}

}  // namespace SkarnConfigStore
