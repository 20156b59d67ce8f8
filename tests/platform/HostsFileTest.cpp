#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarryauth/platform/tesselctl/HostCtlException.h>
#include <quarryauth/platform/tesselctl/HostsFile.h>

#include "ExceptionText.h"
#include "SandboxSupport.h"

namespace {

using TesselCtl::Network::HostsFile;
namespace qt = quarry::test;

const char kHosts[] = "/etc/hosts";

void AddNode1(const std::string& address = "192.0.2.10") {
  HostsFile hosts;
  hosts.AddOrReplaceEntry(address, "node1.ad.test", {"node1"});
}

std::string ErrorOf(const std::string& address, const std::string& name,
                    const std::vector<std::string>& aliases) {
  return qt::ExceptionText<HostCtl::Lib::HostCtlException>([&] {
    HostsFile hosts;
    hosts.AddOrReplaceEntry(address, name, aliases);
  });
}

TEST(HostsFile, AppendsEntryAndKeepsEveryOtherLine) {
  const std::string before =
      "# Static table of the host\n"
      "127.0.0.1\tlocalhost\n"
      "\n"
      "  # indented comment  \n"
      "::1     localhost ip6-localhost ip6-loopback   # IPv6\n"
      "10.0.0.1 other.ad.test other\n";
  qt::WriteFile(kHosts, before);
  AddNode1();
  EXPECT_EQ(before + "192.0.2.10\tnode1.ad.test node1\n", qt::ReadFile(kHosts));
}

TEST(HostsFile, ReplacesTheEntryOfTheAddressInPlace) {
  qt::WriteFile(kHosts,
                "127.0.0.1\tlocalhost\n"
                "192.0.2.10   old.example old   # was here\n"
                "10.0.0.1 other\n");
  AddNode1();
  EXPECT_EQ(
      "127.0.0.1\tlocalhost\n"
      "192.0.2.10\tnode1.ad.test node1\n"
      "10.0.0.1 other\n",
      qt::ReadFile(kHosts));
}

TEST(HostsFile, LeavesOneEntryWhereTheAddressHadSeveral) {
  qt::WriteFile(kHosts,
                "192.0.2.10 first\n"
                "127.0.0.1 localhost\n"
                "\t192.0.2.10 second\n");
  AddNode1();
  EXPECT_EQ(
      "192.0.2.10\tnode1.ad.test node1\n"
      "127.0.0.1 localhost\n",
      qt::ReadFile(kHosts));
}

TEST(HostsFile, LeavesOtherAddressesAndCommentedEntriesAlone) {
  const std::string before =
      "# 192.0.2.10 commented.out\n"
      "192.0.2.100 longer.address\n"
      "192.0.2.1 shorter.address\n";
  qt::WriteFile(kHosts, before);
  AddNode1();
  EXPECT_EQ(before + "192.0.2.10\tnode1.ad.test node1\n", qt::ReadFile(kHosts));
}

TEST(HostsFile, ComparesAddressesNotTheirSpelling) {
  qt::WriteFile(kHosts, "0:0:0:0:0:0:0:1 ip6-localhost\n");
  HostsFile hosts;
  hosts.AddOrReplaceEntry("::1", "localhost6", {"ip6-localhost"});
  EXPECT_EQ("::1\tlocalhost6 ip6-localhost\n", qt::ReadFile(kHosts));
}

TEST(HostsFile, IsIdempotentAndDoesNotRewriteAnUnchangedFile) {
  qt::WriteFile(kHosts, "127.0.0.1\tlocalhost\n");
  AddNode1();
  const std::string once = qt::ReadFile(kHosts);
  const ino_t inode = qt::FileInode(kHosts);
  AddNode1();
  EXPECT_EQ(once, qt::ReadFile(kHosts));
  EXPECT_EQ(inode, qt::FileInode(kHosts));
  EXPECT_EQ("127.0.0.1\tlocalhost\n192.0.2.10\tnode1.ad.test node1\n", once);
}

TEST(HostsFile, ReplacesTheFileByRenameAndKeepsItsMode) {
  qt::WriteFile(kHosts, "127.0.0.1\tlocalhost\n", 0640);
  const ino_t inode = qt::FileInode(kHosts);
  AddNode1();
  EXPECT_EQ(0640u, qt::FileMode(kHosts));
  EXPECT_NE(inode, qt::FileInode(kHosts));
  EXPECT_EQ(std::vector<std::string>{"hosts"},
            qt::FilesStartingWith("/etc", "hosts"));
}

TEST(HostsFile, CreatesAMissingFileWithMode0644) {
  ASSERT_EQ(0, qt::Run("rm /etc/hosts"));
  AddNode1();
  EXPECT_EQ("192.0.2.10\tnode1.ad.test node1\n", qt::ReadFile(kHosts));
  EXPECT_EQ(0644u, qt::FileMode(kHosts));
}

TEST(HostsFile, EndsALastLineThatHadNoNewline) {
  qt::WriteFile(kHosts, "127.0.0.1\tlocalhost");
  AddNode1();
  EXPECT_EQ("127.0.0.1\tlocalhost\n192.0.2.10\tnode1.ad.test node1\n",
            qt::ReadFile(kHosts));
}

TEST(HostsFile, WritesNameAloneWithoutAliases) {
  AddNode1();
  HostsFile hosts;
  hosts.AddOrReplaceEntry("192.0.2.10", "node1.ad.test", {});
  EXPECT_EQ("127.0.0.1\tlocalhost\n192.0.2.10\tnode1.ad.test\n",
            qt::ReadFile(kHosts));
}

TEST(HostsFile, KeepsASymbolicLinkAndReplacesItsTarget) {
  qt::WriteFile("/etc/hosts.real", "127.0.0.1\tlocalhost\n", 0604);
  ASSERT_EQ(0, qt::Run("ln -sf /etc/hosts.real /etc/hosts"));
  AddNode1();
  EXPECT_EQ(0, qt::Run("test -L /etc/hosts"));
  EXPECT_EQ("127.0.0.1\tlocalhost\n192.0.2.10\tnode1.ad.test node1\n",
            qt::ReadFile("/etc/hosts.real"));
  EXPECT_EQ(0604u, qt::FileMode("/etc/hosts.real"));
}

TEST(HostsFile, RefusesAnAddressThatIsNotAnIpAddress) {
  EXPECT_EQ("'node1' is not a valid IP address",
            ErrorOf("node1", "node1.ad.test", {"node1"}));
  EXPECT_EQ("'' is not a valid IP address",
            ErrorOf("", "node1.ad.test", {"node1"}));
  EXPECT_EQ("'192.0.2.300' is not a valid IP address",
            ErrorOf("192.0.2.300", "node1.ad.test", {}));
  EXPECT_EQ("127.0.0.1\tlocalhost\n", qt::ReadFile(kHosts));
}

TEST(HostsFile, RefusesNamesThatWouldBreakTheFile) {
  EXPECT_EQ("'' is not a valid host name", ErrorOf("192.0.2.10", "", {}));
  EXPECT_EQ("'node1 ad' is not a valid host name",
            ErrorOf("192.0.2.10", "node1 ad", {}));
  EXPECT_EQ("'a#b' is not a valid host name",
            ErrorOf("192.0.2.10", "node1.ad.test", {"a#b"}));
  EXPECT_EQ("'node1\n127.0.0.1' is not a valid host name",
            ErrorOf("192.0.2.10", "node1\n127.0.0.1", {}));
  EXPECT_EQ("'' is not a valid host name",
            ErrorOf("192.0.2.10", "node1.ad.test", {""}));
  EXPECT_EQ("127.0.0.1\tlocalhost\n", qt::ReadFile(kHosts));
}

TEST(HostsFile, ReportsAReadOnlyFileSystemAndLeavesTheFile) {
  ASSERT_EQ(0, qt::Run("mount --bind /etc /etc && "
                       "mount -o remount,bind,ro /etc"));
  EXPECT_EQ("Unable to write '/etc/hosts': Read-only file system",
            ErrorOf("192.0.2.10", "node1.ad.test", {"node1"}));
  EXPECT_EQ("127.0.0.1\tlocalhost\n", qt::ReadFile(kHosts));
}

TEST(HostsFile, ReportsAFileThatCannotBeRead) {
  ASSERT_EQ(0, qt::Run("rm /etc/hosts && mkdir /etc/hosts"));
  EXPECT_EQ("Unable to read '/etc/hosts': Is a directory",
            ErrorOf("192.0.2.10", "node1.ad.test", {"node1"}));
}

}  // namespace
