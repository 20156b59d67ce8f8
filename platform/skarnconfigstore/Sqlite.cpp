#include "platform/skarnconfigstore/Sqlite.h"

namespace SkarnConfigStore {

Statement::Statement(sqlite3* db, const char* sql, const OperationError& error)
    : statement_(nullptr), error_(error) {
  const int result = sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr);
  if (result != SQLITE_OK) error_.Raise(result);
}

Statement::~Statement() { sqlite3_finalize(statement_); }

Statement& Statement::Bind(int index, const std::string& text) {
  const int result =
      sqlite3_bind_text64(statement_, index, text.data(), text.size(),
                          SQLITE_TRANSIENT, SQLITE_UTF8);
  if (result != SQLITE_OK) error_.Raise(result);
  return *this;
}

Statement& Statement::Bind(int index, int64_t value) {
  const int result = sqlite3_bind_int64(statement_, index, value);
  if (result != SQLITE_OK) error_.Raise(result);
  return *this;
}

bool Statement::Step() {
  const int result = sqlite3_step(statement_);
  if (result == SQLITE_ROW) return true;
  if (result == SQLITE_DONE) return false;
  error_.Raise(result);
}

void Statement::Run() {
  while (Step()) {
  }
}

std::string Statement::Text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_, column);
  const int size = sqlite3_column_bytes(statement_, column);
  if (text == nullptr) return std::string();
  return std::string(reinterpret_cast<const char*>(text),
                     static_cast<std::string::size_type>(size));
}

int64_t Statement::Int64(int column) const {
  return sqlite3_column_int64(statement_, column);
}

bool Statement::IsNull(int column) const {
  return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

Transaction::Transaction(sqlite3* db, const OperationError& error)
    : db_(db), error_(error), committed_(false) {
  Execute(db_, "BEGIN IMMEDIATE", error_);
}

Transaction::~Transaction() {
  // SQLite may have rolled back already after an I/O error or a full disk.
  if (!committed_ && sqlite3_get_autocommit(db_) == 0) {
    sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void Transaction::Commit() {
  Execute(db_, "COMMIT", error_);
  committed_ = true;
}

void Execute(sqlite3* db, const char* sql, const OperationError& error) {
  const int result = sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
  if (result != SQLITE_OK) error.Raise(result);
}

}  // namespace SkarnConfigStore
