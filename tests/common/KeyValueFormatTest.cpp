// The key = "value" line format of the library's and the platform's files.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "common/KeyValueFormat.h"

namespace quarry::common {
namespace {

KeyValueError Parse(const std::string& line, std::string& key,
                    std::string& value) {
  return ParseKeyValueLine(line, key, value);
}

TEST(KeyValueFormatTest, ReadsQuotedAndBareValuesAndTrimsBlanks) {
  std::string key, value;
  ASSERT_EQ(Parse("  provider =  \"quarrydemo\"  ", key, value),
            KeyValueError::None);
  EXPECT_EQ(key, "provider");
  EXPECT_EQ(value, "quarrydemo");
  ASSERT_EQ(Parse("a='single quoted'", key, value), KeyValueError::None);
  EXPECT_EQ(value, "single quoted");
  ASSERT_EQ(Parse("a = bare words", key, value), KeyValueError::None);
  EXPECT_EQ(value, "bare words");
  ASSERT_EQ(Parse("a = \"x=y\"", key, value), KeyValueError::None);
  EXPECT_EQ(value, "x=y");
}

TEST(KeyValueFormatTest, NamesTheErrorsOfMalformedLines) {
  std::string key, value;
  EXPECT_EQ(Parse("no delimiter", key, value), KeyValueError::NoDelimiter);
  EXPECT_EQ(Parse("a = \"", key, value), KeyValueError::InvalidQuoting);
  EXPECT_EQ(KeyValueErrorMessage(KeyValueError::NoDelimiter, 3),
            "Error parsing configuration on line 3: no delimiter found");
  EXPECT_EQ(KeyValueErrorMessage(KeyValueError::InvalidQuoting, 4),
            "Error parsing configuration at line 4: invalid quoting");
}

TEST(KeyValueFormatTest, ReadsAStreamFirstKeyWinsAndStopsAtABadLine) {
  std::istringstream in("a = \"1\"\n\n  \na = \"2\"\nb = \"3\"\nbad\nc = \"4\"\n");
  std::map<std::string, std::string> pairs;
  int failedLine = 0;
  EXPECT_EQ(ReadKeyValueStream(in, pairs, failedLine),
            KeyValueError::NoDelimiter);
  EXPECT_EQ(failedLine, 6);
  EXPECT_EQ(pairs, (std::map<std::string, std::string>{{"a", "1"}, {"b", "3"}}));
}

TEST(KeyValueFormatTest, WritesWhatItReads) {
  std::ostringstream out;
  WriteKeyValueLine(out, "domain", "ad.test");
  EXPECT_EQ(out.str(), "domain = \"ad.test\"\n");
  std::string key, value;
  ASSERT_EQ(Parse(out.str().substr(0, out.str().size() - 1), key, value),
            KeyValueError::None);
  EXPECT_EQ(key, "domain");
  EXPECT_EQ(value, "ad.test");
}

}  // namespace
}  // namespace quarry::common
