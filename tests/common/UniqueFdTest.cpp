// The one owner of a file descriptor.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "common/UniqueFd.h"

namespace quarry::common {
namespace {

bool IsOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) != -1; }

TEST(UniqueFdTest, ClosesWhenItGoesOutOfScope) {
  int descriptor = -1;
  {
    UniqueFd file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    descriptor = file.Get();
    ASSERT_TRUE(file.Valid());
    EXPECT_TRUE(IsOpen(descriptor));
  }
  EXPECT_FALSE(IsOpen(descriptor));
}

TEST(UniqueFdTest, MovesOwnershipAndClosesOnce) {
  UniqueFd first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  const int descriptor = first.Get();
  UniqueFd second(std::move(first));
  EXPECT_FALSE(first.Valid());
  EXPECT_EQ(second.Get(), descriptor);
  UniqueFd third;
  third = std::move(second);
  EXPECT_EQ(third.Get(), descriptor);
  EXPECT_TRUE(IsOpen(descriptor));
  EXPECT_EQ(third.Close(), 0);
  EXPECT_FALSE(IsOpen(descriptor));
  EXPECT_EQ(third.Close(), 0) << "a second close is nothing";
}

TEST(UniqueFdTest, CloseReportsTheErrorOfAFailedClose) {
  // A number that names no open descriptor makes close fail with EBADF.
  UniqueFd file(1000000);
  EXPECT_TRUE(file.Valid());
  EXPECT_EQ(file.Close(), EBADF);
  EXPECT_FALSE(file.Valid());
}

}  // namespace
}  // namespace quarry::common
