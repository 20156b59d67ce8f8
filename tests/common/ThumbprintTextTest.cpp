// The text form of certificate thumbprints.
#include <gtest/gtest.h>

#include "common/ThumbprintText.h"

namespace quarry::common {
namespace {

TEST(ThumbprintTextTest, UpperCaseHexadecimalPairsJoinedByColons) {
  const unsigned char digest[] = {0x00, 0x0f, 0xa5, 0xff};
  EXPECT_EQ(FormatThumbprint(digest, sizeof digest), "00:0F:A5:FF");
  EXPECT_EQ(FormatThumbprint(digest, 0), "");
}

TEST(ThumbprintTextTest, ASha1DigestIs59Characters) {
  unsigned char digest[20] = {};
  EXPECT_EQ(FormatThumbprint(digest, sizeof digest).size(), 59u);
}

}  // namespace
}  // namespace quarry::common
