// The host configuration store: durable objects of string keys and values,
// shared by every process of the host. Objects live in namespaces; the
// host's own settings are in sGlobalNamespace.
//
// Every write is one transaction: after any failure, and after a crash at
// any moment, each object holds either all of its old or all of its new
// keys. Every failure is a ConfigStoreException whose code and message come
// from the error table:
//   - the database cannot be opened or created: DatabaseOpenFailed;
//   - the database file is damaged: IntegrityCheckFailed;
//   - an operation fails (disk full, read-only file system, database locked
//     by another process for longer than the busy time-out):
//     GetOperationFailed, SetOperationFailed, UpdateOperationFailed or
//     DeleteOperationFailed as the operation's comment says, with the
//     object's name and the reason;
//   - an id with an empty part, a null object, an unknown mode:
//     InvalidArgument.
#ifndef SKARNCONFIGSTORE_CONFIGSTORE_H
#define SKARNCONFIGSTORE_CONFIGSTORE_H

#include <memory>
#include <string>
#include <vector>

#include "ConfigStoreObject.h"
#include "ConfigStoreObjectId.h"
#include "Export.h"
#include "StoreObject.h"

namespace SkarnConfigStore {

// The namespace of the host's own configuration.
inline constexpr char sGlobalNamespace[] = "global";

// Modes of SetObject.
enum StoreMode : int {
  // The stored object's keys become exactly those of the given object.
  StoreModeReplace = 0,
  // The given object's keys are added or replaced; other keys stay.
  StoreModeMerge = 1,
};

class SKARNCONFIGSTORE_EXPORT ConfigStore {
 public:
  // Opens the store of the namespace, creating the database on first use
  // ("/var/lib/quarry/configstore.db", directory mode 0700, file mode
  // 0600). A store handle belongs to the process that opened it; threads of
  // that process may share it. Throws ConfigStoreException when the
  // database cannot be opened, is damaged, or the namespace is empty.
  static std::shared_ptr<ConfigStore> GetStore(const std::string& nameSpace);

  ConfigStore(const ConfigStore&) = delete;
  ConfigStore& operator=(const ConfigStore&) = delete;

  // The operations keep their places in the table of virtual functions:
  // GetObject is the first, SetObject the fifth, DeleteObject the tenth.

  // The object with its keys (a ConfigStoreObject), or null when there is
  // none. Failures: GetOperationFailed.
  virtual std::shared_ptr<StoreObject> GetObject(
      const ConfigStoreObjectId& id) const = 0;

  // Failures: GetOperationFailed.
  virtual bool ObjectExists(const ConfigStoreObjectId& id) const = 0;

  // The ids of the objects of one group of a component, ordered by key.
  // Failures: GetOperationFailed.
  virtual std::vector<ConfigStoreObjectId> ListObjectIds(
      const std::string& group, const std::string& component) const = 0;

  // Stores a new object; ObjectAlreadyExists when its id is taken.
  // Failures: SetOperationFailed.
  virtual void CreateObject(
      const std::shared_ptr<ConfigStoreObject>& object) = 0;

  // Stores the object, creating it when absent, as mode (a StoreMode) says.
  // Failures: SetOperationFailed.
  virtual void SetObject(const std::shared_ptr<ConfigStoreObject>& object,
                         int mode) = 0;

  // Adds or replaces the object's keys in the stored object, which must
  // exist (ObjectNotFound otherwise). Failures: UpdateOperationFailed.
  virtual void UpdateObject(
      const std::shared_ptr<ConfigStoreObject>& object) = 0;

  // One key of an object. Returns false and leaves value untouched when the
  // object or the key is absent. Failures: GetOperationFailed.
  virtual bool GetValue(const ConfigStoreObjectId& id, const std::string& key,
                        std::string& value) const = 0;

  // Sets one key, creating the object when absent. Failures:
  // SetOperationFailed.
  virtual void SetValue(const ConfigStoreObjectId& id, const std::string& key,
                        const std::string& value) = 0;

  // Removes one key; false when the object or key was absent. Failures:
  // UpdateOperationFailed.
  virtual bool RemoveValue(const ConfigStoreObjectId& id,
                           const std::string& key) = 0;

  // Removes the object with all its keys; false when there was none.
  // Failures: DeleteOperationFailed.
  virtual bool DeleteObject(const ConfigStoreObjectId& id) = 0;

  virtual ~ConfigStore();

 protected:
  ConfigStore();
};

}  // namespace SkarnConfigStore

#endif
