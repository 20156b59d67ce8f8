// The files that the library and its platform libraries write, each with
// the operation that rewrites it and a way to tell which contents it holds
// afterwards. The fault tests run every operation against a failing file
// system and check that nothing is lost.
#ifndef QUARRYAUTH_TESTS_HARDENING_WRITTENFILES_H
#define QUARRYAUTH_TESTS_HARDENING_WRITTENFILES_H

#include <memory>
#include <string>
#include <vector>

namespace quarryauth_test {

// How a rewrite ended, as its caller sees it.
enum class WriteResult {
  Written,               // returned normally
  Refused,               // raised the operation's own failure exception
  PermissionsUncertain,  // raised FilePermissionError after replacing
};

// What the file holds when looked at afterwards.
enum class Contents { Old, New, Other };

const char* Describe(WriteResult result);
const char* Describe(Contents contents);

class WrittenFile {
 public:
  virtual ~WrittenFile() = default;

  // The directory that holds the file; small file systems are mounted
  // here and injected faults hit only calls under it.
  virtual std::string Directory() const = 0;
  // Prepares what the operation needs that must not live in Directory().
  virtual void SetUp() {}
  // Puts the old contents in place; Directory() exists.
  virtual void WriteOld() = 0;
  // Runs the library's operation that writes the new contents. Exceptions
  // other than the operation's documented ones propagate.
  virtual WriteResult WriteNew() = 0;
  // Reads the file back through the library.
  virtual Contents Read() = 0;
};

// "authentication.conf", "hosts", "resolv.conf", "thumbprints",
// "configstore".
std::vector<std::string> WrittenFileNames();
std::unique_ptr<WrittenFile> MakeWrittenFile(const std::string& name);
// name with every character other than a letter or digit made "_", as
// test names need.
std::string IdentifierOf(const std::string& name);

// Mounts a small tmpfs on directory, creating the directory first.
void MountSmallFileSystem(const std::string& directory);
// Fills the file system of directory to the last byte.
void FillFileSystem(const std::string& directory);
// Removes what FillFileSystem wrote.
void EmptyFiller(const std::string& directory);
void RemountReadOnly(const std::string& directory);
void RemountWritable(const std::string& directory);

}  // namespace quarryauth_test

#endif
