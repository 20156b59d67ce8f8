// PAM stacks: the rules of one facility, written one line each, found by
// module and edited in place.
#include <gtest/gtest.h>

#include <quarryauth/systemconfiguration.h>

#include <iterator>
#include <sstream>
#include <string>

#include "systemconfiguration/PAMTestSupport.h"

namespace sc = SystemConfiguration;
using pam_test::Entry;
using pam_test::Words;
using pam_test::Written;
using sc::InvalidFacilityException;
using sc::PAMFacility;
using sc::PAMStack;

TEST(PAMStackTest, DefaultStackIsEmptyWithFacilityUnset) {
  const PAMStack stack;
  EXPECT_TRUE(stack.empty());
  EXPECT_EQ(PAMFacility::Unset,
            static_cast<PAMFacility::Facility>(stack.Facility()));
  EXPECT_EQ("", Written(stack));
}

TEST(PAMStackTest, StackKeepsItsFacility) {
  const PAMStack stack(PAMFacility(PAMFacility::Session));
  EXPECT_TRUE(stack.empty());
  EXPECT_TRUE(stack.Facility() == PAMFacility::Session);
}

TEST(PAMStackTest, WritesOneLinePerRule) {
  PAMStack stack(PAMFacility(PAMFacility::Auth));
  stack.push_back(Entry("[success=1 default=ignore]", "pam_unix.so", {"nullok"}));
  stack.push_back(Entry("requisite", "pam_deny.so"));
  EXPECT_EQ(
      "auth\t[success=1 default=ignore]\tpam_unix.so\tnullok \n"
      "auth\trequisite\tpam_deny.so\t\n",
      Written(stack));
}

TEST(PAMStackTest, UnsetFacilityWithRulesThrows) {
  PAMStack stack;
  stack.push_back(Entry("required", "pam_unix.so"));
  std::ostringstream out;
  try {
    out << stack;
    FAIL() << "nothing thrown";
  } catch (const InvalidFacilityException& error) {
    EXPECT_STREQ("Invalid Facility: ", error.what());
  }
}

TEST(PAMStackTest, CopiesAreDeepAndKeepTheFacility) {
  PAMStack original(PAMFacility(PAMFacility::Password));
  original.push_back(Entry("required", "pam_unix.so", {"a"}));
  PAMStack copy(original);
  copy.front().parameters().push_back("b");
  copy.push_back(Entry("optional", "pam_x.so"));
  EXPECT_EQ(1u, original.size());
  EXPECT_EQ((Words{"a"}), original.front().parameters());
  EXPECT_TRUE(copy.Facility() == PAMFacility::Password);

  PAMStack assigned;
  assigned = original;
  EXPECT_TRUE(assigned.Facility() == PAMFacility::Password);
  EXPECT_EQ("password\trequired\tpam_unix.so\ta \n", Written(assigned));
}

TEST(PAMStackTest, FindMatchesTheModuleExactly) {
  PAMStack stack(PAMFacility(PAMFacility::Auth));
  stack.push_back(Entry("required", "/lib/security/pam_unix.so", {"first"}));
  stack.push_back(Entry("required", "pam_unix.so", {"second"}));
  stack.push_back(Entry("optional", "pam_unix.so", {"third"}));

  const auto found = stack.find("pam_unix.so");
  ASSERT_NE(stack.end(), found);
  EXPECT_EQ((Words{"second"}), found->parameters());
  EXPECT_EQ(1, std::distance(stack.begin(), found));

  const auto path = stack.find("/lib/security/pam_unix.so");
  ASSERT_NE(stack.end(), path);
  EXPECT_EQ(stack.begin(), path);

  EXPECT_EQ(stack.end(), stack.find("PAM_UNIX.SO"));
  EXPECT_EQ(stack.end(), stack.find("pam_unix"));
  EXPECT_EQ(stack.end(), stack.find("required"));
  EXPECT_EQ(stack.end(), stack.find("second"));
}

TEST(PAMStackTest, ConstFindAndEditingThroughTheIterator) {
  PAMStack stack(PAMFacility(PAMFacility::Session));
  stack.push_back(Entry("required", "pam_limits.so"));
  stack.push_back(Entry("optional", "pam_systemd.so"));
  const PAMStack& view = stack;
  const PAMStack::const_iterator found = view.find("pam_systemd.so");
  ASSERT_NE(view.end(), found);
  EXPECT_EQ(1, std::distance(view.begin(), found));
  EXPECT_EQ(view.end(), view.find("pam_motd.so"));

  stack.find("pam_limits.so")->parameters().push_back("debug");
  EXPECT_EQ((Words{"debug"}), stack.front().parameters());
}

TEST(PAMStackTest, DequeOperationsAreAvailable) {
  PAMStack stack(PAMFacility(PAMFacility::Account));
  stack.push_back(Entry("required", "pam_b.so"));
  stack.push_front(Entry("required", "pam_a.so"));
  stack.insert(stack.end(), Entry("required", "pam_d.so"));
  stack.insert(stack.find("pam_d.so"), Entry("required", "pam_c.so"));
  PAMStack other(PAMFacility(PAMFacility::Account));
  other.push_back(Entry("optional", "pam_e.so"));
  other.push_back(Entry("optional", "pam_f.so"));
  stack.insert(stack.end(), other.begin(), other.end());
  stack.erase(stack.find("pam_b.so"));
  ASSERT_EQ(5u, stack.size());
  EXPECT_EQ(
      "account\trequired\tpam_a.so\t\n"
      "account\trequired\tpam_c.so\t\n"
      "account\trequired\tpam_d.so\t\n"
      "account\toptional\tpam_e.so\t\n"
      "account\toptional\tpam_f.so\t\n",
      Written(stack));
}
