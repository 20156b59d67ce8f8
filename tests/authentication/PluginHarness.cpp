#include "PluginHarness.h"

#include "support/Files.h"

#include <chrono>
#include <dirent.h>
#include <dlfcn.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace quarryauth_test {

namespace {

const char kLibexec[] = "/usr/libexec/quarryauth/";

void MakeDirectories(const std::string& path) {
  for (size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    mkdir(path.substr(0, slash).c_str(), 0755);
  }
}

}  // namespace

std::string InstalledPluginPath(const std::string& name,
                                PluginDirectory directory) {
  std::string folder = kLibexec;
  if (directory == PluginDirectory::Lib64) folder += "lib64/";
  return folder + "lib" + name + ".so";
}

std::string InstallPlugin(const std::string& variant, const std::string& name,
                          PluginDirectory directory) {
  const std::string target = InstalledPluginPath(name, directory);
  MakeDirectories(target);
  const std::string built =
      std::string(QUARRYAUTH_TEST_ADCLIENT_DIR) + "/libtestad" + variant +
      ".so";
  WriteFile(target, ReadFile(built));
  return target;
}

void WriteProviderConfiguration(const std::string& name) {
  WriteFile("/etc/quarry/quarryauth/provider.conf",
            "provider = \"" + name + "\"\n");
}

void WriteActiveStore(const std::string& name) {
  WriteFile("/etc/quarry/quarryauth/authentication.conf",
            "remote-authentication-store = \"" + name + "\"\n");
}

void WriteFile(const std::string& path, const std::string& contents) {
  quarry_test::WriteFile(path, contents);
}

std::string ReadFile(const std::string& path) {
  return quarry_test::ReadFile(path);
}

bool IsLoaded(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  dlclose(handle);
  return true;
}

PluginControl::PluginControl(const std::string& path)
    : handle(dlopen(path.c_str(), RTLD_NOW)) {
  if (handle == nullptr) throw std::runtime_error(dlerror());
}

PluginControl::~PluginControl() { dlclose(handle); }

void* PluginControl::Symbol(const char* name) {
  void* address = dlsym(handle, name);
  if (address == nullptr) throw std::runtime_error(dlerror());
  return address;
}

void PluginControl::SetStatuses(TestOperation operation,
                                const std::vector<uint32_t>& statuses) {
  Resolve<decltype(&TestADClientSetStatuses)>("TestADClientSetStatuses")(
      operation, statuses.data(), static_cast<int>(statuses.size()));
}

void PluginControl::SetStatus(TestOperation operation, uint32_t status) {
  SetStatuses(operation, {status});
}

void PluginControl::SetValue(TestOperation operation, uint32_t value) {
  Resolve<decltype(&TestADClientSetValue)>("TestADClientSetValue")(operation,
                                                                   value);
}

void PluginControl::SetTexts(TestOperation operation,
                             const std::vector<const char*>& texts) {
  Resolve<decltype(&TestADClientSetTexts)>("TestADClientSetTexts")(
      operation, texts.data(), static_cast<int>(texts.size()));
}

void PluginControl::SetNullList(TestOperation operation) {
  Resolve<decltype(&TestADClientSetNullList)>("TestADClientSetNullList")(
      operation, 1);
}

void PluginControl::Remove(TestOperation operation) {
  Resolve<decltype(&TestADClientRemoveOperation)>(
      "TestADClientRemoveOperation")(operation);
}

void PluginControl::SetTableVersion(int32_t version) {
  Resolve<decltype(&TestADClientSetTableVersion)>(
      "TestADClientSetTableVersion")(version);
}

void PluginControl::SetMetadata(int32_t version, const char* pamModule,
                                const char* pamModuleParameters,
                                const char* nssModule,
                                const char* nssModuleParameters) {
  Resolve<decltype(&TestADClientSetMetadata)>("TestADClientSetMetadata")(
      version, pamModule, pamModuleParameters, nssModule,
      nssModuleParameters);
}

void PluginControl::Block(TestOperation operation) {
  Resolve<decltype(&TestADClientBlock)>("TestADClientBlock")(operation);
}

void PluginControl::Release(TestOperation operation) {
  Resolve<decltype(&TestADClientRelease)>("TestADClientRelease")(operation);
}

bool PluginControl::WaitUntilEntered(TestOperation operation, int calls) {
  return Resolve<decltype(&TestADClientWaitUntilEntered)>(
             "TestADClientWaitUntilEntered")(operation, calls, 30) != 0;
}

int PluginControl::Calls(TestOperation operation) {
  return Resolve<decltype(&TestADClientCallCount)>("TestADClientCallCount")(
      operation);
}

int PluginControl::Returns(TestOperation operation) {
  return Resolve<decltype(&TestADClientReturnCount)>(
      "TestADClientReturnCount")(operation);
}

std::vector<std::optional<std::string>> PluginControl::Arguments(
    TestOperation operation) {
  int count = Resolve<decltype(&TestADClientArgumentCount)>(
      "TestADClientArgumentCount")(operation);
  auto argument =
      Resolve<decltype(&TestADClientArgument)>("TestADClientArgument");
  std::vector<std::optional<std::string>> arguments;
  for (int i = 0; i < count; ++i) {
    const char* text = argument(operation, i);
    arguments.push_back(text != nullptr ? std::optional<std::string>(text)
                                        : std::nullopt);
  }
  return arguments;
}

const Credentials* PluginControl::CredentialsPassed(TestOperation operation) {
  return Resolve<decltype(&TestADClientCredentials)>(
      "TestADClientCredentials")(operation);
}

int PluginControl::Releases() {
  return Resolve<decltype(&TestADClientReleaseCount)>(
      "TestADClientReleaseCount")();
}

int PluginControl::NullReleases() {
  return Resolve<decltype(&TestADClientNullReleaseCount)>(
      "TestADClientNullReleaseCount")();
}

int PluginControl::SentinelReleases() {
  return Resolve<decltype(&TestADClientSentinelReleaseCount)>(
      "TestADClientSentinelReleaseCount")();
}

int PluginControl::LiveAllocations() {
  return Resolve<decltype(&TestADClientLiveAllocations)>(
      "TestADClientLiveAllocations")();
}

std::string InstallStandardPlugin() {
  WriteProviderConfiguration("testad");
  return InstallPlugin("", "testad", PluginDirectory::Lib64);
}

int CountThreads() {
  DIR* tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return -1;
  int count = 0;
  while (dirent* entry = readdir(tasks)) {
    if (entry->d_name[0] != '.') ++count;
  }
  closedir(tasks);
  return count;
}

int BaselineThreadCount() {
  pid_t helper = 0;
  std::thread([&helper] { helper = gettid(); }).join();
  // A joined thread can stay listed in /proc/self/task for a moment after
  // pthread_join returns; counting it then would leave a baseline no later
  // count ever reaches.
  const std::string entry = "/proc/self/task/" + std::to_string(helper);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  struct stat status;
  while (stat(entry.c_str(), &status) == 0 &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return CountThreads();
}

bool WaitForThreadCount(int expected) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (CountThreads() != expected) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace quarryauth_test
