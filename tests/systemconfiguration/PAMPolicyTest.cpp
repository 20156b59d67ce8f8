// Whole PAM policy files: read into stacks by facility and written back.
#include <gtest/gtest.h>

#include <quarryauth/systemconfiguration.h>

#include <sstream>
#include <string>

#include "systemconfiguration/PAMTestSupport.h"

namespace sc = SystemConfiguration;
using pam_test::Entry;
using pam_test::Words;
using pam_test::Written;
using sc::InvalidControlException;
using sc::InvalidFacilityException;
using sc::PAMFacility;
using sc::PAMPolicy;
using sc::PAMStack;

namespace {

void ReadInto(PAMPolicy& policy, const std::string& text) {
  std::istringstream in(text);
  in >> policy;
}

}  // namespace

TEST(PAMPolicyTest, EmptyStreamGivesOnlyTheHeader) {
  PAMPolicy policy("login");
  ReadInto(policy, "");
  EXPECT_EQ("#%PAM-1.0\n\n", Written(policy));
  EXPECT_EQ("login", policy.name());
}

TEST(PAMPolicyTest, CommentsAndBlankLinesOnlyGiveOnlyTheHeader) {
  PAMPolicy policy("other");
  ReadInto(policy, "#%PAM-1.0\n\n# a comment\n   # indented\n\t\r\n#last");
  EXPECT_EQ("#%PAM-1.0\n\n", Written(policy));
}

TEST(PAMPolicyTest, StacksAreWrittenInFacilityOrder) {
  PAMPolicy policy("sshd");
  ReadInto(policy,
           "session required pam_limits.so\n"
           "auth required pam_unix.so nullok\n"
           "account required pam_unix.so\n");
  EXPECT_EQ(
      "#%PAM-1.0\n"
      "\n"
      "account\trequired\tpam_unix.so\t\n"
      "\n"
      "auth\trequired\tpam_unix.so\tnullok \n"
      "\n"
      "session\trequired\tpam_limits.so\t\n"
      "\n",
      Written(policy));
}

TEST(PAMPolicyTest, EveryFacilityTokenIsReadAndWritten) {
  PAMPolicy policy("all");
  ReadInto(policy,
           "password required pam_p.so\n"
           "session required pam_s.so\n"
           "auth required pam_a.so\n"
           "account required pam_c.so\n");
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "account\trequired\tpam_c.so\t\n\n"
      "auth\trequired\tpam_a.so\t\n\n"
      "password\trequired\tpam_p.so\t\n\n"
      "session\trequired\tpam_s.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, OperatorBracketCreatesAnEmptyStackThatIsWritten) {
  PAMPolicy policy("login");
  ReadInto(policy,
           "auth required pam_unix.so\n"
           "session required pam_unix.so\n");
  PAMStack& password = policy[PAMFacility(PAMFacility::Password)];
  EXPECT_TRUE(password.empty());
  EXPECT_TRUE(password.Facility() == PAMFacility::Password);
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\trequired\tpam_unix.so\t\n\n"
      "\n"
      "session\trequired\tpam_unix.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, OperatorBracketReturnsTheSameStack) {
  PAMPolicy policy("x");
  policy[PAMFacility::Auth].push_back(Entry("required", "pam_a.so"));
  policy[PAMFacility(std::string("auth"))].push_back(Entry("optional", "pam_b.so"));
  EXPECT_EQ(2u, policy[PAMFacility::Auth].size());
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\trequired\tpam_a.so\t\n"
      "auth\toptional\tpam_b.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, MinusSessionThrowsAndKeepsEarlierRules) {
  PAMPolicy policy("runuser-l");
  std::istringstream in(
      "auth include runuser\n"
      "-session optional pam_systemd.so\n"
      "session include runuser\n");
  try {
    in >> policy;
    FAIL() << "nothing thrown";
  } catch (const InvalidFacilityException& error) {
    EXPECT_STREQ("Invalid Facility: -session", error.what());
  }
  EXPECT_EQ("#%PAM-1.0\n\nauth\tinclude\trunuser\t\n\n", Written(policy));
  // The stream is left inside the failing line.
  std::string rest;
  std::getline(in, rest);
  EXPECT_EQ(" optional pam_systemd.so", rest);
}

TEST(PAMPolicyTest, AtIncludeThrows) {
  PAMPolicy policy("chfn");
  try {
    ReadInto(policy, "auth sufficient pam_rootok.so\n@include common-auth\n");
    FAIL() << "nothing thrown";
  } catch (const InvalidFacilityException& error) {
    EXPECT_STREQ("Invalid Facility: @include", error.what());
  }
  EXPECT_EQ(1u, policy[PAMFacility::Auth].size());
}

TEST(PAMPolicyTest, InvalidControlPassesThrough) {
  PAMPolicy policy("x");
  try {
    ReadInto(policy, "account required pam_a.so\nauth Required pam_unix.so\n");
    FAIL() << "nothing thrown";
  } catch (const InvalidControlException& error) {
    EXPECT_STREQ("Invalid Control: Required", error.what());
  }
  EXPECT_EQ("#%PAM-1.0\n\naccount\trequired\tpam_a.so\t\n\n", Written(policy));
}

TEST(PAMPolicyTest, InterleavedRulesKeepTheirOrderWithinAFacility) {
  PAMPolicy policy("login");
  ReadInto(policy,
           "session required pam_1.so\n"
           "auth required pam_2.so\n"
           "session optional pam_3.so\n"
           "auth optional pam_4.so\n"
           "session required pam_5.so\n");
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\trequired\tpam_2.so\t\n"
      "auth\toptional\tpam_4.so\t\n\n"
      "session\trequired\tpam_1.so\t\n"
      "session\toptional\tpam_3.so\t\n"
      "session\trequired\tpam_5.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, ReadingAddsToTheStacksAlreadyThere) {
  PAMPolicy policy("x");
  policy[PAMFacility::Auth].push_back(Entry("required", "pam_first.so"));
  ReadInto(policy, "auth optional pam_second.so\n");
  ReadInto(policy, "auth optional pam_third.so\n");
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\trequired\tpam_first.so\t\n"
      "auth\toptional\tpam_second.so\t\n"
      "auth\toptional\tpam_third.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, CommentsAndLayoutAreNotWrittenBack) {
  PAMPolicy policy("common-auth");
  ReadInto(policy,
           "#%PAM-1.0\n"
           "#\n"
           "# /etc/pam.d/common-auth\n"
           "\n"
           "   # indented comment\n"
           "auth\t[success=1     default=ignore]\tpam_unix.so nullok\n"
           "\n\n"
           "auth\trequisite\t\t\tpam_deny.so\n"
           "  \tauth required pam_permit.so\n"
           "auth\toptional\tpam_cap.so \n");
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\t[success=1 default=ignore]\tpam_unix.so\tnullok \n"
      "auth\trequisite\tpam_deny.so\t\n"
      "auth\trequired\tpam_permit.so\t\n"
      "auth\toptional\tpam_cap.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, NumberSignAfterTheFacilityIsNoComment) {
  PAMPolicy policy("x");
  ReadInto(policy, "auth required pam_x.so # trailing words\n");
  EXPECT_EQ((Words{"#", "trailing", "words"}),
            policy[PAMFacility::Auth].front().parameters());
}

TEST(PAMPolicyTest, AnyStandardWhiteSpaceSeparatesRules) {
  PAMPolicy policy("x");
  ReadInto(policy, "\v\f\r\nauth\vrequired\fpam_x.so\r\n\r\n\f\vsession required pam_y.so");
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\trequired\tpam_x.so\t\n\n"
      "session\trequired\tpam_y.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, FinalLineWithOnlyFacilityAndControlIsStillAppended) {
  PAMPolicy policy("x");
  ReadInto(policy, "auth required pam_a.so\nsession optional");
  const PAMStack& session = policy[PAMFacility::Session];
  ASSERT_EQ(1u, session.size());
  EXPECT_EQ("", session.front().module());
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\trequired\tpam_a.so\t\n\n"
      "session\toptional\t\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, ModuleMissingOnALineIsTakenFromTheNext) {
  PAMPolicy policy("x");
  ReadInto(policy,
           "auth required\n"
           "auth optional pam_deny.so\n"
           "session required\n"
           "pam_limits.so conf=/etc/limits\n");
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "auth\trequired\tauth\toptional pam_deny.so \n\n"
      "session\trequired\tpam_limits.so\tconf=/etc/limits \n\n",
      Written(policy));
}

TEST(PAMPolicyTest, BracketedControlMayRunOverLines) {
  PAMPolicy policy("login");
  ReadInto(policy,
           "session [success=ok ignore=ignore\n"
           "    module_unknown=ignore default=bad] pam_selinux.so close\n");
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "session\t[success=ok ignore=ignore module_unknown=ignore default=bad]"
      "\tpam_selinux.so\tclose \n\n",
      Written(policy));
}

TEST(PAMPolicyTest, FailedStreamIsLeftAlone) {
  PAMPolicy policy("x");
  std::istringstream in("auth required pam_x.so\n");
  in.setstate(std::ios::failbit);
  in >> policy;
  EXPECT_EQ("#%PAM-1.0\n\n", Written(policy));
}

TEST(PAMPolicyTest, NameIsKeptButNeverWritten) {
  PAMPolicy policy("my-service");
  ReadInto(policy, "auth required pam_x.so\n");
  EXPECT_EQ("my-service", policy.name());
  EXPECT_EQ(std::string::npos, Written(policy).find("my-service"));
}

TEST(PAMPolicyTest, CopiesAreDeep) {
  PAMPolicy original("a");
  ReadInto(original, "auth required pam_x.so\n");
  PAMPolicy copy(original);
  copy[PAMFacility::Auth].push_back(Entry("optional", "pam_y.so"));
  copy[PAMFacility::Session];
  EXPECT_EQ("#%PAM-1.0\n\nauth\trequired\tpam_x.so\t\n\n", Written(original));
  PAMPolicy assigned("b");
  assigned = copy;
  EXPECT_EQ("a", assigned.name());
  EXPECT_EQ(Written(copy), Written(assigned));
}

TEST(PAMPolicyTest, EditedPolicyIsWrittenExactly) {
  PAMPolicy policy("common-password");
  ReadInto(policy,
           "password [success=1 default=ignore] pam_unix.so obscure yescrypt\n"
           "password requisite pam_deny.so\n"
           "password required pam_permit.so\n");
  PAMStack& password = policy[PAMFacility::Password];
  password.find("pam_unix.so")->parameters().push_back("use_authtok");
  password.insert(password.begin(),
                  Entry("requisite", "pam_pwquality.so", {"retry=3"}));
  password.erase(password.find("pam_permit.so"));
  EXPECT_EQ(
      "#%PAM-1.0\n\n"
      "password\trequisite\tpam_pwquality.so\tretry=3 \n"
      "password\t[success=1 default=ignore]\tpam_unix.so\tobscure yescrypt "
      "use_authtok \n"
      "password\trequisite\tpam_deny.so\t\n\n",
      Written(policy));
}

TEST(PAMPolicyTest, WrittenPolicyIsAFixedPoint) {
  PAMPolicy policy("x");
  ReadInto(policy,
           "session [default=1] pam_permit.so\n"
           "auth [success=2 default=ignore] pam_unix.so nullok\n"
           "account include common-account\n"
           "password substack  system-auth\n"
           "auth sufficient pam_rootok.so\n");
  const std::string once = Written(policy);
  PAMPolicy again("y");
  ReadInto(again, once);
  EXPECT_EQ(once, Written(again));
}
