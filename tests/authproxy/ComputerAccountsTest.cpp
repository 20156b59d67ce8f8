// The proxy's account rules against a directory kept in memory: the
// domain first, the managedBy mark, the base container, one request per
// host at a time, and nothing changed after the deadline.
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "services/authproxyd/ComputerAccounts.h"

namespace quarry::authproxyd {
namespace {

const char kService[] = "CN=svc-proxy,CN=Users,DC=ad,DC=test";

// The directory's computer accounts by name, and every call in order.
struct Directory {
  std::mutex mutex;
  std::map<std::string, ExistingComputer> computers;
  std::map<std::string, std::string> passwords;
  std::map<std::string, std::string> hostNames;
  std::vector<std::string> calls;
  bool refuseDomain = false;
  // While set, AddComputer waits until it is cleared.
  bool holdAdds = false;
  std::condition_variable changed;
  int addsRunning = 0;
  int mostAddsAtOnce = 0;

  void Record(const std::string& call) {
    const std::lock_guard<std::mutex> lock(mutex);
    calls.push_back(call);
  }
};

class MemoryDirectory : public AccountDirectory {
 public:
  explicit MemoryDirectory(Directory& directory) : directory_(directory) {}
  DomainIdentity Domain() override {
    directory_.Record("Domain");
    if (directory_.refuseDomain) throw DirectoryError("no domain", false);
    return DomainIdentity{"AD", "ad.test", "S-1-5-21-1-2-3"};
  }
  std::string ServiceAccountDN() override { return kService; }
  std::optional<ExistingComputer> FindComputer(const std::string& name) override {
    directory_.Record("Find " + name);
    const std::lock_guard<std::mutex> lock(directory_.mutex);
    const auto found = directory_.computers.find(name);
    if (found == directory_.computers.end()) return std::nullopt;
    return found->second;
  }
  void AddComputer(const NewComputer& computer) override {
    directory_.Record("Add " + computer.dn);
    std::unique_lock<std::mutex> lock(directory_.mutex);
    ++directory_.addsRunning;
    directory_.mostAddsAtOnce =
        std::max(directory_.mostAddsAtOnce, directory_.addsRunning);
    directory_.changed.notify_all();
    directory_.changed.wait(lock, [this] { return !directory_.holdAdds; });
    --directory_.addsRunning;
    directory_.computers[computer.computerName] = {computer.dn,
                                                   computer.managedBy};
    directory_.passwords[computer.computerName] = computer.password;
    directory_.hostNames[computer.computerName] = computer.hostName;
  }
  std::string ResetComputer(const std::string& dn, const std::string& container,
                            const std::string& password) override {
    directory_.Record("Reset " + dn + " in " + container);
    const std::string name = dn.substr(3, dn.find(',') - 3);
    const std::lock_guard<std::mutex> lock(directory_.mutex);
    directory_.computers[name].dn = "CN=" + name + "," + container;
    directory_.passwords[name] = password;
    return directory_.computers[name].dn;
  }

 private:
  Directory& directory_;
};

class MemoryConnector : public DirectoryConnector {
 public:
  explicit MemoryConnector(Directory& directory) : directory_(directory) {}
  std::unique_ptr<AccountDirectory> Open(Clock::time_point) override {
    return std::make_unique<MemoryDirectory>(directory_);
  }

 private:
  Directory& directory_;
};

class ComputerAccountsTest : public ::testing::Test {
 protected:
  ComputerAccountsTest() : connector_(directory_), accounts_(connector_, settings_) {}

  static ProxySettings Settings() {
    ProxySettings settings;
    settings.domain = "ad.test";
    settings.serviceUser = "svc-proxy";
    settings.baseContainer = "OU=Hosts,DC=ad,DC=test";
    settings.defaultContainer = "OU=Hosts,DC=ad,DC=test";
    return settings;
  }

  static Clock::time_point Later() { return Clock::now() + std::chrono::seconds(30); }

  std::string Create(const std::string& host, const std::string& container = "") {
    return accounts_.CreateComputer(host, container, "Secret-1", Later());
  }

  Directory directory_;
  MemoryConnector connector_;
  ProxySettings settings_ = Settings();
  ComputerAccounts accounts_;
};

TEST_F(ComputerAccountsTest, CreatesAMarkedAccountAfterLearningTheDomain) {
  EXPECT_EQ(Create("node1.ad.test"), "CN=NODE1,OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(directory_.calls,
            (std::vector<std::string>{"Domain", "Find NODE1",
                                      "Add CN=NODE1,OU=Hosts,DC=ad,DC=test"}));
  EXPECT_EQ(directory_.computers["NODE1"].managedBy, kService);
  EXPECT_EQ(directory_.passwords["NODE1"], "Secret-1");
  EXPECT_EQ(directory_.hostNames["NODE1"], "node1.ad.test");
}

TEST_F(ComputerAccountsTest, CreatesInTheAskedOrTheComputersContainer) {
  EXPECT_EQ(Create("NODE1.AD.TEST", "OU=Rack 2,OU=Hosts,DC=ad,DC=test"),
            "CN=NODE1,OU=Rack 2,OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(directory_.hostNames["NODE1"], "node1.ad.test");
  settings_.defaultContainer.clear();
  settings_.baseContainer = "DC=ad,DC=test";
  directory_.computers.clear();
  EXPECT_EQ(Create("node1.ad.test"), "CN=NODE1,CN=Computers,DC=ad,DC=test");
}

TEST_F(ComputerAccountsTest, ResetsItsOwnAccountWhereItIsOrWhereAsked) {
  directory_.computers["NODE1"] = {"CN=NODE1,OU=Old,OU=Hosts,DC=ad,DC=test",
                                   "cn=SVC-PROXY, cn=users,dc=AD,dc=test"};
  EXPECT_EQ(Create("node1.ad.test"), "CN=NODE1,OU=Old,OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(directory_.calls.back(),
            "Reset CN=NODE1,OU=Old,OU=Hosts,DC=ad,DC=test in "
            "OU=Old,OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(Create("node1.ad.test", "OU=New,OU=Hosts,DC=ad,DC=test"),
            "CN=NODE1,OU=New,OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(directory_.passwords["NODE1"], "Secret-1");
}

TEST_F(ComputerAccountsTest, NeverResetsAnAccountOutsideTheBaseContainer) {
  directory_.computers["DC1"] = {"CN=DC1,OU=Domain Controllers,DC=ad,DC=test",
                                 kService};
  try {
    Create("dc1.ad.test");
    FAIL() << "reset";
  } catch (const AccountConflict& conflict) {
    EXPECT_STREQ(conflict.what(),
                 "the computer account for dc1.ad.test exists as "
                 "CN=DC1,OU=Domain Controllers,DC=ad,DC=test, outside the "
                 "proxy's base container \"OU=Hosts,DC=ad,DC=test\"; the "
                 "proxy does not reset it");
  }
  EXPECT_EQ(directory_.calls, (std::vector<std::string>{"Domain", "Find DC1"}));
  EXPECT_TRUE(directory_.passwords.empty());
}

TEST_F(ComputerAccountsTest, NeverResetsAnAccountItDidNotCreate) {
  for (const std::string& managedBy :
       {std::string(), std::string("CN=Someone,CN=Users,DC=ad,DC=test")}) {
    directory_.computers["FS01"] = {"CN=FS01,OU=Hosts,DC=ad,DC=test", managedBy};
    try {
      Create("fs01.ad.test");
      FAIL() << "reset";
    } catch (const AccountConflict& conflict) {
      EXPECT_STREQ(conflict.what(),
                   "the computer account for fs01.ad.test exists as "
                   "CN=FS01,OU=Hosts,DC=ad,DC=test and was not created by "
                   "this proxy (its managedBy does not name the proxy's "
                   "service account CN=svc-proxy,CN=Users,DC=ad,DC=test); the "
                   "proxy does not reset it");
    }
  }
  EXPECT_EQ(directory_.calls.back(), "Find FS01");
  EXPECT_TRUE(directory_.passwords.empty());
}

TEST_F(ComputerAccountsTest, TouchesNoAccountWithoutTheDomain) {
  directory_.refuseDomain = true;
  EXPECT_THROW(Create("node1.ad.test"), DirectoryError);
  EXPECT_EQ(directory_.calls, (std::vector<std::string>{"Domain"}));
}

TEST_F(ComputerAccountsTest, LearnsTheDomainOnce) {
  EXPECT_EQ(accounts_.Domain(Later()).sid, "S-1-5-21-1-2-3");
  EXPECT_EQ(accounts_.Domain(Later()).netbiosName, "AD");
  Create("node1.ad.test");
  EXPECT_EQ(std::count(directory_.calls.begin(), directory_.calls.end(), "Domain"), 1);
}

TEST_F(ComputerAccountsTest, ChangesNothingOnceTheDeadlineHasPassed) {
  directory_.computers["NODE2"] = {"CN=NODE2,OU=Hosts,DC=ad,DC=test", kService};
  for (const std::string host : {"node1.ad.test", "node2.ad.test"}) {
    try {
      accounts_.CreateComputer(host, "", "Secret-1",
                               Clock::now() - std::chrono::seconds(1));
      FAIL() << "changed " << host;
    } catch (const DirectoryError& error) {
      EXPECT_TRUE(error.TimedOut());
      EXPECT_EQ(std::string(error.what()),
                std::string("the request's time limit passed before the account was ") +
                    (host == "node1.ad.test" ? "created" : "reset") +
                    "; nothing was changed");
    }
  }
  EXPECT_TRUE(directory_.passwords.empty());
}

TEST_F(ComputerAccountsTest, RunsOneRequestPerHostAndHostsSideBySide) {
  directory_.holdAdds = true;
  std::thread first([this] { Create("node1.ad.test"); });
  {
    std::unique_lock<std::mutex> lock(directory_.mutex);
    directory_.changed.wait(lock, [this] { return directory_.addsRunning == 1; });
  }
  // The same host waits for the first request, and gives up at its deadline.
  try {
    accounts_.CreateComputer("NODE1.ad.test", "", "Secret-2",
                             Clock::now() + std::chrono::milliseconds(200));
    FAIL() << "ran beside the first request";
  } catch (const DirectoryError& error) {
    EXPECT_TRUE(error.TimedOut());
    EXPECT_STREQ(error.what(),
                 "an earlier request for NODE1.ad.test was still running when "
                 "the time limit passed");
  }
  // Another host does not wait.
  std::thread second([this] { Create("node2.ad.test"); });
  {
    std::unique_lock<std::mutex> lock(directory_.mutex);
    directory_.changed.wait(lock, [this] { return directory_.addsRunning == 2; });
    directory_.holdAdds = false;
  }
  directory_.changed.notify_all();
  first.join();
  second.join();
  EXPECT_EQ(directory_.mostAddsAtOnce, 2);
}

}  // namespace
}  // namespace quarry::authproxyd
