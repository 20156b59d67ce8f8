// Distinguished names of containers and computer accounts, as the plug-ins
// and the proxy service build them. Runs in the sandbox (its own host name).
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/DistinguishedName.h"

namespace quarry::plugin {
namespace {

using Names = std::vector<std::string>;

TEST(DistinguishedNameTest, SplitsAtCommasThatNoBackslashEscapes) {
  EXPECT_EQ(SplitRelativeNames("OU=Old\\, Hosts,DC=ad"),
            (Names{"OU=Old\\, Hosts", "DC=ad"}));
  EXPECT_EQ(SplitRelativeNames("CN=A\\\\,DC=b"), (Names{"CN=A\\\\", "DC=b"}));
  EXPECT_EQ(SplitRelativeNames(""), (Names{""}));
  EXPECT_EQ(SplitRelativeNames("CN=x\\"), (Names{"CN=x\\"}));
}

TEST(DistinguishedNameTest, DomainComponentsSkipEmptyLabels) {
  EXPECT_EQ(DomainComponents("ad.test"), "DC=ad,DC=test");
  EXPECT_EQ(DomainComponents("ad..test."), "DC=ad,DC=test");
  EXPECT_EQ(DomainComponents(""), "");
}

TEST(DistinguishedNameTest, ContainerOfTheDefaultComputersFolder) {
  EXPECT_EQ(ContainerDN("", "ad.test"), "CN=Computers,DC=ad,DC=test");
}

TEST(DistinguishedNameTest, ContainerGivenAsADistinguishedName) {
  EXPECT_EQ(ContainerDN("OU=Hosts", "ad.test"), "OU=Hosts,DC=ad,DC=test");
  EXPECT_EQ(ContainerDN("OU=Hosts,dc=ad,dc=test", "ad.test"),
            "OU=Hosts,dc=ad,dc=test");
}

TEST(DistinguishedNameTest, ContainerGivenAsAPathFromTheTop) {
  EXPECT_EQ(ContainerDN("Servers/Quarry", "ad.test"),
            "OU=Quarry,OU=Servers,DC=ad,DC=test");
  EXPECT_EQ(ContainerDN("/Servers//", "ad.test"), "OU=Servers,DC=ad,DC=test");
}

TEST(DistinguishedNameTest, MachineAccountIsTheShortNameInUpperCase) {
  EXPECT_EQ(MachineAccountDN("node1", "", "ad.test"),
            "CN=NODE1,CN=Computers,DC=ad,DC=test");
}

TEST(DistinguishedNameTest, ShortHostNameEndsAtTheFirstDot) {
  const char name[] = "node7.ad.test";
  ASSERT_EQ(::sethostname(name, std::strlen(name)), 0);
  EXPECT_EQ(ShortHostName(), "node7");
}

}  // namespace
}  // namespace quarry::plugin
