// A store object bound to its id: what callers build to write an object,
// and what the store hands back when reading one.
#ifndef SKARNCONFIGSTORE_CONFIGSTOREOBJECT_H
#define SKARNCONFIGSTORE_CONFIGSTOREOBJECT_H

#include "ConfigStoreObjectId.h"
#include "Export.h"
#include "StoreObject.h"

namespace SkarnConfigStore {

class SKARNCONFIGSTORE_EXPORT ConfigStoreObject : public StoreObject {
 public:
  // A new object without keys.
  explicit ConfigStoreObject(const ConfigStoreObjectId& id);
  ~ConfigStoreObject() override;

  const ConfigStoreObjectId& GetId() const;

 private:
  ConfigStoreObjectId id_;
};

}  // namespace SkarnConfigStore

#endif
