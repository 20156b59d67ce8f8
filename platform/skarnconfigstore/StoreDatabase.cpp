#include "platform/skarnconfigstore/StoreDatabase.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "common/DurableFile.h"
#include "common/UniqueFd.h"
#include "common/PrivateFolder.h"

namespace SkarnConfigStore {

const char kStoreDirectory[] = "/var/lib/quarry";
const char kStorePath[] = "/var/lib/quarry/configstore.db";

namespace {

// Objects are rows of their own so that an object without keys exists.
// Keys and values are compared and kept byte for byte.
const char kCreateSchema[] =
    "CREATE TABLE IF NOT EXISTS objects ("
    "  object_id INTEGER PRIMARY KEY,"
    "  namespace TEXT NOT NULL,"
    "  component TEXT NOT NULL,"
    "  object_group TEXT NOT NULL,"
    "  object_key TEXT NOT NULL,"
    "  UNIQUE (namespace, component, object_group, object_key));"
    "CREATE TABLE IF NOT EXISTS object_values ("
    "  object_id INTEGER NOT NULL REFERENCES objects (object_id),"
    "  name TEXT NOT NULL,"
    "  value TEXT NOT NULL,"
    "  PRIMARY KEY (object_id, name)) WITHOUT ROWID;";

[[noreturn]] void ThrowOpenFailed(const std::string& reason) {
  ThrowStoreError(CSErrorCodes::DatabaseOpenFailed,
                  std::string(kStorePath) + ": " + reason);
}

void CreateDirectory() {
  const int error = quarry::common::CreatePrivateFolder(kStoreDirectory);
  if (error != 0) ThrowOpenFailed(std::strerror(error));
}

// Creates the file with mode 0600 before SQLite does (SQLite would use
// 0644), and makes sure that it can be written: a store that cannot be
// written is refused here rather than at the first write.
void CreateOrCheckFile() {
  quarry::common::UniqueFd file(::open(
      kStorePath, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (file.Valid()) {
    if (::fchmod(file.Get(), 0600) != 0) ThrowOpenFailed(std::strerror(errno));
    return;
  }
  if (errno != EEXIST) ThrowOpenFailed(std::strerror(errno));
  quarry::common::UniqueFd existing(
      ::open(kStorePath, O_RDWR | O_CLOEXEC));
  if (!existing.Valid()) ThrowOpenFailed(std::strerror(errno));
}

const OperationError& OpenError() {
  static const OperationError error{CSErrorCodes::DatabaseOpenFailed,
                                    kStorePath};
  return error;
}

int SchemaVersion(sqlite3* db) {
  Statement version(db, "PRAGMA user_version", OpenError());
  return version.Step() ? static_cast<int>(version.Int64(0)) : 0;
}

void UseWriteAheadLog(sqlite3* db) {
  Statement mode(db, "PRAGMA journal_mode = WAL", OpenError());
  if (!mode.Step() || mode.Text(0) != "wal") {
    ThrowOpenFailed("write-ahead logging is not available");
  }
  // Committed transactions survive a power cut, not only a crash.
  Execute(db, "PRAGMA synchronous = FULL", OpenError());
}

// Several processes may open a new database at once; the write lock lets
// one of them create the schema and the others find it done.
void CreateSchema(sqlite3* db) {
  int version = SchemaVersion(db);
  if (version == 0) {
    Transaction transaction(db, OpenError());
    version = SchemaVersion(db);
    if (version == 0) {
      Execute(db, kCreateSchema, OpenError());
      const std::string setVersion =
          "PRAGMA user_version = " + std::to_string(kSchemaVersion);
      Execute(db, setVersion.c_str(), OpenError());
      transaction.Commit();
      version = kSchemaVersion;
    }
  }
  if (version > kSchemaVersion) {
    ThrowOpenFailed("schema version " + std::to_string(version) +
                    " is newer than this library supports");
  }
}

}  // namespace

Connection OpenStoreDatabase() {
  CreateDirectory();
  CreateOrCheckFile();

  sqlite3* handle = nullptr;
  const int result =
      sqlite3_open_v2(kStorePath, &handle,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  Connection db(handle);
  if (result != SQLITE_OK) OpenError().Raise(result);
  sqlite3_extended_result_codes(db.get(), 1);
  sqlite3_busy_timeout(db.get(), kBusyTimeoutMilliseconds);

  UseWriteAheadLog(db.get());
  CreateSchema(db.get());
  return db;
}

}  // namespace SkarnConfigStore
