// Installing test plug-ins where the library looks for them, inside the
// sandbox, and reaching their control functions.
#ifndef QUARRYAUTH_TESTS_SUPPORT_PLUGINS_H
#define QUARRYAUTH_TESTS_SUPPORT_PLUGINS_H

#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "support/Files.h"

namespace quarry_test {

const char kPluginDirectory[] = "/usr/libexec/quarryauth";

// Copies a built plug-in to /usr/libexec/quarryauth[/lib64]/lib<name>.so
// and returns that path.
inline std::string InstallPlugin(const std::string& builtPath,
                                 const std::string& name, bool inLib64) {
  const std::string directory =
      std::string(kPluginDirectory) + (inLib64 ? "/lib64" : "");
  Shell("mkdir -p " + directory);
  const std::string path = directory + "/lib" + name + ".so";
  Shell("cp '" + builtPath + "' '" + path + "'");
  return path;
}

// The address of a symbol of a plug-in that the library has loaded already.
inline void* LoadedPluginSymbol(const std::string& path, const char* symbol) {
  void* handle = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) throw std::runtime_error(path + " is not loaded");
  void* address = ::dlsym(handle, symbol);
  ::dlclose(handle);
  if (address == nullptr) throw std::runtime_error(std::string("no ") + symbol);
  return address;
}

inline bool IsLoaded(const std::string& path) {
  void* handle = ::dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  ::dlclose(handle);
  return true;
}

}  // namespace quarry_test

#endif
