// Owning wrappers of SQLite connections and statements whose failures are
// reported as one operation's ConfigStoreException. Internal to
// libskarnconfigstore.
#ifndef SKARNCONFIGSTORE_SQLITE_H
#define SKARNCONFIGSTORE_SQLITE_H

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>

#include "platform/skarnconfigstore/StoreError.h"

namespace SkarnConfigStore {

struct ConnectionCloser {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Connection = std::unique_ptr<sqlite3, ConnectionCloser>;

// error must outlive the statement; it names the operation in every
// failure.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql, const OperationError& error);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Parameters are numbered from 1.
  Statement& Bind(int index, const std::string& text);
  Statement& Bind(int index, int64_t value);

  // True while there is a row to read, false when done.
  bool Step();
  // Steps through every row, for statements that return none.
  void Run();

  std::string Text(int column) const;
  int64_t Int64(int column) const;
  bool IsNull(int column) const;

 private:
  sqlite3_stmt* statement_;
  const OperationError& error_;
};

// BEGIN IMMEDIATE: takes the write lock at once, waiting for it up to the
// connection's busy time-out, so that a transaction never fails half-way
// for want of the lock. Rolls back unless committed.
class Transaction {
 public:
  Transaction(sqlite3* db, const OperationError& error);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit();

 private:
  sqlite3* db_;
  const OperationError& error_;
  bool committed_;
};

// Runs SQL that returns no rows.
void Execute(sqlite3* db, const char* sql, const OperationError& error);

}  // namespace SkarnConfigStore

#endif
