#include <quarryauth/authentication/Exception.h>

#include <cinttypes>
#include <cstdio>

namespace quarry {
namespace authentication {

namespace {

std::string CodedMessage(uint64_t code, const std::string& text) {
  char prefix[64];
  std::snprintf(prefix, sizeof prefix, "Exception 0x%08" PRIx64 ": ", code);
  return prefix + text;
}

}  // namespace

Exception::Exception(const std::string& text) : code(0), message(text) {}

Exception::Exception(unsigned long code, const std::string& text)
    : code(code), message(CodedMessage(code, text)) {}

Exception::Exception(const Exception& other) = default;

Exception::~Exception() = default;

const char* Exception::what() const noexcept { return message.c_str(); }

Exception* Exception::Clone() const { return new Exception(*this); }

void Exception::Throw() const { throw Exception(*this); }

#define QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(Name)               \
  Name::~Name() = default;                                     \
  Exception* Name::Clone() const { return new Name(*this); }   \
  void Name::Throw() const { throw Name(*this); }

#define QUARRYAUTH_DEFINE_CODED_EXCEPTION(Name, code, text)  \
  Name::Name() : Exception(code, text) {}                    \
  QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(Name)

#define QUARRYAUTH_DEFINE_TEXT_EXCEPTION(Name, prefix)                       \
  Name::Name(const std::string& argument) : Exception(prefix + argument) {} \
  QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(Name)

#define QUARRYAUTH_DEFINE_FIXED_EXCEPTION(Name, text)  \
  Name::Name() : Exception(text) {}                    \
  QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(Name)

#define QUARRYAUTH_DEFINE_PROVIDER_EXCEPTION(Name, prefix)                  \
  Name::Name(const std::string& name)                                      \
      : Exception(prefix + name + "' is invalid") {}                       \
  Name::Name(const std::string& name, const std::string& reason)           \
      : Exception(prefix + name + "' is invalid: " + reason) {}            \
  QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(Name)

QUARRYAUTH_CODED_EXCEPTIONS(QUARRYAUTH_DEFINE_CODED_EXCEPTION)

UnknownException::UnknownException(unsigned long code)
    : Exception(code, "Unknown exception") {}
QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(UnknownException)

QUARRYAUTH_DEFINE_TEXT_EXCEPTION(ThreadErrorException,
                                 std::string("Thread Error: "))
QUARRYAUTH_DEFINE_FIXED_EXCEPTION(ProviderCallTimedOutException,
                                  "Provider call timed out.")
QUARRYAUTH_DEFINE_PROVIDER_EXCEPTION(
    InvalidActiveDirectoryProviderException,
    std::string("The specified Active Directory provider '"))
QUARRYAUTH_DEFINE_PROVIDER_EXCEPTION(
    InvalidCAMProxyProviderException,
    std::string("The specified CAMProxy provider '"))
QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(InvalidThumbprintStoreException)
InvalidThumbprintStoreException::InvalidThumbprintStoreException(
    const std::string& name)
    : Exception("The specified thumbprint store '" + name + "' is invalid") {}
QUARRYAUTH_DEFINE_TEXT_EXCEPTION(
    InvalidHostNameException,
    std::string("The current hostname is invalid: "))
QUARRYAUTH_DEFINE_TEXT_EXCEPTION(
    InvalidCredentialsException,
    std::string("The credentials that were provided were invalid: "))
QUARRYAUTH_DEFINE_TEXT_EXCEPTION(InvalidIPAddressException,
                                 std::string("The IP Address is invalid: "))
QUARRYAUTH_DEFINE_TEXT_EXCEPTION(
    InvalidVerifyCAMCertificateOptionException,
    std::string("The VerifyCAMCertificate option is invalid: "))
QUARRYAUTH_DEFINE_FIXED_EXCEPTION(
    InvalidCertificateException,
    "The certificate format is invalid; only PEM format is supported.")
QUARRYAUTH_DEFINE_FIXED_EXCEPTION(
    InvalidCAMCertificateException,
    "The CAM server's certificate cannot be verified.")

QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(InvalidKeyException)
InvalidKeyException::InvalidKeyException(const std::string& key)
    : Exception("The specified key '" + key +
                "' was not found in this configuration") {}

QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(UnknownRemoteAuthenticationStoreException)
UnknownRemoteAuthenticationStoreException::
    UnknownRemoteAuthenticationStoreException(const std::string& name)
    : Exception("The specified store '" + name + "' is unknown") {}

QUARRYAUTH_DEFINE_EXCEPTION_MEMBERS(InvalidRemoteAuthenticationStoreException)
InvalidRemoteAuthenticationStoreException::
    InvalidRemoteAuthenticationStoreException(const std::string& name)
    : Exception("The specified store '" + name + "' is invalid") {}

QUARRYAUTH_DEFINE_TEXT_EXCEPTION(IOError, std::string())
QUARRYAUTH_DEFINE_TEXT_EXCEPTION(FilePermissionError, std::string())
QUARRYAUTH_DEFINE_TEXT_EXCEPTION(ConfigurationError, std::string())

}  // namespace authentication
}  // namespace quarry
