// Opening the store's SQLite database: its place on disk, its settings and
// its schema. Internal to libskarnconfigstore.
#ifndef SKARNCONFIGSTORE_STOREDATABASE_H
#define SKARNCONFIGSTORE_STOREDATABASE_H

#include "platform/skarnconfigstore/Sqlite.h"

namespace SkarnConfigStore {

extern const char kStoreDirectory[];
extern const char kStorePath[];

// How long an operation waits for another process's write lock.
constexpr int kBusyTimeoutMilliseconds = 5000;

// The version of the schema below, kept in the database's user_version.
constexpr int kSchemaVersion = 1;

// Opens the database, first creating the directory (mode 0700) and the file
// (mode 0600) when missing, in write-ahead-log mode with full syncs and the
// busy time-out, with the schema in place. Throws ConfigStoreException:
// DatabaseOpenFailed, or IntegrityCheckFailed for a damaged file.
Connection OpenStoreDatabase();

}  // namespace SkarnConfigStore

#endif
