#include "common/DurableFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <utility>

#include "common/UniqueFd.h"

namespace quarry::common {

int SyncFile(const std::string& path) {
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.Valid()) return errno;
  if (::fsync(file.Get()) != 0) return errno;
  return file.Close();
}

int SyncParentDirectory(const std::string& path) {
  const std::string::size_type slash = path.rfind('/');
  std::string directory;
  if (slash == std::string::npos) {
    directory = ".";
  } else if (slash == 0) {
    directory = "/";
  } else {
    directory = path.substr(0, slash);
  }
  UniqueFd handle(
      ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!handle.Valid()) return errno;
  if (::fsync(handle.Get()) != 0) return errno;
  return handle.Close();
}

namespace {

int WriteAll(int descriptor, const std::string& contents) {
  const char* data = contents.data();
  std::string::size_type left = contents.size();
  while (left > 0) {
    const ssize_t written = ::write(descriptor, data, left);
    if (written < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    data += written;
    left -= static_cast<std::string::size_type>(written);
  }
  return 0;
}

// Removes the temporary file unless it has been renamed into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string path) : path_(std::move(path)) {}
  ~TemporaryFile() {
    if (!path_.empty()) ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  const std::string& path() const { return path_; }
  void Release() { path_.clear(); }

 private:
  std::string path_;
};

}  // namespace

int CreateTemporaryFileBeside(const std::string& path,
                              std::string& temporaryPath, UniqueFd& file) {
  char name[PATH_MAX];
  std::snprintf(name, sizeof name, "%s.XXXXXX", path.c_str());
  UniqueFd created(::mkstemp(name));
  if (!created.Valid()) return errno;
  temporaryPath = name;
  file = std::move(created);
  return 0;
}

int ReplaceFileContents(const std::string& path, const std::string& contents,
                        mode_t newFileMode) {
  std::string name;
  UniqueFd file;
  if (int error = CreateTemporaryFileBeside(path, name, file)) return error;
  TemporaryFile temporary(name);

  struct stat old;
  mode_t mode = newFileMode;
  if (::stat(path.c_str(), &old) == 0) {
    mode = old.st_mode & 07777;
  } else if (errno != ENOENT) {
    return errno;
  }

  if (int error = WriteAll(file.Get(), contents)) return error;
  if (::fchmod(file.Get(), mode) != 0) return errno;
  if (::fsync(file.Get()) != 0) return errno;
  if (int error = file.Close()) return error;
  if (::rename(temporary.path().c_str(), path.c_str()) != 0) return errno;
  temporary.Release();
  // The new contents are in place and cannot be taken back. Reporting a
  // failed flush of the directory would tell the caller that the old file
  // is still there, so it stays a best effort.
  SyncParentDirectory(path);
  return 0;
}

}  // namespace quarry::common
