#include "support/Files.h"

#include <quarryauth/authentication.h>

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <utility>

namespace qa = quarry::authentication;
using quarry_test::ReadFile;
using quarry_test::WriteFile;

namespace {

const std::string kPath = "/etc/quarry/quarryauth/test.conf";

using Pair = std::pair<std::string, std::string>;

Pair Parse(const std::string& line) { return qa::GetKeyValuePair(line, 1); }

std::string ParseError(const std::string& line, int lineNumber) {
  try {
    qa::GetKeyValuePair(line, lineNumber);
  } catch (const qa::ConfigurationError& error) {
    EXPECT_EQ(error.GetCode(), 0u);
    return error.what();
  }
  ADD_FAILURE() << "no error for " << line;
  return std::string();
}

TEST(GetKeyValuePair, DoubleQuotesAreStripped) {
  EXPECT_EQ(Parse("a = \"x\""), Pair("a", "x"));
}

TEST(GetKeyValuePair, BareAndSingleQuotedValuesGiveTheSame) {
  EXPECT_EQ(Parse("a=x"), Pair("a", "x"));
  EXPECT_EQ(Parse("a = 'x'"), Pair("a", "x"));
}

TEST(GetKeyValuePair, OneSidedQuoteIsKept) {
  EXPECT_EQ(Parse("a = \"x"), Pair("a", "\"x"));
  EXPECT_EQ(Parse("a = x\""), Pair("a", "x\""));
}

TEST(GetKeyValuePair, MixedQuotesAreKept) {
  EXPECT_EQ(Parse("a = \"x'"), Pair("a", "\"x'"));
}

TEST(GetKeyValuePair, OnlyOneOuterPairIsStripped) {
  EXPECT_EQ(Parse("a = \"\"x\"\""), Pair("a", "\"x\""));
  EXPECT_EQ(Parse("a = \"say \"hi\"\""), Pair("a", "say \"hi\""));
}

TEST(GetKeyValuePair, EmptyQuotesGiveTheEmptyValue) {
  EXPECT_EQ(Parse("a = \"\""), Pair("a", ""));
  EXPECT_EQ(Parse("a = ''"), Pair("a", ""));
}

TEST(GetKeyValuePair, LoneQuoteValueIsInvalidQuoting) {
  EXPECT_EQ(ParseError("a = \"", 7),
            "Error parsing configuration at line 7: invalid quoting");
  EXPECT_EQ(ParseError("a = '", 2),
            "Error parsing configuration at line 2: invalid quoting");
}

TEST(GetKeyValuePair, LoneQuoteKeyIsInvalidQuoting) {
  EXPECT_EQ(ParseError("\" = x", 4),
            "Error parsing configuration at line 4: invalid quoting");
}

TEST(GetKeyValuePair, NoDelimiter) {
  EXPECT_EQ(ParseError("just text", 3),
            "Error parsing configuration on line 3: no delimiter found");
}

TEST(GetKeyValuePair, LaterEqualsSignsBelongToTheValue) {
  const Pair pair = Parse("k = a=b");
  EXPECT_EQ(pair.first, "k");
  EXPECT_EQ(pair.second, "a=b");
  EXPECT_EQ(pair.second.size(), 3u);
}

TEST(GetKeyValuePair, CarriageReturnIsNotWhitespace) {
  EXPECT_EQ(Parse("a = \"x\"\r"), Pair("a", "\"x\"\r"));
}

TEST(GetKeyValuePair, WhitespaceOnlyValueIsKeptUntrimmed) {
  EXPECT_EQ(Parse("a =   "), Pair("a", "   "));
  EXPECT_EQ(Parse("a=   "), Pair("a", "   "));
  EXPECT_EQ(Parse("a=\t \t"), Pair("a", "\t \t"));
}

TEST(GetKeyValuePair, EmptyPair) {
  EXPECT_EQ(Parse("="), Pair("", ""));
  EXPECT_EQ(Parse(" = "), Pair(" ", " "));
}

TEST(GetKeyValuePair, SingleCharactersAndInnerSpaces) {
  EXPECT_EQ(Parse("\tk\t=\tv\t"), Pair("k", "v"));
  EXPECT_EQ(Parse("my key = two words"), Pair("my key", "two words"));
  EXPECT_EQ(Parse("'quoted key' = v"), Pair("quoted key", "v"));
}

TEST(Configuration, LoadsPairsAndSkipsBlankLines) {
  WriteFile(kPath, "a = \"1\"\n\n \t \nb = 'two'\n");
  qa::Configuration configuration(kPath);
  EXPECT_EQ(configuration.size(), 2u);
  EXPECT_EQ(configuration["a"], "1");
  EXPECT_EQ(configuration["b"], "two");
  EXPECT_EQ(configuration.Path(), kPath);
}

TEST(Configuration, FirstOccurrenceOfAKeyWins) {
  WriteFile(kPath, "a = \"1\"\na = \"2\"\n");
  qa::Configuration configuration(kPath);
  EXPECT_EQ(configuration.size(), 1u);
  EXPECT_EQ(configuration["a"], "1");
}

TEST(Configuration, LineNumbersCountBlankLines) {
  WriteFile(kPath, "a = \"1\"\n\nnot a pair\n");
  try {
    qa::Configuration configuration(kPath);
    FAIL();
  } catch (const qa::ConfigurationError& error) {
    EXPECT_STREQ(error.what(),
                 "Error parsing configuration on line 3: no delimiter found");
  }
}

TEST(Configuration, QuotingErrorNamesItsLine) {
  WriteFile(kPath, "a = \"1\"\n\n\nb = \"\n");
  try {
    qa::Configuration configuration(kPath);
    FAIL();
  } catch (const qa::ConfigurationError& error) {
    EXPECT_STREQ(error.what(),
                 "Error parsing configuration at line 4: invalid quoting");
  }
}

TEST(Configuration, NumberSignIsNoComment) {
  WriteFile(kPath, "# a comment\n");
  try {
    qa::Configuration configuration(kPath);
    FAIL();
  } catch (const qa::ConfigurationError& error) {
    EXPECT_STREQ(error.what(),
                 "Error parsing configuration on line 1: no delimiter found");
  }
  WriteFile(kPath, "#a = b\n");
  qa::Configuration configuration(kPath);
  EXPECT_EQ(configuration["#a"], "b");
}

TEST(Configuration, MissingFileIsIOError) {
  try {
    qa::Configuration configuration("/etc/quarry/quarryauth/absent.conf");
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_EQ(error.GetCode(), 0u);
    EXPECT_STREQ(error.what(),
                 "Unable to open '/etc/quarry/quarryauth/absent.conf': No "
                 "such file or directory");
  }
}

TEST(Configuration, DirectoryIsIOError) {
  try {
    qa::Configuration configuration("/etc/quarry/quarryauth");
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_STREQ(error.what(),
                 "Unable to open '/etc/quarry/quarryauth': Is a directory");
  }
}

// Drops the capabilities that let root read any file, so that the mode
// bits apply.
void DropFileReadCapabilities() {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  ASSERT_EQ(syscall(SYS_capget, &header, data), 0);
  for (int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
    data[capability / 32].effective &= ~(1u << (capability % 32));
  }
  ASSERT_EQ(syscall(SYS_capset, &header, data), 0);
}

TEST(Configuration, UnreadableFileIsIOErrorWithSystemText) {
  WriteFile(kPath, "a = \"1\"\n");
  ASSERT_EQ(::chmod(kPath.c_str(), 0), 0);
  int pipeEnds[2];
  ASSERT_EQ(::pipe(pipeEnds), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(pipeEnds[0]);
    DropFileReadCapabilities();
    std::string message = "no error";
    try {
      qa::Configuration configuration(kPath);
    } catch (const qa::IOError& error) {
      message = error.what();
    }
    ssize_t written = ::write(pipeEnds[1], message.data(), message.size());
    ::_exit(written == static_cast<ssize_t>(message.size()) ? 0 : 1);
  }
  ::close(pipeEnds[1]);
  std::string message;
  char buffer[256];
  ssize_t got;
  while ((got = ::read(pipeEnds[0], buffer, sizeof buffer)) > 0) {
    message.append(buffer, static_cast<std::size_t>(got));
  }
  ::close(pipeEnds[0]);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(message, "Unable to open '" + kPath + "': Permission denied");
}

TEST(Configuration, ConstLookupOfMissingKeyThrowsInvalidKey) {
  WriteFile(kPath, "a = \"1\"\n");
  const qa::Configuration configuration(kPath);
  EXPECT_EQ(configuration["a"], "1");
  try {
    (void)configuration["missing"];
    FAIL();
  } catch (const qa::InvalidKeyException& error) {
    EXPECT_STREQ(error.what(),
                 "The specified key 'missing' was not found in this "
                 "configuration");
  }
  EXPECT_EQ(configuration.size(), 1u);
}

TEST(Configuration, WriteSortsKeysAndQuotesValues) {
  WriteFile(kPath, "zeta = 'last'\nalpha=first\nmiddle = \"a b\"\n");
  qa::Configuration configuration(kPath);
  configuration.Write();
  EXPECT_EQ(ReadFile(kPath),
            "alpha = \"first\"\nmiddle = \"a b\"\nzeta = \"last\"\n");
}

TEST(Configuration, InsertingLookupAddsAnEmptyQuotedValue) {
  WriteFile(kPath, "a = \"1\"\n");
  qa::Configuration configuration(kPath);
  EXPECT_EQ(configuration["new"], "");
  configuration.Write();
  EXPECT_EQ(ReadFile(kPath), "a = \"1\"\nnew = \"\"\n");
}

TEST(Configuration, ValuesWithQuotesReadBackUnchanged) {
  WriteFile(kPath, "x = v\n");
  qa::Configuration configuration(kPath);
  configuration["quoted"] = "\"inner\"";
  configuration["tail"] = "ends in '";
  configuration["blank"] = "   ";
  configuration["equals"] = "a=b=c";
  configuration.Write();
  qa::Configuration reread(kPath);
  EXPECT_EQ(reread, configuration);
}

TEST(Configuration, WriteReplacesTheFileKeepingItsMode) {
  WriteFile(kPath, "a = \"1\"\n");
  ASSERT_EQ(::chmod(kPath.c_str(), 0644), 0);
  const ino_t before = quarry_test::Stat(kPath).st_ino;
  qa::Configuration configuration(kPath);
  configuration["a"] = "2";
  configuration.Write();
  EXPECT_NE(quarry_test::Stat(kPath).st_ino, before);
  EXPECT_EQ(quarry_test::Mode(kPath), 0644u);
  EXPECT_EQ(ReadFile(kPath), "a = \"2\"\n");
  EXPECT_EQ(quarry_test::ListDirectory("/etc/quarry/quarryauth").size(), 1u);
}

TEST(Configuration, WriteOnAFullDiskKeepsTheOldFile) {
  quarry_test::Shell("mount -t tmpfs -o size=8k tmpfs /etc/quarry/quarryauth");
  WriteFile(kPath, "a = \"1\"\n");
  qa::Configuration configuration(kPath);
  configuration["big"] = std::string(64 * 1024, 'x');
  try {
    configuration.Write();
    FAIL();
  } catch (const qa::IOError& error) {
    EXPECT_STREQ(error.what(),
                 ("Unable to write '" + kPath + "': No space left on device")
                     .c_str());
  }
  EXPECT_EQ(ReadFile(kPath), "a = \"1\"\n");
  EXPECT_EQ(quarry_test::ListDirectory("/etc/quarry/quarryauth").size(), 1u);
}

}  // namespace
