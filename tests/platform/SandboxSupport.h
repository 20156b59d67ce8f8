// Helpers for platform tests, which run as root inside the test sandbox and
// change its files, mounts and network interfaces.
#ifndef QUARRY_TESTS_PLATFORM_SANDBOXSUPPORT_H
#define QUARRY_TESTS_PLATFORM_SANDBOXSUPPORT_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace quarry::test {

void WriteFile(const std::string& path, const std::string& contents,
               mode_t mode = 0644);
std::string ReadFile(const std::string& path);
bool FileExists(const std::string& path);
mode_t FileMode(const std::string& path);
ino_t FileInode(const std::string& path);
// Names in directory that begin with prefix, sorted.
std::vector<std::string> FilesStartingWith(const std::string& directory,
                                           const std::string& prefix);

// Runs a shell command; returns its exit status (-1 when it did not exit).
int Run(const std::string& command);

// Adds a network interface with no address, down. Uses the dummy driver and
// falls back to an empty bridge where the kernel lacks it.
bool AddInterface(const std::string& name);

}  // namespace quarry::test

#endif
