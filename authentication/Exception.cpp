#include "authentication/Exception.h"

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

QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    FileNotFoundException, 2,
    "The system cannot find the file specified.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    AccessDeniedException, 5,
    "Access is denied.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NotEnoughMemoryException, 8,
    "Not enough memory")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidPasswordException, 86,
    "The specified network password is not correct.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidParameterException, 87,
    "The parameter is incorrect.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    CallNotImplementedException, 120,
    "This function is not supported on this system.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    DirectoryException, 267,
    "The directory name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    BadDLLEntryPointException, 609,
    "Bad DLL entry point.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidMessageException, 1002,
    "The window cannot act on the sent message.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ServiceDoesNotExistException, 1060,
    "The specified service does not exist as an installed service.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ServiceCannotAcceptControlException, 1061,
    "The service cannot accept control messages at this time.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ServiceNotActiveException, 1062,
    "The service has not been started.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ExceptionInServiceException, 1064,
    "An exception occurred in the service when handling the control request.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ProcessAbortedException, 1067,
    "The process terminated unexpectedly.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ConnectionUnavailableException, 1201,
    "The device is not currently connected but it is a remembered connection.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidGroupNameException, 1209,
    "The format of the specified group name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidComputerNameException, 1210,
    "The format of the specified computer name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidDomainNameException, 1212,
    "The format of the specified domain name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidServiceNameException, 1213,
    "The format of the specified service name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidNetNameException, 1214,
    "The format of the specified network name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidShareNameException, 1215,
    "The format of the specified share name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidPasswordNameException, 1216,
    "The format of the specified password is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NoNetworkException, 1222,
    "The network is not present or not started.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ConnectionRefusedException, 1225,
    "The remote computer refused the network connection.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    ConnectionInvalidException, 1229,
    "An operation was attempted on a nonexistent network connection.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NoLogonServersException, 1311,
    "There are currently no logon servers available to service the logon request.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidAccountNameException, 1315,
    "The name provided is not a properly formed account name.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NoSuchUserException, 1317,
    "The specified account does not exist.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    IllFormedPasswordException, 1324,
    "The value provided for the new password contains values that are not allowed in passwords.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    PasswordRestrictionException, 1325,
    "The value provided for the new password does not meet the length, complexity, or history requirements of the domain.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    LogonFailureException, 1326,
    "The attempted logon is invalid. This is due to either a bad user name or authentication information.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    PasswordExpiredException, 1330,
    "Logon failure: the specified account password has expired.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    AccountDisabledException, 1331,
    "Logon failure: account currently disabled.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NoSuchDomainException, 1355,
    "The specified domain either does not exist or could not be contacted.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InternalErrorException, 1359,
    "An internal error occurred.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    TimeSkewException, 1398,
    "There is a time and/or date difference between the client and server.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NoSuchGroupException, 1575,
    "The specified group does not exist.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    RPCSProtocolSequenceNotSupportedException, 1703,
    "The RPC protocol sequence is not supported.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NoTrustLSASecretException, 1786,
    "The workstation does not have a trust secret.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    NoTrustSAMAccountException, 1787,
    "The domain controller does not have an account for this workstation.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    RPCSCallInProgressException, 1791,
    "A remote procedure call is already in progress for this thread.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    DomainTrustInconsistentException, 1810,
    "The name or security ID (SID) of the domain specified is inconsistent with the trust information for that domain.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    WkstaNotStartedException, 2138,
    "The Workstation service has not been started.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    SetupAlreadyJoinedException, 2691,
    "This machine is already joined to a domain.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    InvalidWorkgroupNameException, 2695,
    "The specified workgroup name is invalid.")
QUARRYAUTH_DEFINE_CODED_EXCEPTION(
    WSATimedOutException, 10060,
    "A connection attempt failed because the connected party did not properly respond after a period of time, or established connection failed because connected host has failed to respond.")

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
