// The configuration store kept in an SQLite database shared by every
// process of the host. Internal to libskarnconfigstore; callers see
// ConfigStore.
#ifndef SKARNCONFIGSTORE_SQLITECONFIGSTORE_H
#define SKARNCONFIGSTORE_SQLITECONFIGSTORE_H

#include <cstdint>
#include <mutex>
#include <string>

#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>
#include "platform/skarnconfigstore/Sqlite.h"

namespace SkarnConfigStore {

class SqliteConfigStore : public ConfigStore {
 public:
  explicit SqliteConfigStore(const std::string& nameSpace);
  ~SqliteConfigStore() override;

  std::shared_ptr<StoreObject> GetObject(
      const ConfigStoreObjectId& id) const override;
  bool ObjectExists(const ConfigStoreObjectId& id) const override;
  std::vector<ConfigStoreObjectId> ListObjectIds(
      const std::string& group, const std::string& component) const override;
  void CreateObject(const std::shared_ptr<ConfigStoreObject>& object) override;
  void SetObject(const std::shared_ptr<ConfigStoreObject>& object,
                 int mode) override;
  void UpdateObject(const std::shared_ptr<ConfigStoreObject>& object) override;
  bool GetValue(const ConfigStoreObjectId& id, const std::string& key,
                std::string& value) const override;
  void SetValue(const ConfigStoreObjectId& id, const std::string& key,
                const std::string& value) override;
  bool RemoveValue(const ConfigStoreObjectId& id,
                   const std::string& key) override;
  bool DeleteObject(const ConfigStoreObjectId& id) override;

 private:
  // The row of the object, or 0 when it does not exist.
  int64_t FindObject(const ConfigStoreObjectId& id,
                     const OperationError& error) const;
  // The row of the object, inserted when missing.
  int64_t FindOrInsertObject(const ConfigStoreObjectId& id,
                             const OperationError& error);
  void WriteValue(int64_t object, const std::string& key,
                  const std::string& value, const OperationError& error);
  void WriteValues(int64_t object, const StoreObject& values,
                   const OperationError& error);
  void ClearValues(int64_t object, const OperationError& error);

  const std::string nameSpace_;
  Connection db_;
  // One connection serves every thread; a transaction is not interleaved.
  mutable std::mutex mutex_;
};

}  // namespace SkarnConfigStore

#endif
