#include "FileChanges.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ExitStatus.h"
#include "SystemFile.h"

namespace quarryauthctl {

bool FileExists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0 || errno != ENOENT;
}

FileState ReadFileState(const std::string& path) {
  FileState state;
  if (!FileExists(path)) return state;
  state.exists = true;
  state.content = ReadSystemFile(path);
  return state;
}

void RestoreFileState(const std::string& path, const FileState& state) {
  if (state.exists) {
    ReplaceSystemFile(path, state.content);
  } else if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    throw Failure("cannot remove '" + path + "': " + std::strerror(errno));
  }
}

void FileChanges::Note(const std::string& path, const FileState& before,
                       const FileState& after) {
  for (FileChange& change : changes_) {
    if (change.path == path) {  // changed twice: first before, last after
      change.after = after;
      return;
    }
  }
  changes_.push_back({path, before, after});
}

void FileChanges::Write(const std::string& path, const std::string& text) {
  const FileState before = ReadFileState(path);
  ReplaceSystemFile(path, text);
  Note(path, before, FileState{true, text});
}

void FileChanges::NoteChangesSince(const std::vector<std::string>& paths,
                                   const std::vector<FileState>& before) {
  for (std::size_t i = 0; i < paths.size() && i < before.size(); ++i) {
    const FileState after = ReadFileState(paths[i]);
    if (after != before[i]) Note(paths[i], before[i], after);
  }
}

std::vector<std::string> FileChanges::RollBack() {
  std::vector<std::string> failed;
  for (auto change = changes_.rbegin(); change != changes_.rend(); ++change) {
    try {
      RestoreFileState(change->path, change->before);
    } catch (const std::exception& error) {
      failed.push_back(error.what());
    }
  }
  changes_.clear();
  return failed;
}

}  // namespace quarryauthctl
