// A set of string keys with string values, as the configuration store holds
// them for one object. Changes stay in memory until the object is stored.
#ifndef SKARNCONFIGSTORE_STOREOBJECT_H
#define SKARNCONFIGSTORE_STOREOBJECT_H

#include <map>
#include <string>

#include "Export.h"

namespace SkarnConfigStore {

class SKARNCONFIGSTORE_EXPORT StoreObject {
 public:
  StoreObject();
  StoreObject(const StoreObject&);
  StoreObject& operator=(const StoreObject&);
  virtual ~StoreObject();

  // Copies the key's value into value and returns true; returns false and
  // leaves value untouched when the key is absent.
  bool GetValue(const std::string& key, std::string& value) const;
  // Adds the key or replaces its value.
  void SetValue(const std::string& key, const std::string& value);
  // Returns false when the key was absent.
  bool RemoveValue(const std::string& key);

  // Every key with its value, in byte order of the keys.
  const std::map<std::string, std::string>& GetValues() const;

 private:
  std::map<std::string, std::string> values_;
};

}  // namespace SkarnConfigStore

#endif
