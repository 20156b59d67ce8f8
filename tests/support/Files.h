// Small file helpers for tests that run inside the sandbox.
#ifndef QUARRYAUTH_TESTS_SUPPORT_FILES_H
#define QUARRYAUTH_TESTS_SUPPORT_FILES_H

#include <dirent.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace quarry_test {

inline void WriteFile(const std::string& path, const std::string& contents) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << contents;
  out.close();
  if (!out) throw std::runtime_error("cannot write " + path);
}

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::ostringstream contents;
  contents << in.rdbuf();
  return contents.str();
}

inline bool Exists(const std::string& path) {
  struct stat status;
  return ::lstat(path.c_str(), &status) == 0;
}

inline struct stat Stat(const std::string& path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    throw std::runtime_error("cannot stat " + path);
  }
  return status;
}

inline mode_t Mode(const std::string& path) { return Stat(path).st_mode & 07777; }

// Names in a directory, without "." and "..".
inline std::vector<std::string> ListDirectory(const std::string& path) {
  std::vector<std::string> names;
  DIR* directory = ::opendir(path.c_str());
  if (directory == nullptr) throw std::runtime_error("cannot list " + path);
  while (dirent* entry = ::readdir(directory)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(directory);
  return names;
}

// Runs a shell command inside the sandbox; throws when it fails.
inline void Shell(const std::string& command) {
  if (std::system(command.c_str()) != 0) {
    throw std::runtime_error("command failed: " + command);
  }
}

}  // namespace quarry_test

#endif
