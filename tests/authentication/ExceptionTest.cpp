#include "authentication/CodedExceptionTable.h"

#include <quarryauth/authentication.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace qa = quarry::authentication;
using quarry_test::CodedRow;
using quarry_test::CodedRows;

namespace {

std::string Prefix(const char* hexDigits) {
  return std::string("Exception 0x") + hexDigits + ": ";
}

TEST(Exception, TextConstructorKeepsTextAndCodeZero) {
  qa::Exception error("plain text");
  EXPECT_EQ(error.GetCode(), 0u);
  EXPECT_STREQ(error.what(), "plain text");
}

TEST(Exception, CodedConstructorPadsToEightLowerCaseDigits) {
  qa::Exception error(120, "This function is not supported on this system.");
  EXPECT_EQ(error.GetCode(), 120u);
  EXPECT_EQ(std::string(error.what()),
            "Exception 0x00000078: This function is not supported on this "
            "system.");
  EXPECT_EQ(std::string(qa::Exception(0xabcdefUL, "x").what()),
            "Exception 0x00abcdef: x");
}

TEST(Exception, CodeWiderThanEightDigitsIsPrintedInFull) {
  qa::Exception error(0x123456789aUL, "wide");
  EXPECT_EQ(error.GetCode(), 0x123456789aULL);
  EXPECT_EQ(std::string(error.what()), "Exception 0x123456789a: wide");
}

TEST(Exception, CopyKeepsCodeAndMessage) {
  qa::Exception original(5, "Access is denied.");
  qa::Exception copy(original);
  EXPECT_EQ(copy.GetCode(), 5u);
  EXPECT_STREQ(copy.what(), original.what());
}

TEST(Exception, BaseCloneAndThrowStayBase) {
  qa::Exception original(7, "seven");
  std::unique_ptr<qa::Exception> clone(original.Clone());
  EXPECT_EQ(typeid(*clone), typeid(qa::Exception));
  EXPECT_EQ(clone->GetCode(), 7u);
  EXPECT_STREQ(clone->what(), original.what());
  EXPECT_THROW(clone->Throw(), qa::Exception);
}

TEST(Exception, EveryCodedClassHasItsCodeAndText) {
  const std::vector<CodedRow> rows = CodedRows();
  EXPECT_EQ(rows.size(), 46u);
  for (const CodedRow& row : rows) {
    SCOPED_TRACE(row.name);
    std::unique_ptr<qa::Exception> error(row.make());
    EXPECT_EQ(error->GetCode(), row.code);
    char digits[32];
    std::snprintf(digits, sizeof digits, "%08llx",
                  static_cast<unsigned long long>(row.code));
    EXPECT_EQ(std::string(error->what()), Prefix(digits) + row.text);
  }
}

TEST(Exception, AccessDeniedTextIsExact) {
  EXPECT_STREQ(qa::AccessDeniedException().what(),
               "Exception 0x00000005: Access is denied.");
}

TEST(Exception, EveryCodedClassClonesAndThrowsAsItself) {
  for (const CodedRow& row : CodedRows()) {
    SCOPED_TRACE(row.name);
    std::unique_ptr<qa::Exception> original(row.make());
    const qa::Exception& asBase = *original;
    std::unique_ptr<qa::Exception> clone(asBase.Clone());
    EXPECT_EQ(typeid(*clone), typeid(*original));
    EXPECT_EQ(clone->GetCode(), original->GetCode());
    EXPECT_STREQ(clone->what(), original->what());
    EXPECT_TRUE(row.caughtAsOwnClass(*clone));
    EXPECT_THROW(clone->Throw(), qa::Exception);
  }
}

TEST(Exception, UnknownExceptionCarriesAnyCode) {
  qa::UnknownException error(3);
  EXPECT_EQ(error.GetCode(), 3u);
  EXPECT_STREQ(error.what(), "Exception 0x00000003: Unknown exception");
  qa::UnknownException wide(0xffffffffUL);
  EXPECT_STREQ(wide.what(), "Exception 0xffffffff: Unknown exception");
}

template <class T>
void ExpectTextClass(const T& error, const std::string& text) {
  EXPECT_EQ(error.GetCode(), 0u);
  EXPECT_EQ(std::string(error.what()), text);
  const qa::Exception& asBase = error;
  std::unique_ptr<qa::Exception> clone(asBase.Clone());
  EXPECT_EQ(typeid(*clone), typeid(T));
  EXPECT_STREQ(clone->what(), error.what());
  EXPECT_THROW(clone->Throw(), T);
}

TEST(Exception, TextClassesBuildTheirMessagesWithoutPrefix) {
  ExpectTextClass(qa::ThreadErrorException("detail"), "Thread Error: detail");
  ExpectTextClass(qa::ProviderCallTimedOutException(),
                  "Provider call timed out.");
  ExpectTextClass(qa::InvalidThumbprintStoreException("auth_proxy_certificate"),
                  "The specified thumbprint store 'auth_proxy_certificate' is "
                  "invalid");
  ExpectTextClass(qa::InvalidHostNameException("hostname is in blacklist"),
                  "The current hostname is invalid: hostname is in blacklist");
  ExpectTextClass(qa::InvalidCredentialsException("no username was specified"),
                  "The credentials that were provided were invalid: no "
                  "username was specified");
  ExpectTextClass(qa::InvalidIPAddressException("bad"),
                  "The IP Address is invalid: bad");
  ExpectTextClass(qa::InvalidVerifyCAMCertificateOptionException("why"),
                  "The VerifyCAMCertificate option is invalid: why");
  ExpectTextClass(qa::InvalidCertificateException(),
                  "The certificate format is invalid; only PEM format is "
                  "supported.");
  ExpectTextClass(qa::InvalidCAMCertificateException(),
                  "The CAM server's certificate cannot be verified.");
  ExpectTextClass(qa::InvalidKeyException("k"),
                  "The specified key 'k' was not found in this configuration");
  ExpectTextClass(qa::UnknownRemoteAuthenticationStoreException("Foo"),
                  "The specified store 'Foo' is unknown");
  ExpectTextClass(qa::InvalidRemoteAuthenticationStoreException("Foo"),
                  "The specified store 'Foo' is invalid");
  ExpectTextClass(qa::IOError("io text"), "io text");
  ExpectTextClass(qa::FilePermissionError("perm text"), "perm text");
  ExpectTextClass(qa::ConfigurationError("config text"), "config text");
}

TEST(Exception, ProviderClassesWithOneAndTwoArguments) {
  ExpectTextClass(qa::InvalidActiveDirectoryProviderException("adp"),
                  "The specified Active Directory provider 'adp' is invalid");
  ExpectTextClass(
      qa::InvalidActiveDirectoryProviderException("adp", "no symbol"),
      "The specified Active Directory provider 'adp' is invalid: no symbol");
  ExpectTextClass(qa::InvalidCAMProxyProviderException("cam"),
                  "The specified CAMProxy provider 'cam' is invalid");
  ExpectTextClass(qa::InvalidCAMProxyProviderException("cam", "reason"),
                  "The specified CAMProxy provider 'cam' is invalid: reason");
}

TEST(Exception, ConcreteClassIsCaughtAsExceptionAndStdException) {
  try {
    qa::TimeSkewException().Throw();
  } catch (const std::exception& error) {
    EXPECT_NE(dynamic_cast<const qa::TimeSkewException*>(&error), nullptr);
  }
}

}  // namespace
