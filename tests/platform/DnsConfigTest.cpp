#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <quarryauth/platform/tesselctl/DnsConfigImpl.h>
#include <quarryauth/platform/tesselctl/HostCtlException.h>

#include "ExceptionText.h"
#include "SandboxSupport.h"

namespace {

using TesselCtl::Network::DnsConfigImpl;
namespace qt = quarry::test;

const char kResolver[] = "/etc/resolv.conf";
const char kStack[] = "defaultTcpipStack";
// The sandbox's resolver configuration.
const char kSandboxResolver[] =
    "nameserver 127.0.0.1\noptions timeout:1 attempts:1\n";

void AddAndSave(const std::vector<std::string>& domains) {
  DnsConfigImpl dns(kStack);
  for (const std::string& domain : domains) dns.AddUserSearchDomain(domain);
  dns.SaveConfig();
}

std::string AddError(const std::string& domain) {
  return qt::ExceptionText<HostCtl::Lib::HostCtlException>([&] {
    DnsConfigImpl dns(kStack);
    dns.AddUserSearchDomain(domain);
    dns.SaveConfig();
  });
}

// A domain of exactly length characters: labels of 63 joined by dots.
std::string DomainOfLength(std::string::size_type length, char letter) {
  std::string domain;
  while (domain.size() < length) {
    if (!domain.empty()) domain += '.';
    const std::string::size_type left = length - domain.size();
    domain += std::string(left < 63 ? left : 63, letter);
  }
  return domain;
}

TEST(DnsConfig, CreatesTheSearchLineWhenThereIsNone) {
  AddAndSave({"ad.test"});
  EXPECT_EQ(std::string(kSandboxResolver) + "search ad.test\n",
            qt::ReadFile(kResolver));
}

TEST(DnsConfig, AppendsToTheSearchLineInPlaceKeepingOrder) {
  qt::WriteFile(kResolver,
                "# resolver\n"
                "search b.test a.test\n"
                "nameserver 127.0.0.1\n"
                "; old style comment\n");
  AddAndSave({"ad.test", "c.test"});
  EXPECT_EQ(
      "# resolver\n"
      "search b.test a.test ad.test c.test\n"
      "nameserver 127.0.0.1\n"
      "; old style comment\n",
      qt::ReadFile(kResolver));
}

TEST(DnsConfig, ReadsTheSearchListInForce) {
  qt::WriteFile(kResolver,
                "search\tone.test   two.test\n"
                "searchers are not a keyword\n");
  DnsConfigImpl dns(kStack);
  EXPECT_EQ((std::vector<std::string>{"one.test", "two.test"}),
            dns.GetUserSearchDomains());
}

TEST(DnsConfig, AddsNoDuplicates) {
  qt::WriteFile(kResolver, "search ad.test other.test\n");
  const ino_t inode = qt::FileInode(kResolver);
  DnsConfigImpl dns(kStack);
  dns.AddUserSearchDomain("ad.test");
  dns.AddUserSearchDomain("AD.Test");
  dns.AddUserSearchDomain("other.test.");
  dns.SaveConfig();
  EXPECT_EQ((std::vector<std::string>{"ad.test", "other.test"}),
            dns.GetUserSearchDomains());
  EXPECT_EQ("search ad.test other.test\n", qt::ReadFile(kResolver));
  EXPECT_EQ(inode, qt::FileInode(kResolver));
}

TEST(DnsConfig, IsIdempotent) {
  AddAndSave({"ad.test"});
  const std::string once = qt::ReadFile(kResolver);
  AddAndSave({"ad.test"});
  EXPECT_EQ(once, qt::ReadFile(kResolver));
  EXPECT_EQ(std::string(kSandboxResolver) + "search ad.test\n", once);
}

TEST(DnsConfig, RewritesOnlyTheLastSearchLine) {
  qt::WriteFile(kResolver,
                "search ignored.test\n"
                "nameserver 127.0.0.1\n"
                "search used.test\n");
  AddAndSave({"ad.test"});
  EXPECT_EQ(
      "search ignored.test\n"
      "nameserver 127.0.0.1\n"
      "search used.test ad.test\n",
      qt::ReadFile(kResolver));
}

TEST(DnsConfig, KeepsTheDomainOfALaterDomainLine) {
  qt::WriteFile(kResolver,
                "search ignored.test\n"
                "domain corp.test\n");
  DnsConfigImpl dns(kStack);
  EXPECT_EQ(std::vector<std::string>{"corp.test"}, dns.GetUserSearchDomains());
  dns.AddUserSearchDomain("ad.test");
  dns.SaveConfig();
  EXPECT_EQ(
      "search ignored.test\n"
      "domain corp.test\n"
      "search corp.test ad.test\n",
      qt::ReadFile(kResolver));
}

TEST(DnsConfig, AllowsSixDomainsAndRefusesTheSeventh) {
  qt::WriteFile(kResolver, "search a.test b.test c.test d.test e.test\n");
  AddAndSave({"f.test"});
  EXPECT_EQ(
      "Unable to add the search domain 'g.test': the resolver allows at most "
      "6 search domains",
      AddError("g.test"));
  EXPECT_EQ("search a.test b.test c.test d.test e.test f.test\n",
            qt::ReadFile(kResolver));
  // A domain already present is no addition.
  EXPECT_EQ("no exception", AddError("c.test"));
}

TEST(DnsConfig, AllowsA255CharacterListAndRefusesLonger) {
  const std::string first = DomainOfLength(200, 'a');
  qt::WriteFile(kResolver, "search " + first + "\n");
  // 200 + 1 blank + 54 = 255 characters.
  const std::string fits = DomainOfLength(54, 'b');
  AddAndSave({fits});
  EXPECT_EQ("search " + first + " " + fits + "\n", qt::ReadFile(kResolver));

  qt::WriteFile(kResolver, "search " + first + "\n");
  const std::string tooLong = DomainOfLength(55, 'c');
  EXPECT_EQ("Unable to add the search domain '" + tooLong +
                "': the search list would be longer than 255 characters",
            AddError(tooLong));
  EXPECT_EQ("search " + first + "\n", qt::ReadFile(kResolver));
}

TEST(DnsConfig, RefusesNamesThatAreNotDomainNames) {
  const std::string invalid[] = {"",
                                 "ad test",
                                 "ad..test",
                                 ".ad.test",
                                 "a#b",
                                 "ad;test",
                                 "ad\ttest",
                                 "ad.test\n",
                                 "a/b.c",
                                 DomainOfLength(254, 'x'),
                                 std::string(64, 'x') + ".test"};
  for (const std::string& domain : invalid) {
    EXPECT_EQ("Unable to add the search domain '" + domain +
                  "': not a valid DNS domain name",
              AddError(domain));
  }
  EXPECT_EQ(kSandboxResolver, qt::ReadFile(kResolver));
  EXPECT_EQ("no exception", AddError(std::string(63, 'x') + ".ad_1-x.test."));
}

TEST(DnsConfig, RefusesAnUnknownNetworkStack) {
  EXPECT_EQ("Unknown network stack 'vmotion'",
            qt::ExceptionText<HostCtl::Lib::HostCtlException>(
                [] { DnsConfigImpl dns("vmotion"); }));
}

TEST(DnsConfig, WritesNothingWithoutAChange) {
  const ino_t inode = qt::FileInode(kResolver);
  DnsConfigImpl dns(kStack);
  dns.SaveConfig();
  EXPECT_EQ(inode, qt::FileInode(kResolver));
  EXPECT_EQ(kSandboxResolver, qt::ReadFile(kResolver));
}

TEST(DnsConfig, ReplacesTheFileByRenameAndKeepsItsMode) {
  qt::WriteFile(kResolver, "nameserver 127.0.0.1\n", 0600);
  const ino_t inode = qt::FileInode(kResolver);
  AddAndSave({"ad.test"});
  EXPECT_EQ(0600u, qt::FileMode(kResolver));
  EXPECT_NE(inode, qt::FileInode(kResolver));
  EXPECT_EQ(std::vector<std::string>{"resolv.conf"},
            qt::FilesStartingWith("/etc", "resolv.conf"));
}

TEST(DnsConfig, CreatesAMissingFileWithMode0644) {
  ASSERT_EQ(0, qt::Run("rm /etc/resolv.conf"));
  AddAndSave({"ad.test"});
  EXPECT_EQ("search ad.test\n", qt::ReadFile(kResolver));
  EXPECT_EQ(0644u, qt::FileMode(kResolver));
}

TEST(DnsConfig, KeepsASymbolicLinkAndReplacesItsTarget) {
  ASSERT_EQ(0, qt::Run("mkdir -p /etc/resolver && "
                       "mv /etc/resolv.conf /etc/resolver/stub.conf && "
                       "ln -s resolver/stub.conf /etc/resolv.conf"));
  AddAndSave({"ad.test"});
  EXPECT_EQ(0, qt::Run("test -L /etc/resolv.conf"));
  EXPECT_EQ(std::string(kSandboxResolver) + "search ad.test\n",
            qt::ReadFile("/etc/resolver/stub.conf"));
}

TEST(DnsConfig, ReportsAReadOnlyFileSystemAndLeavesTheFile) {
  ASSERT_EQ(0, qt::Run("mount --bind /etc /etc && "
                       "mount -o remount,bind,ro /etc"));
  EXPECT_EQ("Unable to write '/etc/resolv.conf': Read-only file system",
            AddError("ad.test"));
  EXPECT_EQ(kSandboxResolver, qt::ReadFile(kResolver));
}

}  // namespace
