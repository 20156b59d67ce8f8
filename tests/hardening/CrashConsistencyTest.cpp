// A process that keeps rewriting authentication.conf and the domain record
// is killed at random moments, a few hundred times. After every kill the
// file parses and holds the last generation that the writer finished or
// the one it was writing, whole; so does the store.
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <random>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "support/Files.h"

namespace {

namespace qa = quarry::authentication;

const char kConfigurationPath[] = "/etc/quarry/quarryauth/authentication.conf";
const int kKills = 300;
const auto kTimeBudget = std::chrono::seconds(30);

// Generations that the writer has finished, shared with the test process.
struct Progress {
  std::atomic<long> configuration;
  std::atomic<long> store;
};

// Every key of a generation carries its number, so that a file mixing two
// generations is caught.
void WriteConfiguration(long generation) {
  qa::Configuration configuration(kConfigurationPath);
  const std::string number = std::to_string(generation);
  configuration["generation"] = number;
  configuration["remote-authentication-store"] =
      generation % 2 == 0 ? "None" : "Active Directory";
  configuration["text"] = std::string(3000 + generation % 1000, 'a') + number;
  configuration.Write();
}

long ConfigurationGeneration() {
  const qa::Configuration configuration(kConfigurationPath);
  const std::string number = configuration["generation"];
  const long generation = std::stol(number);
  const std::string store = generation % 2 == 0 ? "None" : "Active Directory";
  const std::string text =
      std::string(3000 + generation % 1000, 'a') + number;
  if (configuration["remote-authentication-store"] != store ||
      configuration["text"] != text) {
    return -1;
  }
  return generation;
}

void WriteStore(long generation) {
  const std::string number = std::to_string(generation);
  qa::ActiveDirectoryConfigStore().StoreDomainInfo(
      "generation" + number + ".test", "OU=" + number, "10.0.0." + number);
}

long StoreGeneration() {
  const qa::ActiveDirectoryConfigStore store;
  const std::string domain = store.GetDomainName();
  const std::string number =
      domain.substr(std::string("generation").size(),
                    domain.size() - std::string("generation.test").size());
  if (store.GetOrganizationalUnit() != "OU=" + number ||
      store.GetAuthProxyAddr() != "10.0.0." + number) {
    return -1;
  }
  return std::stol(number);
}

[[noreturn]] void RewriteForever(Progress& progress, long generation) {
  for (;; ++generation) {
    WriteConfiguration(generation);
    progress.configuration = generation;
    WriteStore(generation);
    progress.store = generation;
  }
}

TEST(CrashConsistency, KilledWriterLeavesOldOrNewContents) {
  void* shared = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(MAP_FAILED, shared);
  Progress& progress = *new (shared) Progress{{0}, {0}};
  quarry_test::WriteFile(kConfigurationPath, "");
  WriteConfiguration(0);
  WriteStore(0);

  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> delayMicroseconds(0, 20000);
  const auto deadline = std::chrono::steady_clock::now() + kTimeBudget;
  long next = 1;
  int kills = 0;
  for (; kills < kKills && std::chrono::steady_clock::now() < deadline;
       ++kills) {
    const pid_t writer = ::fork();
    ASSERT_NE(-1, writer);
    if (writer == 0) RewriteForever(progress, next);
    std::this_thread::sleep_for(
        std::chrono::microseconds(delayMicroseconds(random)));
    ASSERT_EQ(0, ::kill(writer, SIGKILL));
    int status = 0;
    ASSERT_EQ(writer, ::waitpid(writer, &status, 0));
    ASSERT_TRUE(WIFSIGNALED(status));

    const long configurationDone = progress.configuration;
    const long storeDone = progress.store;
    const long configuration = ConfigurationGeneration();
    const long store = StoreGeneration();
    ASSERT_TRUE(configuration == configurationDone ||
                configuration == configurationDone + 1)
        << "kill " << kills << ": file holds generation " << configuration
        << ", writer had finished " << configurationDone;
    ASSERT_TRUE(store == storeDone || store == storeDone + 1)
        << "kill " << kills << ": store holds generation " << store
        << ", writer had finished " << storeDone;
    next = std::max(configuration, store) + 1;
    progress.configuration = next - 1;
    progress.store = next - 1;
    // The next writer starts where this one stopped; one generation done
    // must be what both hold now.
    if (configuration != store) {
      WriteConfiguration(next - 1);
      WriteStore(next - 1);
    }
  }
  EXPECT_GE(kills, 100);
  // The writers got somewhere between the kills.
  EXPECT_GT(next, kills / 4);
  RecordProperty("kills", kills);
  RecordProperty("generations", static_cast<int>(next));
  ::munmap(shared, sizeof(Progress));
}

}  // namespace
