#include "HostModules.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <memory>

#include "ExitStatus.h"

namespace quarryauthctl {

namespace {

bool IsFile(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::vector<std::string> SecurityFolders() {
  std::vector<std::string> folders;
#ifdef QUARRYAUTHCTL_LIBRARY_ARCHITECTURE
  folders.push_back("/usr/lib/" QUARRYAUTHCTL_LIBRARY_ARCHITECTURE "/security");
  folders.push_back("/lib/" QUARRYAUTHCTL_LIBRARY_ARCHITECTURE "/security");
#endif
  for (const char* folder : {"/usr/lib64/security", "/lib64/security",
                             "/usr/lib/security", "/lib/security"}) {
    folders.push_back(folder);
  }
  return folders;
}

struct LibraryCloser {
  void operator()(void* handle) const { ::dlclose(handle); }
};

// The symbol that tells whether a module answers a database.
struct DatabaseEntry {
  const char* database;
  const char* function;
};

const DatabaseEntry kDatabases[] = {
    {"passwd", "getpwnam_r"},   {"group", "getgrnam_r"},
    {"shadow", "getspnam_r"},   {"netgroup", "setnetgrent"},
    {"services", "getservbyname_r"},
};

}  // namespace

std::string FindPamModule(const std::string& module) {
  if (module.find('/') != std::string::npos) {
    if (IsFile(module)) return module;
    throw Failure("the PAM module '" + module +
                  "' that the directory plug-in names is not on this host");
  }
  std::string looked;
  for (const std::string& folder : SecurityFolders()) {
    const std::string path = folder + "/" + module;
    if (IsFile(path)) return path;
    looked += (looked.empty() ? "" : ", ") + folder;
  }
  throw Failure("the PAM module '" + module +
                "' that the directory plug-in names is not on this host "
                "(looked in " + looked + "); install it first");
}

std::vector<std::string> NameServiceDatabases(const std::string& name) {
  if (name.empty() || name.find('/') != std::string::npos) {
    throw Failure("'" + name + "' is not a name-service module name");
  }
  const std::string file = "libnss_" + name + ".so.2";
  std::unique_ptr<void, LibraryCloser> library(
      ::dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL));
  if (!library) {
    throw Failure("the name-service module '" + name +
                  "' that the directory plug-in names is not on this host "
                  "(no " + file + "); install it first");
  }
  std::vector<std::string> databases;
  for (const DatabaseEntry& entry : kDatabases) {
    const std::string symbol = "_nss_" + name + "_" + entry.function;
    if (::dlsym(library.get(), symbol.c_str()) != nullptr) {
      databases.push_back(entry.database);
    }
  }
  if (databases.empty()) {
    throw Failure("the name-service module '" + file +
                  "' answers none of passwd, group, shadow, netgroup and "
                  "services");
  }
  return databases;
}

}  // namespace quarryauthctl
