// Turning failures into ConfigStoreException with the table's code and
// message. Internal to libskarnconfigstore.
#ifndef SKARNCONFIGSTORE_STOREERROR_H
#define SKARNCONFIGSTORE_STOREERROR_H

#include <string>

#include <quarryauth/platform/skarnconfigstore/CSErrorCodes.h>

namespace SkarnConfigStore {

// Throws the code with its template's placeholder filled by detail.
[[noreturn]] void ThrowStoreError(CSErrorCodes code,
                                  const std::string& detail = std::string());

[[noreturn]] void ThrowInvalidArgument();

// What one operation reports when SQLite fails it: a damaged database as
// IntegrityCheckFailed, anything else as code with the detail
// subject + ": " + SQLite's text for the result.
struct OperationError {
  CSErrorCodes code;
  std::string subject;

  [[noreturn]] void Raise(int sqliteResult) const;
};

bool IsCorruption(int sqliteResult);

}  // namespace SkarnConfigStore

#endif
