#include "SandboxSupport.h"

#include "support/Files.h"

#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quarry::test {

void WriteFile(const std::string& path, const std::string& contents,
               mode_t mode) {
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << contents;
    if (!out.flush()) throw std::runtime_error("cannot write " + path);
  }
  if (::chmod(path.c_str(), mode) != 0) {
    throw std::runtime_error("cannot chmod " + path);
  }
}

std::string ReadFile(const std::string& path) {
  return quarry_test::ReadFile(path);
}

bool FileExists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

mode_t FileMode(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    throw std::runtime_error("cannot stat " + path);
  }
  return status.st_mode & 07777;
}

ino_t FileInode(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    throw std::runtime_error("cannot stat " + path);
  }
  return status.st_ino;
}

std::vector<std::string> FilesStartingWith(const std::string& directory,
                                           const std::string& prefix) {
  std::vector<std::string> names;
  DIR* handle = ::opendir(directory.c_str());
  if (handle == nullptr) throw std::runtime_error("cannot list " + directory);
  while (const dirent* entry = ::readdir(handle)) {
    const std::string name = entry->d_name;
    if (name.compare(0, prefix.size(), prefix) == 0) names.push_back(name);
  }
  ::closedir(handle);
  std::sort(names.begin(), names.end());
  return names;
}

int Run(const std::string& command) {
  const int status = std::system(command.c_str());
  if (status == -1 || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

bool AddInterface(const std::string& name) {
  return Run("ip link add " + name + " type dummy 2>/dev/null") == 0 ||
         Run("ip link add " + name + " type bridge") == 0;
}

}  // namespace quarry::test
