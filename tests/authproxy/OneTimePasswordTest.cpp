// Fresh one-time passwords for new computer accounts.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "services/authproxyd/OneTimePassword.h"

namespace quarry::authproxyd {
namespace {

TEST(OneTimePasswordTest, MakesFreshPasswordsOfEveryCharacterClass) {
  std::set<std::string> seen;
  for (int i = 0; i < 200; ++i) {
    const std::string password = MakeOneTimePassword();
    ASSERT_EQ(password.size(), kOneTimePasswordLength);
    EXPECT_EQ(password.find_first_not_of(
                  "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              std::string::npos);
    EXPECT_NE(password.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ"), std::string::npos);
    EXPECT_NE(password.find_first_of("abcdefghijklmnopqrstuvwxyz"), std::string::npos);
    EXPECT_NE(password.find_first_of("0123456789"), std::string::npos);
    seen.insert(password);
  }
  EXPECT_EQ(seen.size(), 200u);
}

}  // namespace
}  // namespace quarry::authproxyd
