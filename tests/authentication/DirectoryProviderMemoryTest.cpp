// A failure while the provider copies the plug-in's metadata propagates, and
// what was built so far is released (the sanitizer build checks the leak).
// This program answers for operator new so that one chosen allocation fails.
#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

#include "authentication/PluginHarness.h"

namespace {
std::atomic<size_t> failingSize{0};
}  // namespace

// Kept out of line: the compiler would otherwise pair this free() with the
// standard operator new it knows and warn.
__attribute__((noinline)) void* operator new(size_t size) {
  if (size != 0 && size == failingSize.load()) throw std::bad_alloc();
  void* memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

__attribute__((noinline)) void operator delete(void* memory) noexcept {
  std::free(memory);
}
__attribute__((noinline)) void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}

namespace {

namespace qa = quarry::authentication;
using quarryauth_test::InstallPlugin;
using quarryauth_test::IsLoaded;
using quarryauth_test::PluginControl;
using quarryauth_test::PluginDirectory;

TEST(ProviderMetadataCopy, AllocationFailurePropagatesAndClosesThePlugin) {
  const std::string path = InstallPlugin("", "testad", PluginDirectory::Lib64);
  // An NSS module name of 1000 characters: the one allocation of 1001 bytes
  // comes after the PAM module and its parameters have been copied.
  const std::string longName(1000, 'n');
  {
    PluginControl plugin(path);
    plugin.SetMetadata(3, "pam_testad.so", "a b c", longName.c_str(),
                       "d e f");
    failingSize = longName.size() + 1;
    EXPECT_THROW(qa::ActiveDirectoryProvider("testad"), std::bad_alloc);
    failingSize = 0;
    qa::ActiveDirectoryProvider provider("testad");
    EXPECT_EQ(longName, provider.NSSModule());
  }
  EXPECT_FALSE(IsLoaded(path));
}

}  // namespace
