#include "platform/tesselctl/NetworkFile.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "common/DurableFile.h"
#include "common/FileContents.h"
#include <quarryauth/platform/tesselctl/HostCtlException.h>

namespace TesselCtl {

namespace {

const mode_t kNewFileMode = 0644;

[[noreturn]] void ThrowFileError(const char* verb, const std::string& path,
                                 int error) {
  throw HostCtl::Lib::HostCtlException(std::string("Unable to ") + verb + " '" +
                                       path + "': " + std::strerror(error));
}

// The file that a replacement must rename over: the link's target when
// path is a symbolic link, so that the link itself survives.
std::string ResolvedPath(const std::string& path) {
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved) != nullptr) return resolved;
  return path;
}

}  // namespace

bool ReadNetworkFile(const std::string& path, std::string& contents) {
  const int error = quarry::common::ReadFileContents(path, contents);
  if (error == ENOENT) return false;
  if (error != 0) ThrowFileError("read", path, error);
  return true;
}

void ReplaceNetworkFile(const std::string& path, const std::string& contents) {
  const int error = quarry::common::ReplaceFileContents(ResolvedPath(path),
                                                        contents, kNewFileMode);
  if (error != 0) ThrowFileError("write", path, error);
}

std::vector<std::string> SplitLines(const std::string& contents) {
  std::vector<std::string> lines;
  std::string::size_type start = 0;
  while (start < contents.size()) {
    std::string::size_type end = contents.find('\n', start);
    if (end == std::string::npos) end = contents.size();
    lines.push_back(contents.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::string JoinLines(const std::vector<std::string>& lines) {
  std::string contents;
  for (const std::string& line : lines) {
    contents += line;
    contents += '\n';
  }
  return contents;
}

}  // namespace TesselCtl
