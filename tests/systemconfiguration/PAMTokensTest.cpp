// PAM control and facility tokens.
#include <gtest/gtest.h>

#include <quarryauth/authentication.h>
#include <quarryauth/systemconfiguration.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/ModelText.h"

namespace sc = SystemConfiguration;
using sc::InvalidControlException;
using sc::InvalidFacilityException;
using sc::PAMControl;
using sc::PAMFacility;

namespace {

const std::vector<std::pair<std::string, PAMControl::Control>> kControls = {
    {"required", PAMControl::Required},   {"requisite", PAMControl::Requisite},
    {"sufficient", PAMControl::Sufficient}, {"optional", PAMControl::Optional},
    {"include", PAMControl::Include},     {"substack", PAMControl::Substack},
};

const std::vector<std::pair<std::string, PAMFacility::Facility>> kFacilities = {
    {"auth", PAMFacility::Auth},
    {"account", PAMFacility::Account},
    {"password", PAMFacility::Password},
    {"session", PAMFacility::Session},
};

std::string Text(const PAMControl& control) {
  return static_cast<std::string>(control);
}

std::string Text(const PAMFacility& facility) {
  return static_cast<std::string>(facility);
}

PAMControl::Control Value(const PAMControl& control) {
  return static_cast<PAMControl::Control>(control);
}

PAMFacility::Facility Value(const PAMFacility& facility) {
  return static_cast<PAMFacility::Facility>(facility);
}

using quarry_test::MessageOf;

}  // namespace

// --- the enumerations -----------------------------------------------------

TEST(PAMControlTest, EnumeratorNumbers) {
  static_assert(
      std::is_same_v<std::underlying_type_t<PAMControl::Control>, std::uint32_t>);
  EXPECT_EQ(0u, PAMControl::Unset);
  EXPECT_EQ(1u, PAMControl::Required);
  EXPECT_EQ(2u, PAMControl::Requisite);
  EXPECT_EQ(3u, PAMControl::Sufficient);
  EXPECT_EQ(4u, PAMControl::Optional);
  EXPECT_EQ(5u, PAMControl::Include);
  EXPECT_EQ(6u, PAMControl::Substack);
  EXPECT_EQ(7u, PAMControl::Bracketed);
}

TEST(PAMFacilityTest, EnumeratorNumbers) {
  static_assert(std::is_same_v<std::underlying_type_t<PAMFacility::Facility>,
                               std::uint32_t>);
  EXPECT_EQ(0u, PAMFacility::Unset);
  EXPECT_EQ(1u, PAMFacility::Account);
  EXPECT_EQ(2u, PAMFacility::Auth);
  EXPECT_EQ(3u, PAMFacility::Password);
  EXPECT_EQ(4u, PAMFacility::Session);
}

TEST(PAMTokensTest, ExceptionsStandOutsideTheLibraryFamily) {
  static_assert(std::is_base_of_v<std::exception, InvalidControlException>);
  static_assert(std::is_base_of_v<std::exception, InvalidFacilityException>);
  static_assert(!std::is_base_of_v<quarry::authentication::Exception,
                                   InvalidControlException>);
  static_assert(!std::is_base_of_v<quarry::authentication::Exception,
                                   InvalidFacilityException>);
  EXPECT_STREQ("some text", InvalidControlException("some text").what());
  EXPECT_STREQ("other text", InvalidFacilityException("other text").what());
}

// --- PAMControl -----------------------------------------------------------

TEST(PAMControlTest, EveryTokenParsesAndPrints) {
  for (const auto& [token, value] : kControls) {
    SCOPED_TRACE(token);
    const PAMControl parsed(token);
    EXPECT_EQ(value, Value(parsed));
    EXPECT_EQ(token, Text(parsed));
    EXPECT_EQ("", parsed.text());
    EXPECT_TRUE(parsed == token);
    EXPECT_TRUE(parsed == PAMControl(value));
    EXPECT_EQ(token, Text(PAMControl(value)));

    PAMControl assigned;
    assigned = token;
    EXPECT_EQ(value, Value(assigned));
    EXPECT_EQ(token, Text(assigned));
  }
}

TEST(PAMControlTest, DefaultIsUnsetAndHasNoText) {
  const PAMControl control;
  EXPECT_EQ(PAMControl::Unset, Value(control));
  EXPECT_EQ("", control.text());
  EXPECT_EQ("Invalid Control: ",
            MessageOf<InvalidControlException>([&] { Text(control); }));
}

TEST(PAMControlTest, ValueWithoutRowDropsLeadingCharactersOfTheMessage) {
  const std::string literal = "Invalid Control: ";
  for (std::uint32_t value : {0u, 8u, 9u, 12u, 16u, 17u}) {
    SCOPED_TRACE(value);
    const PAMControl control(static_cast<PAMControl::Control>(value));
    EXPECT_EQ(value, Value(control));  // not checked on construction
    EXPECT_EQ(literal.substr(value),
              MessageOf<InvalidControlException>([&] { Text(control); }));
  }
  EXPECT_EQ("Control: ", MessageOf<InvalidControlException>([] {
              Text(PAMControl(static_cast<PAMControl::Control>(8)));
            }));
}

TEST(PAMControlTest, BracketedListParsesAsSevenAndPrintsItsText) {
  const PAMControl control("[success=ok default=bad]");
  EXPECT_EQ(PAMControl::Bracketed, Value(control));
  EXPECT_EQ("[success=ok default=bad]", Text(control));
  EXPECT_EQ("[success=ok default=bad]", control.text());

  EXPECT_EQ(PAMControl::Bracketed, Value(PAMControl("[]")));
  EXPECT_EQ("[]", Text(PAMControl("[]")));
}

TEST(PAMControlTest, UnclosedBracketThrows) {
  EXPECT_EQ("Invalid Control: [success=ok",
            MessageOf<InvalidControlException>(
                [] { PAMControl control("[success=ok"); }));
  // "[" alone ends in "[", not "]".
  EXPECT_EQ("Invalid Control: [",
            MessageOf<InvalidControlException>([] { PAMControl control("["); }));
  EXPECT_EQ("Invalid Control: success=ok]",
            MessageOf<InvalidControlException>(
                [] { PAMControl control("success=ok]"); }));
}

TEST(PAMControlTest, TokensAreExactAndCaseSensitive) {
  for (const std::string word :
       {"Required", "REQUIRED", "require", "requiredX", " required", "",
        "-required", "Sufficient"}) {
    SCOPED_TRACE(word);
    EXPECT_EQ("Invalid Control: " + word,
              MessageOf<InvalidControlException>(
                  [&] { PAMControl control(word); }));
  }
}

TEST(PAMControlTest, ConstructorsFromValueAndTextAreUnchecked) {
  const PAMControl bare(PAMControl::Bracketed);
  EXPECT_EQ(PAMControl::Bracketed, Value(bare));
  EXPECT_EQ("", Text(bare));  // value 7 returns its text, empty here

  const PAMControl odd(PAMControl::Required, "not a list");
  EXPECT_EQ(PAMControl::Required, Value(odd));
  EXPECT_EQ("not a list", odd.text());
  EXPECT_EQ("required", Text(odd));  // only value 7 prints its text

  const PAMControl free(PAMControl::Bracketed, "anything at all");
  EXPECT_EQ("anything at all", Text(free));
}

TEST(PAMControlTest, CopiesCarryValueAndText) {
  const PAMControl original("[a=b]");
  const PAMControl copy(original);
  EXPECT_EQ(PAMControl::Bracketed, Value(copy));
  EXPECT_EQ("[a=b]", copy.text());
  PAMControl assigned;
  assigned = original;
  EXPECT_EQ("[a=b]", Text(assigned));
}

TEST(PAMControlTest, AssigningAValueClearsTheText) {
  PAMControl control("[x]");
  control = PAMControl::Required;
  EXPECT_EQ(PAMControl::Required, Value(control));
  EXPECT_EQ("", control.text());
  control = PAMControl::Bracketed;
  EXPECT_EQ("", Text(control));
}

TEST(PAMControlTest, AssigningATokenKeepsTheOldBracketedText) {
  PAMControl control("[x]");
  control = std::string("optional");
  EXPECT_EQ(PAMControl::Optional, Value(control));
  EXPECT_EQ("[x]", control.text());
  EXPECT_EQ("optional", Text(control));

  control = std::string("[y z]");
  EXPECT_EQ(PAMControl::Bracketed, Value(control));
  EXPECT_EQ("[y z]", control.text());
}

TEST(PAMControlTest, FailedParseLeavesTheControlAlone) {
  PAMControl control("[keep]");
  EXPECT_THROW(control = std::string("bogus"), InvalidControlException);
  EXPECT_EQ(PAMControl::Bracketed, Value(control));
  EXPECT_EQ("[keep]", control.text());
}

TEST(PAMControlTest, BracketedControlsCompareByText) {
  const PAMControl one("[success=1 default=ignore]");
  const PAMControl two("[success=2 default=die]");
  EXPECT_FALSE(one == two);
  EXPECT_TRUE(one == PAMControl("[success=1 default=ignore]"));
  EXPECT_FALSE(one == PAMControl(PAMControl::Bracketed));
  EXPECT_FALSE(one == PAMControl(PAMControl::Required));
}

TEST(PAMControlTest, BracketedControlComparedWithAStringComparesText) {
  const PAMControl control("[x]");
  EXPECT_FALSE(control == std::string("required"));
  EXPECT_FALSE(control == std::string("bogus"));  // no parse, no throw
  EXPECT_TRUE(control == std::string("[x]"));
  EXPECT_FALSE(control == std::string("[x] "));
}

TEST(PAMControlTest, TokenControlComparedWithAStringParsesIt) {
  const PAMControl control(PAMControl::Required);
  EXPECT_TRUE(control == std::string("required"));
  EXPECT_FALSE(control == std::string("optional"));
  EXPECT_FALSE(control == std::string("[x]"));
  EXPECT_EQ("Invalid Control: bogus", MessageOf<InvalidControlException>(
                                          [&] { (void)(control == std::string("bogus")); }));
}

TEST(PAMControlTest, TokenControlsCompareByValueOnly) {
  // The left side is not bracketed: only the numbers count.
  EXPECT_TRUE(PAMControl(PAMControl::Required) ==
              PAMControl(PAMControl::Required, "other text"));
  EXPECT_FALSE(PAMControl(PAMControl::Required) == PAMControl("[x]"));
  EXPECT_TRUE(PAMControl(PAMControl::Required) == PAMControl::Required);
  EXPECT_FALSE(PAMControl(PAMControl::Required) == PAMControl::Optional);
}

// --- PAMFacility ----------------------------------------------------------

TEST(PAMFacilityTest, EveryTokenParsesAndPrints) {
  for (const auto& [token, value] : kFacilities) {
    SCOPED_TRACE(token);
    const PAMFacility parsed(token);
    EXPECT_EQ(value, Value(parsed));
    EXPECT_EQ(token, Text(parsed));
    EXPECT_TRUE(parsed == token);
    EXPECT_TRUE(parsed == PAMFacility(value));
    EXPECT_TRUE(parsed == value);

    PAMFacility assigned;
    assigned = token;
    EXPECT_EQ(value, Value(assigned));

    std::ostringstream out;
    out << PAMFacility(value);
    EXPECT_EQ(token, out.str());

    std::istringstream in(" \t" + token + "\nrest");
    PAMFacility read;
    in >> read;
    EXPECT_EQ(value, Value(read));
    std::string rest;
    in >> rest;
    EXPECT_EQ("rest", rest);
  }
}

TEST(PAMFacilityTest, DefaultIsUnsetAndPrintsNothing) {
  const PAMFacility facility;
  EXPECT_EQ(PAMFacility::Unset, Value(facility));
  EXPECT_EQ("Invalid Facility: ",
            MessageOf<InvalidFacilityException>([&] { Text(facility); }));
  std::ostringstream out;
  EXPECT_EQ("Invalid Facility: ", MessageOf<InvalidFacilityException>(
                                      [&] { out << facility; }));
}

TEST(PAMFacilityTest, ValueWithoutRowDropsLeadingCharactersOfTheMessage) {
  const std::string literal = "Invalid Facility: ";
  for (std::uint32_t value : {0u, 5u, 8u, 17u, 18u}) {
    SCOPED_TRACE(value);
    const PAMFacility facility(static_cast<PAMFacility::Facility>(value));
    EXPECT_EQ(literal.substr(value),
              MessageOf<InvalidFacilityException>([&] { Text(facility); }));
  }
  EXPECT_EQ("id Facility: ", MessageOf<InvalidFacilityException>([] {
              Text(PAMFacility(static_cast<PAMFacility::Facility>(5)));
            }));
}

TEST(PAMFacilityTest, UnknownWordsThrow) {
  for (const std::string word :
       {"AUTH", "Auth", "-session", "@include", "", "auth:", "sessions"}) {
    SCOPED_TRACE(word);
    EXPECT_EQ("Invalid Facility: " + word,
              MessageOf<InvalidFacilityException>(
                  [&] { PAMFacility facility(word); }));
  }
}

TEST(PAMFacilityTest, FailedParseLeavesTheFacilityAlone) {
  PAMFacility facility(PAMFacility::Session);
  EXPECT_THROW(facility = std::string("AUTH"), InvalidFacilityException);
  EXPECT_EQ(PAMFacility::Session, Value(facility));
}

TEST(PAMFacilityTest, ComparisonWithAStringParsesIt) {
  const PAMFacility facility(PAMFacility::Auth);
  EXPECT_TRUE(facility == std::string("auth"));
  EXPECT_FALSE(facility == std::string("account"));
  EXPECT_EQ("Invalid Facility: bogus", MessageOf<InvalidFacilityException>([&] {
              (void)(facility == std::string("bogus"));
            }));
  EXPECT_TRUE(facility == PAMFacility(PAMFacility::Auth));
  EXPECT_FALSE(facility == PAMFacility());
}

TEST(PAMFacilityTest, AssignmentAndCopy) {
  PAMFacility facility;
  facility = PAMFacility::Password;
  const PAMFacility copy(facility);
  EXPECT_EQ(PAMFacility::Password, Value(copy));
  PAMFacility other;
  other = copy;
  EXPECT_EQ("password", Text(other));
}

TEST(PAMFacilityTest, StreamInputReadsOneWord) {
  std::istringstream in("session\trequired");
  PAMFacility facility;
  in >> facility;
  EXPECT_EQ(PAMFacility::Session, Value(facility));

  std::istringstream bad("-session optional pam_systemd.so");
  EXPECT_EQ("Invalid Facility: -session",
            MessageOf<InvalidFacilityException>([&] { bad >> facility; }));
  EXPECT_EQ(PAMFacility::Session, Value(facility));

  // An exhausted stream gives the empty word, which is no facility.
  std::istringstream empty("   ");
  EXPECT_EQ("Invalid Facility: ",
            MessageOf<InvalidFacilityException>([&] { empty >> facility; }));
}
