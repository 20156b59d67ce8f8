// The domain record that the directory provider answers with: how it
// prints and compares.
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <quarryauth/authentication.h>

namespace qa = quarry::authentication;

namespace {

std::string Printed(const qa::Domain& domain) {
  std::ostringstream out;
  out << domain;
  return out.str();
}

TEST(DomainRecord, PrintsBothNames) {
  EXPECT_EQ("DNS Name: example.com, NetBIOS Name: EXAMPLE",
            Printed(qa::Domain("example.com", "EXAMPLE")));
}

TEST(DomainRecord, PrintsAnEmptyNameAsUnset) {
  EXPECT_EQ("DNS Name: example.com, NetBIOS Name: (unset)",
            Printed(qa::Domain("example.com", "")));
  EXPECT_EQ("DNS Name: (unset), NetBIOS Name: (unset)",
            Printed(qa::Domain()));
}

TEST(DomainRecord, ComparesBothNames) {
  qa::Domain domain("example.com", "EXAMPLE");
  qa::Domain copy(domain);
  EXPECT_EQ(domain, copy);
  EXPECT_EQ("example.com", copy.dnsName);
  EXPECT_EQ("EXAMPLE", copy.netbiosName);
  EXPECT_FALSE(domain == qa::Domain("example.com", "OTHER"));
  EXPECT_FALSE(domain == qa::Domain("example.org", "EXAMPLE"));
}

}  // namespace
