#include "RefusedLogons.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

namespace {

using quarryadcli::Logon;
using quarryadcli::RefusedLogons;
using std::chrono::seconds;

const RefusedLogons::Clock::time_point kStart{};

TEST(RefusedLogons, AnswersTheSameCredentialsUntilTheWindowEnds) {
  RefusedLogons refused(seconds(120), 16);
  const Logon wrong{"ad.test", "Administrator", "not-it"};
  EXPECT_FALSE(refused.Refused(wrong, kStart));
  refused.RememberRefusal(wrong, kStart);
  EXPECT_TRUE(refused.Refused(wrong, kStart + seconds(90)));
  EXPECT_TRUE(refused.Refused(wrong, kStart + seconds(119)));
  EXPECT_FALSE(refused.Refused(wrong, kStart + seconds(120)));
  EXPECT_FALSE(refused.Refused(wrong, kStart + seconds(30)))
      << "a refusal once forgotten stays forgotten";
}

TEST(RefusedLogons, AnotherPasswordOrAccountOrDomainAsksAgain) {
  RefusedLogons refused(seconds(120), 16);
  refused.RememberRefusal({"ad.test", "administrator", "not-it"}, kStart);
  EXPECT_FALSE(refused.Refused({"ad.test", "administrator", "Not-it"}, kStart));
  EXPECT_FALSE(refused.Refused({"ad.test", "administrator", "not-it "}, kStart));
  EXPECT_FALSE(refused.Refused({"ad.test", "joiner", "not-it"}, kStart));
  EXPECT_FALSE(refused.Refused({"other.test", "administrator", "not-it"}, kStart));
  // Fields cannot run into each other.
  EXPECT_FALSE(refused.Refused({"ad.test", "administratorn", "ot-it"}, kStart));
}

TEST(RefusedLogons, DomainAndUserCompareWithoutRegardToCase) {
  RefusedLogons refused(seconds(120), 16);
  refused.RememberRefusal({"ad.test", "administrator", "not-it"}, kStart);
  EXPECT_TRUE(refused.Refused({"AD.TEST", "Administrator", "not-it"}, kStart));
}

TEST(RefusedLogons, KeepsAtMostItsCapacityOldestFirstOut) {
  RefusedLogons refused(seconds(120), 2);
  refused.RememberRefusal({"ad.test", "a", "1"}, kStart);
  refused.RememberRefusal({"ad.test", "b", "2"}, kStart + seconds(1));
  refused.RememberRefusal({"ad.test", "c", "3"}, kStart + seconds(2));
  EXPECT_FALSE(refused.Refused({"ad.test", "a", "1"}, kStart + seconds(3)));
  EXPECT_TRUE(refused.Refused({"ad.test", "b", "2"}, kStart + seconds(3)));
  EXPECT_TRUE(refused.Refused({"ad.test", "c", "3"}, kStart + seconds(3)));
}

}  // namespace
