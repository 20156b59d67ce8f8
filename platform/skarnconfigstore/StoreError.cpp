#include "platform/skarnconfigstore/StoreError.h"

#include <sqlite3.h>

#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>

namespace SkarnConfigStore {

void ThrowStoreError(CSErrorCodes code, const std::string& detail) {
  throw ConfigStoreException(code, FormatCSErrorMessage(code, {detail}));
}

void ThrowInvalidArgument() { ThrowStoreError(CSErrorCodes::InvalidArgument); }

bool IsCorruption(int sqliteResult) {
  const int primary = sqliteResult & 0xff;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

void OperationError::Raise(int sqliteResult) const {
  if (IsCorruption(sqliteResult)) {
    ThrowStoreError(CSErrorCodes::IntegrityCheckFailed);
  }
  ThrowStoreError(code, subject + ": " + sqlite3_errstr(sqliteResult));
}

}  // namespace SkarnConfigStore
