#include <cstdint>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include <quarryauth/platform/skarnconfigstore/CSErrorCodes.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>

namespace {

using SkarnConfigStore::ConfigStoreException;
using SkarnConfigStore::CSErrorCodes;
using SkarnConfigStore::CSErrorMessages;
using SkarnConfigStore::CSErrorTable;
using SkarnConfigStore::FormatCSErrorMessage;

uint32_t Number(CSErrorCodes code) { return static_cast<uint32_t>(code); }

TEST(CSErrorTable, HoldsSixtyNinePairsInTheirOrder) {
  ASSERT_EQ(69u, CSErrorTable.size());
  EXPECT_EQ(1001u, Number(CSErrorTable.front().code));
  EXPECT_STREQ("Failed to open database %s", CSErrorTable.front().message);
  EXPECT_EQ(1105u, Number(CSErrorTable.back().code));
  EXPECT_STREQ("ConfigStore internal error", CSErrorTable.back().message);
  // The repeated codes follow their first occurrence directly.
  EXPECT_EQ(1030u, Number(CSErrorTable[18].code));
  EXPECT_STREQ("Invalid type, %s", CSErrorTable[18].message);
  EXPECT_EQ(1030u, Number(CSErrorTable[19].code));
  EXPECT_STREQ("Invalid key %s", CSErrorTable[19].message);
  EXPECT_EQ(1084u, Number(CSErrorTable[54].code));
  EXPECT_STREQ("Failed to validate Default config", CSErrorTable[54].message);
  EXPECT_EQ(1084u, Number(CSErrorTable[55].code));
  EXPECT_STREQ("Failed to validate Cached config", CSErrorTable[55].message);
}

TEST(CSErrorTable, ListsTheCodesInAscendingOrder) {
  for (std::size_t i = 1; i < CSErrorTable.size(); ++i) {
    EXPECT_LE(Number(CSErrorTable[i - 1].code), Number(CSErrorTable[i].code))
        << "entry " << i;
  }
}

TEST(CSErrorTable, HasSixtySevenDistinctCodes) {
  std::set<uint32_t> codes;
  for (const auto& entry : CSErrorTable) codes.insert(Number(entry.code));
  EXPECT_EQ(67u, codes.size());
  EXPECT_EQ(67u, CSErrorMessages.size());
  EXPECT_EQ(0u, codes.count(1085));
  EXPECT_EQ(0u, CSErrorMessages.count(static_cast<CSErrorCodes>(1085)));
}

TEST(CSErrorTable, KeepsTheFirstTextOfARepeatedCode) {
  EXPECT_EQ("Invalid type, %s", CSErrorMessages.at(CSErrorCodes::InvalidKey));
  EXPECT_EQ("Invalid type, %s", CSErrorMessages.at(CSErrorCodes::InvalidType));
  EXPECT_EQ("Failed to validate Default config",
            CSErrorMessages.at(CSErrorCodes::CachedConfigValidationFailed));
}

TEST(CSErrorTable, MapsEveryCodeToItsText) {
  for (const auto& entry : CSErrorTable) {
    if (entry.code == CSErrorCodes::InvalidKey ||
        entry.code == CSErrorCodes::CachedConfigValidationFailed) {
      continue;  // same code as the entry before, whose text is kept
    }
    EXPECT_EQ(entry.message, CSErrorMessages.at(entry.code));
  }
}

TEST(CSErrorTable, HasTheExactTexts) {
  const auto text = [](uint32_t code) {
    return CSErrorMessages.at(static_cast<CSErrorCodes>(code));
  };
  EXPECT_EQ("Failed to open database %s", text(1001));
  EXPECT_EQ("Failed to delete from database", text(1007));
  EXPECT_EQ("Failed integrity check on the database", text(1010));
  EXPECT_EQ("Invalid database type", text(1018));
  EXPECT_EQ("Key not found", text(1031));
  EXPECT_EQ("Failed to encode/decode value for key %s", text(1035));
  EXPECT_EQ("Configuration object not found: %s", text(1036));
  EXPECT_EQ("%s: Configuration object is empty", text(1040));
  EXPECT_EQ("Configuration object already exists: %s", text(1042));
  EXPECT_EQ("Non-Singleton SubObject filtering is not supported", text(1044));
  EXPECT_EQ("API cannot be invoked with EXTERNAL context during boot",
            text(1050));
  EXPECT_EQ("Set operation failed: %s", text(1051));
  EXPECT_EQ("Get operation failed: %s", text(1052));
  EXPECT_EQ("Update operation failed: %s", text(1053));
  EXPECT_EQ("Delete operation failed: %s", text(1054));
  EXPECT_EQ("Set Partial Boot Status operation failed", text(1060));
  EXPECT_EQ("Validation Error: '%s' %s", text(1083));
  EXPECT_EQ("Failed to validate Auto config", text(1092));
  EXPECT_EQ("Invalid Argument", text(1100));
  EXPECT_EQ("Tessel_ForkExec failed, errno: %s", text(1102));
  EXPECT_EQ("Failed to wait for child process: %d, errno: %s", text(1103));
  EXPECT_EQ("Child process terminated with exit value: %d", text(1104));
}

TEST(CSErrorMessage, FillsPlaceholdersInOrder) {
  EXPECT_EQ("Failed to open database /var/lib/quarry/configstore.db",
            FormatCSErrorMessage(CSErrorCodes::DatabaseOpenFailed,
                                 {"/var/lib/quarry/configstore.db"}));
  EXPECT_EQ("Validation Error: 'port' out of range",
            FormatCSErrorMessage(CSErrorCodes::ValidationError,
                                 {"port", "out of range"}));
  EXPECT_EQ("Failed to wait for child process: 42, errno: No child processes",
            FormatCSErrorMessage(CSErrorCodes::ChildWaitFailed,
                                 {"42", "No child processes"}));
  EXPECT_EQ("x: Configuration object is empty",
            FormatCSErrorMessage(CSErrorCodes::ObjectEmpty, {"x"}));
}

TEST(CSErrorMessage, LeavesMissingArgumentsEmptyAndIgnoresExtraOnes) {
  EXPECT_EQ("Set operation failed: ",
            FormatCSErrorMessage(CSErrorCodes::SetOperationFailed, {}));
  EXPECT_EQ("Key not found",
            FormatCSErrorMessage(CSErrorCodes::KeyNotFound, {"extra"}));
  EXPECT_EQ("Get operation failed: 100%s",
            FormatCSErrorMessage(CSErrorCodes::GetOperationFailed, {"100%s"}));
}

TEST(CSErrorMessage, NamesACodeOutsideTheTable) {
  EXPECT_EQ("Unknown error code 1085",
            FormatCSErrorMessage(static_cast<CSErrorCodes>(1085), {}));
}

TEST(ConfigStoreException, CarriesItsCodeAndMessage) {
  const ConfigStoreException error(CSErrorCodes::ObjectNotFound,
                                   "Configuration object not found: a/b/c");
  EXPECT_EQ(CSErrorCodes::ObjectNotFound, error.GetCode());
  EXPECT_STREQ("Configuration object not found: a/b/c", error.what());
  const std::exception& base = error;
  EXPECT_STREQ("Configuration object not found: a/b/c", base.what());
}

}  // namespace
