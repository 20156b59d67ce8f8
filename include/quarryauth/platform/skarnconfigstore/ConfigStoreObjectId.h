// The name of one configuration store object: its key within a group of a
// component, e.g. ("active_directory", "identity", "skarn").
#ifndef SKARNCONFIGSTORE_CONFIGSTOREOBJECTID_H
#define SKARNCONFIGSTORE_CONFIGSTOREOBJECTID_H

#include <string>

#include "Export.h"

namespace SkarnConfigStore {

class SKARNCONFIGSTORE_EXPORT ConfigStoreObjectId {
 public:
  ConfigStoreObjectId(const std::string& key, const std::string& group,
                      const std::string& component);

  const std::string& GetKey() const;
  const std::string& GetGroup() const;
  const std::string& GetComponent() const;

  // True when no part is empty; the store refuses other ids.
  bool IsValid() const;

  // "component/group/key", as error messages name the object.
  std::string ToString() const;

  bool operator==(const ConfigStoreObjectId& other) const;
  bool operator!=(const ConfigStoreObjectId& other) const;

 private:
  std::string key_;
  std::string group_;
  std::string component_;
};

}  // namespace SkarnConfigStore

#endif
