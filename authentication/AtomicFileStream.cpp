#include <quarryauth/authentication/AtomicFileStream.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <quarryauth/authentication/Exception.h>
#include "common/DurableFile.h"

namespace quarry {
namespace authentication {

AtomicFileStream::AtomicFileStream(const char* path,
                                   std::ios_base::openmode mode) {
  open(path, mode);
}

AtomicFileStream::~AtomicFileStream() = default;

void AtomicFileStream::open(const char* path, std::ios_base::openmode mode) {
  std::string name;
  {
    // The stream opens the file by name; the descriptor is not kept.
    common::UniqueFd created;
    if (int error = common::CreateTemporaryFileBeside(path, name, created)) {
      throw IOError("Unable to create temporary file to write '" +
                    std::string(path) + "': " + std::strerror(error));
    }
  }
  temporaryPath = name;
  targetPath = path;
  std::basic_ofstream<char>::open(temporaryPath, mode | std::ios_base::out);
}

void AtomicFileStream::Commit() {
  flush();
  if (rdbuf()->close() == nullptr) setstate(std::ios_base::failbit);
  // The new contents reach the disk before they replace the old ones.
  if (common::SyncFile(temporaryPath) != 0) setstate(std::ios_base::failbit);

  std::string permissionProblem;
  struct stat old;
  errno = 0;
  const bool hadOldFile = ::stat(targetPath.c_str(), &old) == 0;
  if (!hadOldFile && errno != ENOENT) permissionProblem = std::strerror(errno);

  if (::rename(temporaryPath.c_str(), targetPath.c_str()) != 0) {
    const int error = errno;
    throw IOError("Unable to rename '" + temporaryPath + "' to '" +
                  targetPath + "': " + std::strerror(error));
  }
  // And the rename itself survives a crash.
  if (common::SyncParentDirectory(targetPath) != 0) {
    setstate(std::ios_base::failbit);
  }

  if (hadOldFile && ::chmod(targetPath.c_str(), old.st_mode & 07777) != 0) {
    permissionProblem = std::strerror(errno);
  }
  if (!permissionProblem.empty()) {
    throw FilePermissionError(
        "Failed to save file permissions, file permissions may be "
        "incorrect: " +
        permissionProblem);
  }
}

}  // namespace authentication
}  // namespace quarry
