// The system files that one command changes, each with its content before
// and after, so that the change can be taken back exactly: at once when a
// later step fails, or by a later command from what was recorded.
#ifndef QUARRYAUTHCTL_FILECHANGES_H
#define QUARRYAUTHCTL_FILECHANGES_H

#include <string>
#include <utility>
#include <vector>

namespace quarryauthctl {

// A file's content, or its absence.
struct FileState {
  bool exists = false;
  std::string content;

  bool operator==(const FileState& other) const {
    return exists == other.exists && content == other.content;
  }
  bool operator!=(const FileState& other) const { return !(*this == other); }
};

// False only when nothing is at path (a link to nothing counts as nothing).
bool FileExists(const std::string& path);

FileState ReadFileState(const std::string& path);

struct FileChange {
  std::string path;
  FileState before, after;
};

class FileChanges {
 public:
  // Replaces path with text atomically, remembering what was there first.
  void Write(const std::string& path, const std::string& text);
  // Remembers the changes that another program made to paths, given their
  // states (in the same order) from before it ran.
  void NoteChangesSince(const std::vector<std::string>& paths,
                        const std::vector<FileState>& before);
  // Puts every changed file back as it was, latest change first; keeps
  // going past a file that cannot be restored and says which ones failed.
  std::vector<std::string> RollBack();

  const std::vector<FileChange>& Changes() const { return changes_; }
  void Adopt(std::vector<FileChange> changes) { changes_ = std::move(changes); }

 private:
  void Note(const std::string& path, const FileState& before,
            const FileState& after);
  std::vector<FileChange> changes_;
};

// Puts path into state: its content, or no file.
void RestoreFileState(const std::string& path, const FileState& state);

}  // namespace quarryauthctl

#endif
