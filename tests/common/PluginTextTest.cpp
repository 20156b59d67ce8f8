// Texts and text arrays handed across the C plug-in interfaces, and the
// answers built from them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "common/PluginAnswers.h"
#include "common/PluginText.h"

namespace quarry::plugin {
namespace {

using Texts = std::vector<std::string>;

TEST(PluginTextTest, CopiesATextAndAnArrayThatTheReleasersFree) {
  char* text = CopyText("alpha");
  ASSERT_NE(text, nullptr);
  EXPECT_STREQ(text, "alpha");
  ReleaseText(text);
  char** array = CopyTextArray({"a", "", "c"});
  ASSERT_NE(array, nullptr);
  EXPECT_EQ(TextsOf(array), (Texts{"a", "", "c"}));
  EXPECT_EQ(array[3], nullptr);
  ReleaseTextArray(array);
  ReleaseText(nullptr);
  ReleaseTextArray(nullptr);
}

TEST(PluginTextTest, AnEmptyListIsAnArrayWithOnlyItsEnd) {
  char** array = CopyTextArray({});
  ASSERT_NE(array, nullptr);
  EXPECT_EQ(array[0], nullptr);
  ReleaseTextArray(array);
  EXPECT_TRUE(TextsOf(nullptr).empty());
}

TEST(PluginTextTest, WordsSplitAtAnyWhiteSpaceAndJoinWithOneSpace) {
  EXPECT_EQ(SplitWords("  dc1\tdc2\n dc3 "), (Texts{"dc1", "dc2", "dc3"}));
  EXPECT_TRUE(SplitWords(" \t").empty());
  EXPECT_EQ(JoinWords({"dc1", "dc2"}), "dc1 dc2");
  EXPECT_EQ(JoinWords({}), "");
}

TEST(PluginTextTest, ChangesCaseOfAsciiLetters) {
  EXPECT_EQ(ToUpper("Node-1.ad"), "NODE-1.AD");
  EXPECT_EQ(ToLower("Node-1.AD"), "node-1.ad");
}

TEST(PluginAnswersTest, AnswersATextWithItsReleaser) {
  char* out = nullptr;
  ADClientReleaseFunction release = nullptr;
  ASSERT_EQ(AnswerText("CN=NODE1", &out, &release), 0);
  ASSERT_NE(release, nullptr);
  EXPECT_STREQ(out, "CN=NODE1");
  release(out);
}

TEST(PluginAnswersTest, AnswersTextsWithTheirReleaser) {
  char** out = nullptr;
  ADClientReleaseFunction release = nullptr;
  ASSERT_EQ(AnswerTexts({"dc1", "dc2"}, &out, &release), 0);
  ASSERT_NE(release, nullptr);
  EXPECT_EQ(TextsOf(out), (Texts{"dc1", "dc2"}));
  release(out);
}

TEST(PluginAnswersTest, AnswersDomainNamesAsANullTerminatedArray) {
  ADClientDomainName** out = nullptr;
  ADClientReleaseFunction release = nullptr;
  ASSERT_EQ(AnswerDomainNames({{"ad.test", "AD"}, {"child.ad.test", "CHILD"}},
                              &out, &release),
            0);
  ASSERT_EQ(release, &ReleaseDomainNames);
  ASSERT_NE(out, nullptr);
  EXPECT_STREQ(out[0]->dnsName, "ad.test");
  EXPECT_STREQ(out[0]->netbiosName, "AD");
  EXPECT_STREQ(out[1]->dnsName, "child.ad.test");
  EXPECT_STREQ(out[1]->netbiosName, "CHILD");
  EXPECT_EQ(out[2], nullptr);
  release(out);
  ReleaseDomainNames(nullptr);
}

TEST(PluginAnswersTest, NamesCompareWithoutRegardToCase) {
  EXPECT_TRUE(SameName("AD.Test", "ad.TEST"));
  EXPECT_FALSE(SameName("ad.test", "ad.test."));
}

}  // namespace
}  // namespace quarry::plugin
