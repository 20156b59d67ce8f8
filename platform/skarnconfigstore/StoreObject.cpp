#include <quarryauth/platform/skarnconfigstore/StoreObject.h>

namespace SkarnConfigStore {

StoreObject::StoreObject() = default;

StoreObject::StoreObject(const StoreObject&) = default;

StoreObject& StoreObject::operator=(const StoreObject&) = default;

StoreObject::~StoreObject() = default;

bool StoreObject::GetValue(const std::string& key, std::string& value) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return false;
  value = found->second;
  return true;
}

void StoreObject::SetValue(const std::string& key, const std::string& value) {
  values_[key] = value;
}

bool StoreObject::RemoveValue(const std::string& key) {
  return values_.erase(key) == 1;
}

const std::map<std::string, std::string>& StoreObject::GetValues() const {
  return values_;
}

}  // namespace SkarnConfigStore
