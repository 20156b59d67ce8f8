// Installs the test directory client plug-in at the library's fixed paths
// (inside the test sandbox) and steers it through its control functions.
#ifndef QUARRYAUTH_TESTS_PLUGINHARNESS_H
#define QUARRYAUTH_TESTS_PLUGINHARNESS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "authentication/adclient/TestADClientControl.h"

namespace quarryauth_test {

enum class PluginDirectory { Lib64, Base };

// /usr/libexec/quarryauth/[lib64/]lib<name>.so
std::string InstalledPluginPath(const std::string& name,
                                PluginDirectory directory);
// Copies the built plug-in libtestad<variant>.so to the installed path of
// name; returns that path.
std::string InstallPlugin(const std::string& variant, const std::string& name,
                          PluginDirectory directory);
// Writes provider.conf naming the plug-in.
void WriteProviderConfiguration(const std::string& name);
// Writes authentication.conf recording the store name.
void WriteActiveStore(const std::string& name);

void WriteFile(const std::string& path, const std::string& contents);
std::string ReadFile(const std::string& path);
// Whether the library at path is loaded in this process.
bool IsLoaded(const std::string& path);

// Holds the installed plug-in open (so that its settings outlive the
// library's own handle) and calls its control functions.
class PluginControl {
 public:
  explicit PluginControl(const std::string& path);
  ~PluginControl();
  PluginControl(const PluginControl&) = delete;
  PluginControl& operator=(const PluginControl&) = delete;

  void SetStatuses(TestOperation operation,
                   const std::vector<uint32_t>& statuses);
  void SetStatus(TestOperation operation, uint32_t status);
  void SetValue(TestOperation operation, uint32_t value);
  void SetTexts(TestOperation operation,
                const std::vector<const char*>& texts);
  void SetNullList(TestOperation operation);
  void Remove(TestOperation operation);
  void SetTableVersion(int32_t version);
  void SetMetadata(int32_t version, const char* pamModule,
                   const char* pamModuleParameters, const char* nssModule,
                   const char* nssModuleParameters);

  void Block(TestOperation operation);
  void Release(TestOperation operation);
  bool WaitUntilEntered(TestOperation operation, int calls);

  int Calls(TestOperation operation);
  int Returns(TestOperation operation);
  std::vector<std::optional<std::string>> Arguments(TestOperation operation);
  const Credentials* CredentialsPassed(TestOperation operation);
  int Releases();
  int NullReleases();
  int SentinelReleases();
  int LiveAllocations();

 private:
  void* Symbol(const char* name);
  template <class Function>
  Function Resolve(const char* name) {
    return reinterpret_cast<Function>(Symbol(name));
  }

  void* handle;
};

// The usual set-up: libtestad.so as lib64/libtestad.so, named in
// provider.conf.
std::string InstallStandardPlugin();

// Threads of this process, from /proc/self/task.
int CountThreads();
// The count to come back to once workers are gone. A thread is started and
// joined first: sanitizer runtimes add a helper thread of their own at the
// first thread a process creates.
int BaselineThreadCount();
// Waits up to 30 seconds for the thread count to fall to expected.
bool WaitForThreadCount(int expected);

}  // namespace quarryauth_test

#endif
