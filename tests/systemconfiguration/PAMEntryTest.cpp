// PAM entry lines: one rule without its facility word.
#include <gtest/gtest.h>

#include <quarryauth/systemconfiguration.h>

#include <list>
#include <sstream>
#include <string>

namespace sc = SystemConfiguration;
using sc::InvalidControlException;
using sc::PAMControl;
using sc::PAMEntry;

namespace {

using Words = std::list<std::string>;

std::string Written(const PAMEntry& entry) {
  std::ostringstream out;
  out << entry;
  return out.str();
}

PAMControl::Control Value(const PAMEntry& entry) {
  return static_cast<PAMControl::Control>(entry.control());
}

std::string ControlText(const PAMEntry& entry) {
  return static_cast<std::string>(entry.control());
}

PAMEntry Read(const std::string& text) {
  std::istringstream in(text);
  PAMEntry entry;
  in >> entry;
  return entry;
}

PAMEntry Entry(const std::string& control, const std::string& module,
               const Words& parameters) {
  PAMEntry entry{PAMControl(control), module};
  entry.parameters() = parameters;
  return entry;
}

}  // namespace

TEST(PAMEntryTest, DefaultEntryIsEmpty) {
  PAMEntry entry;
  EXPECT_EQ(PAMControl::Unset, Value(entry));
  EXPECT_EQ("", entry.module());
  EXPECT_TRUE(entry.parameters().empty());
}

TEST(PAMEntryTest, WritingAnUnsetControlThrows) {
  std::ostringstream out;
  try {
    out << PAMEntry();
    FAIL() << "nothing thrown";
  } catch (const InvalidControlException& error) {
    EXPECT_STREQ("Invalid Control: ", error.what());
  }
}

TEST(PAMEntryTest, ConstructorTakesControlAndModuleWithoutArguments) {
  PAMEntry entry(PAMControl(PAMControl::Include), "system-auth");
  EXPECT_EQ(PAMControl::Include, Value(entry));
  EXPECT_EQ("system-auth", entry.module());
  EXPECT_TRUE(entry.parameters().empty());
}

TEST(PAMEntryTest, EntryWithoutArgumentsEndsInATab) {
  const PAMEntry entry(PAMControl(PAMControl::Include), "system-auth");
  EXPECT_EQ("include\tsystem-auth\t", Written(entry));
}

TEST(PAMEntryTest, EveryArgumentIsFollowedByASpace) {
  EXPECT_EQ("required\tpam_unix.so\tnullok try_first_pass ",
            Written(Entry("required", "pam_unix.so", {"nullok", "try_first_pass"})));
  EXPECT_EQ("[success=1 default=ignore]\tpam_unix.so\tnullok ",
            Written(Entry("[success=1 default=ignore]", "pam_unix.so", {"nullok"})));
}

TEST(PAMEntryTest, EveryControlTokenIsWrittenAndReadBack) {
  for (const std::string token : {"required", "requisite", "sufficient",
                                  "optional", "include", "substack"}) {
    SCOPED_TRACE(token);
    const PAMEntry entry = Entry(token, "pam_x.so", {"a"});
    const std::string text = Written(entry);
    EXPECT_EQ(token + "\tpam_x.so\ta ", text);
    const PAMEntry back = Read(text);
    EXPECT_TRUE(back == entry);
    EXPECT_EQ(token, ControlText(back));
  }
}

TEST(PAMEntryTest, CarriageReturnAndRunsOfWhiteSpaceSeparateArguments) {
  PAMEntry entry =
      Read("required pam_unix.so  try_first_pass   use_authtok \r\n");
  EXPECT_EQ(PAMControl::Required, Value(entry));
  EXPECT_EQ("pam_unix.so", entry.module());
  EXPECT_EQ((Words{"try_first_pass", "use_authtok"}), entry.parameters());
}

TEST(PAMEntryTest, ReadingAppendsToExistingArguments) {
  PAMEntry entry = Entry("required", "pam_unix.so", {"old"});
  std::istringstream in("optional pam_env.so new1 new2\n");
  in >> entry;
  EXPECT_EQ(PAMControl::Optional, Value(entry));
  EXPECT_EQ("pam_env.so", entry.module());
  EXPECT_EQ((Words{"old", "new1", "new2"}), entry.parameters());
}

TEST(PAMEntryTest, CapitalisedControlThrowsAndLeavesTheEntry) {
  PAMEntry entry = Entry("optional", "pam_keep.so", {"kept"});
  std::istringstream in("Required pam_unix.so nullok\n");
  try {
    in >> entry;
    FAIL() << "nothing thrown";
  } catch (const InvalidControlException& error) {
    EXPECT_STREQ("Invalid Control: Required", error.what());
  }
  EXPECT_EQ(PAMControl::Optional, Value(entry));
  EXPECT_EQ("pam_keep.so", entry.module());
  EXPECT_EQ((Words{"kept"}), entry.parameters());
}

TEST(PAMEntryTest, ExhaustedStreamGivesTheBareMessage) {
  std::istringstream in(" \n\t ");
  PAMEntry entry;
  try {
    in >> entry;
    FAIL() << "nothing thrown";
  } catch (const InvalidControlException& error) {
    EXPECT_STREQ("Invalid Control: ", error.what());
  }
}

TEST(PAMEntryTest, BracketListCollapsesWhiteSpace) {
  PAMEntry entry =
      Read("[success=1     default=ignore]\tpam_unix.so nullok\n");
  EXPECT_EQ(PAMControl::Bracketed, Value(entry));
  EXPECT_EQ("[success=1 default=ignore]", ControlText(entry));
  EXPECT_EQ("pam_unix.so", entry.module());
  EXPECT_EQ((Words{"nullok"}), entry.parameters());
}

TEST(PAMEntryTest, BracketListContinuesAcrossLineEnds) {
  std::istringstream in(
      "[success=ok\n  ignore=ignore\n\tdefault=bad] pam_selinux.so open\nnext");
  PAMEntry entry;
  in >> entry;
  EXPECT_EQ("[success=ok ignore=ignore default=bad]", ControlText(entry));
  EXPECT_EQ("pam_selinux.so", entry.module());
  EXPECT_EQ((Words{"open"}), entry.parameters());
  std::string rest;
  std::getline(in, rest);
  EXPECT_EQ("next", rest);
}

TEST(PAMEntryTest, BracketListStopsAtTheFirstClosingWord) {
  PAMEntry entry = Read("[a b] c] pam_x.so\n");
  EXPECT_EQ("[a b]", ControlText(entry));
  EXPECT_EQ("c]", entry.module());
  EXPECT_EQ((Words{"pam_x.so"}), entry.parameters());
}

TEST(PAMEntryTest, UnclosedBracketListRunsToTheEndAndThrows) {
  std::istringstream in("[success=1 default=ignore\npam_unix.so nullok");
  PAMEntry entry;
  try {
    in >> entry;
    FAIL() << "nothing thrown";
  } catch (const InvalidControlException& error) {
    EXPECT_STREQ(
        "Invalid Control: [success=1 default=ignore pam_unix.so nullok",
        error.what());
  }
}

TEST(PAMEntryTest, ModuleIsTakenFromTheNextLine) {
  std::istringstream in("required\n\npam_deny.so audit\nnext line\n");
  PAMEntry entry;
  in >> entry;
  EXPECT_EQ(PAMControl::Required, Value(entry));
  EXPECT_EQ("pam_deny.so", entry.module());
  EXPECT_EQ((Words{"audit"}), entry.parameters());
  std::string rest;
  std::getline(in, rest);
  EXPECT_EQ("next line", rest);
}

TEST(PAMEntryTest, StreamEndingAfterTheControlLeavesTheModuleEmpty) {
  std::istringstream in("sufficient");
  PAMEntry entry;
  EXPECT_NO_THROW(in >> entry);
  EXPECT_TRUE(in.fail());
  EXPECT_EQ(PAMControl::Sufficient, Value(entry));
  EXPECT_EQ("", entry.module());
  EXPECT_TRUE(entry.parameters().empty());
}

TEST(PAMEntryTest, StreamEndingAfterTheControlKeepsAnOldModule) {
  PAMEntry entry = Entry("required", "pam_old.so", {"x"});
  std::istringstream in("optional\n");
  in >> entry;
  EXPECT_EQ(PAMControl::Optional, Value(entry));
  EXPECT_EQ("pam_old.so", entry.module());
  EXPECT_EQ((Words{"x"}), entry.parameters());
}

TEST(PAMEntryTest, ArgumentsHaveNoGroupingOrComments) {
  PAMEntry entry =
      Read("required pam_x.so [a b] \"c d\" # not=a-comment\n");
  EXPECT_EQ((Words{"[a", "b]", "\"c", "d\"", "#", "not=a-comment"}),
            entry.parameters());
}

TEST(PAMEntryTest, OnlyTheRestOfTheLineIsRead) {
  std::istringstream in("required pam_a.so one\noptional pam_b.so two\n");
  PAMEntry first;
  in >> first;
  EXPECT_EQ((Words{"one"}), first.parameters());
  PAMEntry second;
  in >> second;
  EXPECT_EQ(PAMControl::Optional, Value(second));
  EXPECT_EQ("pam_b.so", second.module());
  EXPECT_EQ((Words{"two"}), second.parameters());
}

TEST(PAMEntryTest, EqualityIgnoresTheBracketedText) {
  const PAMEntry one =
      Entry("[success=1 default=ignore]", "pam_unix.so", {"nullok"});
  const PAMEntry two =
      Entry("[success=2 default=die]", "pam_unix.so", {"nullok"});
  EXPECT_TRUE(one == two);
}

TEST(PAMEntryTest, EqualityComparesValueModuleAndArguments) {
  const PAMEntry base = Entry("required", "pam_unix.so", {"a", "b"});
  EXPECT_TRUE(base == Entry("required", "pam_unix.so", {"a", "b"}));
  EXPECT_FALSE(base == Entry("requisite", "pam_unix.so", {"a", "b"}));
  EXPECT_FALSE(base == Entry("required", "/lib/security/pam_unix.so", {"a", "b"}));
  EXPECT_FALSE(base == Entry("required", "pam_unix.so", {"b", "a"}));
  EXPECT_FALSE(base == Entry("required", "pam_unix.so", {"a"}));
  EXPECT_FALSE(base == Entry("required", "pam_unix.so", {"a", "b", "c"}));
}

TEST(PAMEntryTest, CopiesAreDeep) {
  PAMEntry original = Entry("[x]", "pam_unix.so", {"a"});
  PAMEntry copy(original);
  copy.parameters().push_back("b");
  EXPECT_EQ((Words{"a"}), original.parameters());
  PAMEntry assigned;
  assigned = original;
  assigned.parameters().clear();
  EXPECT_EQ((Words{"a"}), original.parameters());
  EXPECT_EQ("[x]", ControlText(assigned));
  EXPECT_EQ("pam_unix.so", assigned.module());
}

TEST(PAMEntryTest, WrittenEntryReadsBackEqual) {
  PAMEntry entry =
      Entry("[success=ok default=bad]", "pam_selinux.so", {"open", "verbose"});
  const PAMEntry back = Read(Written(entry));
  EXPECT_TRUE(back == entry);
  EXPECT_EQ("[success=ok default=bad]", ControlText(back));
}
