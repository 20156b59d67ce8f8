#include "authentication/CodedExceptionTable.h"

#include <quarryauth/authentication.h>

#include <gtest/gtest.h>

#include <memory>
#include <typeinfo>

namespace qa = quarry::authentication;

namespace {

TEST(ThrowMappedException, EveryTableCodeThrowsItsClassWithThatCode) {
  for (const quarry_test::CodedRow& row : quarry_test::CodedRows()) {
    SCOPED_TRACE(row.name);
    std::unique_ptr<qa::Exception> expected(row.make());
    try {
      qa::ThrowMappedException(static_cast<unsigned int>(row.code));
      FAIL() << "returned";
    } catch (const qa::Exception& error) {
      EXPECT_EQ(typeid(error), typeid(*expected));
      EXPECT_EQ(error.GetCode(), row.code);
      EXPECT_STREQ(error.what(), expected->what());
      EXPECT_TRUE(row.caughtAsOwnClass(error));
    }
  }
}

TEST(ThrowMappedException, TimeSkew) {
  try {
    qa::ThrowMappedException(1398);
  } catch (const qa::TimeSkewException& error) {
    EXPECT_EQ(error.GetCode(), 1398u);
    return;
  }
  FAIL();
}

TEST(ThrowMappedException, ZeroIsFileNotFoundWithCodeTwo) {
  try {
    qa::ThrowMappedException(0);
  } catch (const qa::FileNotFoundException& error) {
    EXPECT_EQ(error.GetCode(), 2u);
    EXPECT_STREQ(error.what(),
                 "Exception 0x00000002: The system cannot find the file "
                 "specified.");
    return;
  }
  FAIL();
}

void ExpectUnknown(unsigned int code, const char* text) {
  try {
    qa::ThrowMappedException(code);
  } catch (const qa::UnknownException& error) {
    EXPECT_EQ(typeid(error), typeid(qa::UnknownException));
    EXPECT_EQ(error.GetCode(), code);
    EXPECT_STREQ(error.what(), text);
    return;
  }
  FAIL() << code;
}

TEST(ThrowMappedException, CodeWithoutRowIsUnknown) {
  ExpectUnknown(3, "Exception 0x00000003: Unknown exception");
  ExpectUnknown(1, "Exception 0x00000001: Unknown exception");
  ExpectUnknown(1327, "Exception 0x0000052f: Unknown exception");
}

TEST(ThrowMappedException, LargestCodeIsUnknownWithItsCode) {
  ExpectUnknown(0xffffffffu, "Exception 0xffffffff: Unknown exception");
}

TEST(ThrowMappedException, PrivateCodesAreUnknown) {
  ExpectUnknown(0xffff0000u, "Exception 0xffff0000: Unknown exception");
  ExpectUnknown(0xffff0001u, "Exception 0xffff0001: Unknown exception");
}

}  // namespace
