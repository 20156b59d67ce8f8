#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreObject.h>

#include "ConfigStoreSupport.h"

namespace {

using quarry::test::GlobalStore;
using SkarnConfigStore::ConfigStoreObject;
using SkarnConfigStore::ConfigStoreObjectId;

const char kDatabase[] = "/var/lib/quarry/configstore.db";
const int kObjects = 4;
const int kKeysPerObject = 8;

ConfigStoreObjectId ObjectId(int object) {
  return ConfigStoreObjectId("object" + std::to_string(object), "test",
                             "skarn");
}

// Generation g of an object: every key holds g.
std::shared_ptr<ConfigStoreObject> Generation(int object, int generation) {
  auto stored = std::make_shared<ConfigStoreObject>(ObjectId(object));
  for (int key = 0; key < kKeysPerObject; ++key) {
    stored->SetValue("key" + std::to_string(key), std::to_string(generation));
  }
  return stored;
}

// Runs body in a child process; the child's exit status tells whether body
// finished without an exception.
template <class Body>
pid_t Spawn(Body body) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  try {
    body();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "child failed: %s\n", error.what());
    ::_exit(1);
  }
  ::_exit(0);
}

bool ExitedCleanly(pid_t child) {
  int status = 0;
  return ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

std::string IntegrityCheck() {
  sqlite3* db = nullptr;
  sqlite3_open_v2(kDatabase, &db, SQLITE_OPEN_READONLY, nullptr);
  sqlite3_stmt* check = nullptr;
  std::string result = "no result";
  if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &check, nullptr) ==
          SQLITE_OK &&
      sqlite3_step(check) == SQLITE_ROW) {
    result = reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
  }
  sqlite3_finalize(check);
  sqlite3_close(db);
  return result;
}

// Each stored object holds one generation whole: all its keys, one value.
void ExpectWholeGenerations(int& newestSeen) {
  const auto store = GlobalStore();
  for (int object = 0; object < kObjects; ++object) {
    const auto stored = store->GetObject(ObjectId(object));
    ASSERT_TRUE(stored) << "object " << object;
    const auto& values = stored->GetValues();
    ASSERT_EQ(static_cast<std::size_t>(kKeysPerObject), values.size());
    const std::string generation = values.begin()->second;
    for (const auto& pair : values) {
      EXPECT_EQ(generation, pair.second) << pair.first;
    }
    newestSeen = std::max(newestSeen, std::stoi(generation));
  }
}

TEST(ConfigStoreProcesses, KilledWriterLeavesWholeObjects) {
  GlobalStore();  // the database exists before the first kill
  int firstGeneration = 1;
  const useconds_t delays[] = {0, 5000, 20000, 50000, 100000};
  for (useconds_t delay : delays) {
    int started[2];
    ASSERT_EQ(0, ::pipe(started));
    const pid_t writer = Spawn([&] {
      const auto store = GlobalStore();
      for (int generation = firstGeneration;; ++generation) {
        for (int object = 0; object < kObjects; ++object) {
          store->SetObject(Generation(object, generation), 0);
        }
        if (generation == firstGeneration && ::write(started[1], "S", 1) != 1) {
          throw std::runtime_error("cannot report progress");
        }
      }
    });
    ASSERT_NE(-1, writer);
    char signal = 0;
    ASSERT_EQ(1, ::read(started[0], &signal, 1));
    ::usleep(delay);
    ASSERT_EQ(0, ::kill(writer, SIGKILL));
    int status = 0;
    ASSERT_EQ(writer, ::waitpid(writer, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
    ::close(started[0]);
    ::close(started[1]);

    EXPECT_EQ("ok", IntegrityCheck());
    int newestSeen = 0;
    ExpectWholeGenerations(newestSeen);
    EXPECT_GE(newestSeen, firstGeneration) << "after " << delay << " us";
    firstGeneration += 1000000;
  }
}

TEST(ConfigStoreProcesses, TwoWritersAtOnceLoseNothing) {
  GlobalStore();
  const ConfigStoreObjectId shared("shared", "test", "skarn");
  const int kWrites = 100;
  int start[2];
  ASSERT_EQ(0, ::pipe(start));
  const auto writer = [&](const std::string& name) {
    return Spawn([&, name] {
      char go;
      if (::read(start[0], &go, 1) != 1) throw std::runtime_error("no start");
      const auto store = GlobalStore();
      for (int i = 0; i < kWrites; ++i) {
        store->SetValue(shared, name + "-" + std::to_string(i), name);
        auto own = std::make_shared<ConfigStoreObject>(ConfigStoreObjectId(
            name + std::to_string(i % 10), "test", "skarn"));
        own->SetValue("count", std::to_string(i));
        store->SetObject(own, SkarnConfigStore::StoreModeMerge);
      }
    });
  };
  const pid_t first = writer("first");
  const pid_t second = writer("second");
  ASSERT_EQ(2, ::write(start[1], "GG", 2));
  EXPECT_TRUE(ExitedCleanly(first));
  EXPECT_TRUE(ExitedCleanly(second));
  ::close(start[0]);
  ::close(start[1]);

  const auto store = GlobalStore();
  const auto values = store->GetObject(shared)->GetValues();
  ASSERT_EQ(static_cast<std::size_t>(2 * kWrites), values.size());
  for (int i = 0; i < kWrites; ++i) {
    EXPECT_EQ("first", values.at("first-" + std::to_string(i)));
    EXPECT_EQ("second", values.at("second-" + std::to_string(i)));
  }
  for (const std::string name : {"first", "second"}) {
    for (int j = 0; j < 10; ++j) {
      std::string count;
      EXPECT_TRUE(store->GetValue(
          ConfigStoreObjectId(name + std::to_string(j), "test", "skarn"),
          "count", count));
      EXPECT_EQ(std::to_string(90 + j), count);
    }
  }
  EXPECT_EQ(20u, store->ListObjectIds("test", "skarn").size() - 1);
}

}  // namespace
