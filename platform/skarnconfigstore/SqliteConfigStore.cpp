#include "platform/skarnconfigstore/SqliteConfigStore.h"

#include "platform/skarnconfigstore/StoreDatabase.h"

namespace SkarnConfigStore {

namespace {

using Lock = std::lock_guard<std::mutex>;

// Parameters 1 to 4 of every statement that names one object.
const char kObjectMatches[] =
    "namespace = ?1 AND component = ?2 AND object_group = ?3 AND "
    "object_key = ?4";

std::string Sql(const char* head, const char* tail = "") {
  return std::string(head) + kObjectMatches + tail;
}

Statement& BindId(Statement& statement, const std::string& nameSpace,
                  const ConfigStoreObjectId& id) {
  return statement.Bind(1, nameSpace)
      .Bind(2, id.GetComponent())
      .Bind(3, id.GetGroup())
      .Bind(4, id.GetKey());
}

void CheckId(const ConfigStoreObjectId& id) {
  if (!id.IsValid()) ThrowInvalidArgument();
}

void CheckObject(const std::shared_ptr<ConfigStoreObject>& object) {
  if (!object) ThrowInvalidArgument();
  CheckId(object->GetId());
}

OperationError ErrorFor(CSErrorCodes code, const ConfigStoreObjectId& id) {
  return OperationError{code, id.ToString()};
}

}  // namespace

SqliteConfigStore::SqliteConfigStore(const std::string& nameSpace)
    : nameSpace_(nameSpace), db_(OpenStoreDatabase()) {}

SqliteConfigStore::~SqliteConfigStore() = default;

std::shared_ptr<StoreObject> SqliteConfigStore::GetObject(
    const ConfigStoreObjectId& id) const {
  CheckId(id);
  const OperationError error = ErrorFor(CSErrorCodes::GetOperationFailed, id);
  const Lock lock(mutex_);
  // One statement, so that the object and its keys come from one snapshot.
  const std::string sql =
      Sql("SELECT v.name, v.value FROM objects o "
          "LEFT JOIN object_values v ON v.object_id = o.object_id WHERE ");
  Statement select(db_.get(), sql.c_str(), error);
  BindId(select, nameSpace_, id);
  std::shared_ptr<ConfigStoreObject> object;
  while (select.Step()) {
    if (!object) object = std::make_shared<ConfigStoreObject>(id);
    if (!select.IsNull(0)) object->SetValue(select.Text(0), select.Text(1));
  }
  return object;
}

bool SqliteConfigStore::ObjectExists(const ConfigStoreObjectId& id) const {
  CheckId(id);
  const OperationError error = ErrorFor(CSErrorCodes::GetOperationFailed, id);
  const Lock lock(mutex_);
  return FindObject(id, error) != 0;
}

std::vector<ConfigStoreObjectId> SqliteConfigStore::ListObjectIds(
    const std::string& group, const std::string& component) const {
  const OperationError error{CSErrorCodes::GetOperationFailed,
                             component + "/" + group};
  const Lock lock(mutex_);
  Statement select(db_.get(),
                   "SELECT object_key FROM objects WHERE namespace = ?1 AND "
                   "component = ?2 AND object_group = ?3 ORDER BY object_key",
                   error);
  select.Bind(1, nameSpace_).Bind(2, component).Bind(3, group);
  std::vector<ConfigStoreObjectId> ids;
  while (select.Step()) ids.emplace_back(select.Text(0), group, component);
  return ids;
}

void SqliteConfigStore::CreateObject(
    const std::shared_ptr<ConfigStoreObject>& object) {
  CheckObject(object);
  const ConfigStoreObjectId& id = object->GetId();
  const OperationError error = ErrorFor(CSErrorCodes::SetOperationFailed, id);
  const Lock lock(mutex_);
  Transaction transaction(db_.get(), error);
  if (FindObject(id, error) != 0) {
    ThrowStoreError(CSErrorCodes::ObjectAlreadyExists, id.ToString());
  }
  WriteValues(FindOrInsertObject(id, error), *object, error);
  transaction.Commit();
}

void SqliteConfigStore::SetObject(
    const std::shared_ptr<ConfigStoreObject>& object, int mode) {
  CheckObject(object);
  if (mode != StoreModeReplace && mode != StoreModeMerge) {
    ThrowInvalidArgument();
  }
  const ConfigStoreObjectId& id = object->GetId();
  const OperationError error = ErrorFor(CSErrorCodes::SetOperationFailed, id);
  const Lock lock(mutex_);
  Transaction transaction(db_.get(), error);
  const int64_t row = FindOrInsertObject(id, error);
  if (mode == StoreModeReplace) ClearValues(row, error);
  WriteValues(row, *object, error);
  transaction.Commit();
}

void SqliteConfigStore::UpdateObject(
    const std::shared_ptr<ConfigStoreObject>& object) {
  CheckObject(object);
  const ConfigStoreObjectId& id = object->GetId();
  const OperationError error =
      ErrorFor(CSErrorCodes::UpdateOperationFailed, id);
  const Lock lock(mutex_);
  Transaction transaction(db_.get(), error);
  const int64_t row = FindObject(id, error);
  if (row == 0) ThrowStoreError(CSErrorCodes::ObjectNotFound, id.ToString());
  WriteValues(row, *object, error);
  transaction.Commit();
}

bool SqliteConfigStore::GetValue(const ConfigStoreObjectId& id,
                                 const std::string& key,
                                 std::string& value) const {
  CheckId(id);
  const OperationError error = ErrorFor(CSErrorCodes::GetOperationFailed, id);
  const Lock lock(mutex_);
  const std::string sql =
      Sql("SELECT v.value FROM objects o JOIN object_values v "
          "ON v.object_id = o.object_id WHERE v.name = ?5 AND ");
  Statement select(db_.get(), sql.c_str(), error);
  BindId(select, nameSpace_, id).Bind(5, key);
  if (!select.Step()) return false;
  value = select.Text(0);
  return true;
}

void SqliteConfigStore::SetValue(const ConfigStoreObjectId& id,
                                 const std::string& key,
                                 const std::string& value) {
  CheckId(id);
  const OperationError error = ErrorFor(CSErrorCodes::SetOperationFailed, id);
  const Lock lock(mutex_);
  Transaction transaction(db_.get(), error);
  WriteValue(FindOrInsertObject(id, error), key, value, error);
  transaction.Commit();
}

bool SqliteConfigStore::RemoveValue(const ConfigStoreObjectId& id,
                                    const std::string& key) {
  CheckId(id);
  const OperationError error =
      ErrorFor(CSErrorCodes::UpdateOperationFailed, id);
  const Lock lock(mutex_);
  Transaction transaction(db_.get(), error);
  const int64_t row = FindObject(id, error);
  if (row == 0) return false;
  Statement remove(db_.get(),
                   "DELETE FROM object_values WHERE object_id = ?1 AND "
                   "name = ?2",
                   error);
  remove.Bind(1, row).Bind(2, key).Run();
  const bool removed = sqlite3_changes(db_.get()) > 0;
  transaction.Commit();
  return removed;
}

bool SqliteConfigStore::DeleteObject(const ConfigStoreObjectId& id) {
  CheckId(id);
  const OperationError error =
      ErrorFor(CSErrorCodes::DeleteOperationFailed, id);
  const Lock lock(mutex_);
  Transaction transaction(db_.get(), error);
  const int64_t row = FindObject(id, error);
  if (row == 0) return false;
  ClearValues(row, error);
  Statement remove(db_.get(), "DELETE FROM objects WHERE object_id = ?1",
                   error);
  remove.Bind(1, row).Run();
  transaction.Commit();
  return true;
}

int64_t SqliteConfigStore::FindObject(const ConfigStoreObjectId& id,
                                      const OperationError& error) const {
  const std::string sql = Sql("SELECT object_id FROM objects WHERE ");
  Statement select(db_.get(), sql.c_str(), error);
  BindId(select, nameSpace_, id);
  return select.Step() ? select.Int64(0) : 0;
}

int64_t SqliteConfigStore::FindOrInsertObject(const ConfigStoreObjectId& id,
                                              const OperationError& error) {
  const int64_t row = FindObject(id, error);
  if (row != 0) return row;
  Statement insert(db_.get(),
                   "INSERT INTO objects (namespace, component, object_group, "
                   "object_key) VALUES (?1, ?2, ?3, ?4)",
                   error);
  BindId(insert, nameSpace_, id).Run();
  return sqlite3_last_insert_rowid(db_.get());
}

void SqliteConfigStore::WriteValue(int64_t object, const std::string& key,
                                   const std::string& value,
                                   const OperationError& error) {
  Statement upsert(db_.get(),
                   "INSERT OR REPLACE INTO object_values (object_id, name, "
                   "value) VALUES (?1, ?2, ?3)",
                   error);
  upsert.Bind(1, object).Bind(2, key).Bind(3, value).Run();
}

void SqliteConfigStore::WriteValues(int64_t object, const StoreObject& values,
                                    const OperationError& error) {
  for (const auto& pair : values.GetValues()) {
    WriteValue(object, pair.first, pair.second, error);
  }
}

void SqliteConfigStore::ClearValues(int64_t object,
                                    const OperationError& error) {
  Statement clear(db_.get(), "DELETE FROM object_values WHERE object_id = ?1",
                  error);
  clear.Bind(1, object).Run();
}

}  // namespace SkarnConfigStore
