#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>

#include "ConfigStoreSupport.h"
#include "SandboxSupport.h"

namespace {

using SkarnConfigStore::ConfigStore;
using SkarnConfigStore::ConfigStoreObject;
using SkarnConfigStore::ConfigStoreObjectId;
using SkarnConfigStore::CSErrorCodes;
namespace qt = quarry::test;
using quarry::test::GlobalStore;

const char kDirectory[] = "/var/lib/quarry";
const char kDatabase[] = "/var/lib/quarry/configstore.db";
const ConfigStoreObjectId kDomainId("active_directory", "identity", "skarn");

std::pair<CSErrorCodes, std::string> OpenFailure() {
  return qt::StoreFailureOf([] { GlobalStore(); });
}

void StoreDomain(const std::string& name) {
  GlobalStore()->SetValue(kDomainId, "domain_name", name);
}

std::string StoredDomain() {
  std::string name = "<absent>";
  GlobalStore()->GetValue(kDomainId, "domain_name", name);
  return name;
}

// A connection of the test's own, beside the library's.
class RawDatabase {
 public:
  RawDatabase() { sqlite3_open(kDatabase, &db_); }
  ~RawDatabase() { sqlite3_close(db_); }
  int Execute(const std::string& sql) {
    return sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr);
  }

 private:
  sqlite3* db_ = nullptr;
};

TEST(ConfigStoreFailure, ReportsAFileThatIsNotADatabase) {
  ASSERT_EQ(0, ::mkdir(kDirectory, 0700));
  qt::WriteFile(kDatabase, std::string(8192, 'x'), 0600);
  const auto failure = OpenFailure();
  EXPECT_EQ(CSErrorCodes::IntegrityCheckFailed, failure.first);
  EXPECT_EQ("Failed integrity check on the database", failure.second);
}

TEST(ConfigStoreFailure, ReportsDamagedPages) {
  for (int i = 0; i < 200; ++i) {
    GlobalStore()->SetValue(kDomainId, "key" + std::to_string(i),
                            std::string(100, 'v'));
  }
  // Every page after the first (which holds the schema) overwritten.
  const std::string contents = qt::ReadFile(kDatabase);
  ASSERT_GT(contents.size(), 4096u * 3);
  qt::WriteFile(
      kDatabase,
      contents.substr(0, 4096) + std::string(contents.size() - 4096, '\xa5'),
      0600);
  const auto failure =
      qt::StoreFailureOf([] { GlobalStore()->GetObject(kDomainId); });
  EXPECT_EQ(CSErrorCodes::IntegrityCheckFailed, failure.first);
  EXPECT_EQ("Failed integrity check on the database", failure.second);
}

TEST(ConfigStoreFailure, ReportsAnEmptyReadOnlyMount) {
  ASSERT_EQ(0,
            qt::Run("mkdir /var/lib/quarry && "
                    "mount -t tmpfs -o ro,mode=0700 quarry /var/lib/quarry"));
  const auto failure = OpenFailure();
  EXPECT_EQ(CSErrorCodes::DatabaseOpenFailed, failure.first);
  EXPECT_EQ(
      "Failed to open database /var/lib/quarry/configstore.db: Read-only file "
      "system",
      failure.second);
}

TEST(ConfigStoreFailure, ReportsAStoreOnAMountMadeReadOnly) {
  ASSERT_EQ(0, qt::Run("mkdir /var/lib/quarry && "
                       "mount -t tmpfs -o mode=0700 quarry /var/lib/quarry"));
  StoreDomain("ad.test");
  ASSERT_EQ(0, qt::Run("mount -o remount,ro /var/lib/quarry"));
  const auto failure = OpenFailure();
  EXPECT_EQ(CSErrorCodes::DatabaseOpenFailed, failure.first);
  EXPECT_EQ(
      "Failed to open database /var/lib/quarry/configstore.db: Read-only file "
      "system",
      failure.second);
}

TEST(ConfigStoreFailure, ReportsAPathThatIsNotADirectory) {
  qt::WriteFile(kDirectory, "not a directory", 0600);
  const auto failure = OpenFailure();
  EXPECT_EQ(CSErrorCodes::DatabaseOpenFailed, failure.first);
  EXPECT_EQ(
      "Failed to open database /var/lib/quarry/configstore.db: Not a "
      "directory",
      failure.second);
}

TEST(ConfigStoreFailure, ReportsADatabasePathThatIsADirectory) {
  ASSERT_EQ(0, qt::Run("mkdir -p /var/lib/quarry/configstore.db"));
  const auto failure = OpenFailure();
  EXPECT_EQ(CSErrorCodes::DatabaseOpenFailed, failure.first);
  EXPECT_EQ(
      "Failed to open database /var/lib/quarry/configstore.db: Is a directory",
      failure.second);
}

TEST(ConfigStoreFailure, RefusesANewerSchema) {
  StoreDomain("ad.test");
  {
    RawDatabase raw;
    ASSERT_EQ(SQLITE_OK, raw.Execute("PRAGMA user_version = 2"));
  }
  const auto failure = OpenFailure();
  EXPECT_EQ(CSErrorCodes::DatabaseOpenFailed, failure.first);
  EXPECT_EQ(
      "Failed to open database /var/lib/quarry/configstore.db: schema version "
      "2 is newer than this library supports",
      failure.second);
}

TEST(ConfigStoreFailure, ReportsAFullDiskAndKeepsTheOldObject) {
  ASSERT_EQ(0, qt::Run("mkdir /var/lib/quarry && mount -t tmpfs -o "
                       "size=256k,mode=0700 quarry /var/lib/quarry"));
  StoreDomain("ad.test");
  const ConfigStoreObjectId bigId("big", "identity", "skarn");
  auto big = std::make_shared<ConfigStoreObject>(bigId);
  for (int i = 0; i < 8; ++i) {
    big->SetValue("part" + std::to_string(i), std::string(64 * 1024, 'b'));
  }
  const auto store = GlobalStore();
  const auto failure = qt::StoreFailureOf([&] { store->SetObject(big, 0); });
  EXPECT_EQ(CSErrorCodes::SetOperationFailed, failure.first);
  EXPECT_EQ(
      "Set operation failed: skarn/identity/big: database or disk is full",
      failure.second);
  EXPECT_FALSE(store->ObjectExists(bigId));
  EXPECT_FALSE(GlobalStore()->ObjectExists(bigId));
  EXPECT_EQ("ad.test", StoredDomain());
}

TEST(ConfigStoreFailure, ReportsALockHeldLongerThanTheBusyTimeOut) {
  StoreDomain("ad.test");
  RawDatabase holder;
  ASSERT_EQ(SQLITE_OK, holder.Execute("BEGIN IMMEDIATE"));
  const auto store = GlobalStore();
  // Readers are not blocked by a writer.
  EXPECT_EQ("ad.test", StoredDomain());
  const auto started = std::chrono::steady_clock::now();
  const auto failure = qt::StoreFailureOf(
      [&] { store->SetValue(kDomainId, "domain_name", "other.test"); });
  const auto waited = std::chrono::steady_clock::now() - started;
  EXPECT_EQ(CSErrorCodes::SetOperationFailed, failure.first);
  EXPECT_EQ(
      "Set operation failed: skarn/identity/active_directory: database is "
      "locked",
      failure.second);
  EXPECT_GE(waited, std::chrono::milliseconds(4500));
  ASSERT_EQ(SQLITE_OK, holder.Execute("ROLLBACK"));
  EXPECT_EQ("ad.test", StoredDomain());
  store->SetValue(kDomainId, "domain_name", "other.test");
  EXPECT_EQ("other.test", StoredDomain());
}

TEST(ConfigStoreFailure, WaitsForALockReleasedWithinTheBusyTimeOut) {
  StoreDomain("ad.test");
  int locked[2];
  ASSERT_EQ(0, ::pipe(locked));
  const pid_t child = ::fork();
  ASSERT_NE(-1, child);
  if (child == 0) {
    RawDatabase holder;
    if (holder.Execute("BEGIN IMMEDIATE") != SQLITE_OK) ::_exit(1);
    if (::write(locked[1], "L", 1) != 1) ::_exit(1);
    ::usleep(1000 * 1000);
    ::_exit(holder.Execute("COMMIT") == SQLITE_OK ? 0 : 1);
  }
  char signal = 0;
  ASSERT_EQ(1, ::read(locked[0], &signal, 1));
  const auto started = std::chrono::steady_clock::now();
  GlobalStore()->SetValue(kDomainId, "domain_name", "other.test");
  EXPECT_GE(std::chrono::steady_clock::now() - started,
            std::chrono::milliseconds(500));
  int status = 0;
  ASSERT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ("other.test", StoredDomain());
  ::close(locked[0]);
  ::close(locked[1]);
}

}  // namespace
