// The library's exception family: every failure it reports is an Exception,
// carrying a numeric code (0 when none) and the text that what() returns.
#ifndef QUARRYAUTH_AUTHENTICATION_EXCEPTION_H
#define QUARRYAUTH_AUTHENTICATION_EXCEPTION_H

#include <cstdint>
#include <exception>
#include <string>

#include "Export.h"

namespace quarry {
namespace authentication {

class QUARRYAUTH_EXPORT Exception : public std::exception {
 public:
  // Code 0; the text is the whole message.
  explicit Exception(const std::string& text);
  // The message becomes "Exception 0x" + code as eight or more lower-case
  // hexadecimal digits + ": " + text.
  Exception(unsigned long code, const std::string& text);
  Exception(const Exception& other);
  ~Exception() override;

  const char* what() const noexcept override;
  // A heap copy of the same dynamic class; the caller deletes it.
  virtual Exception* Clone() const;
  // Raises a copy typed as this object's own class.
  [[noreturn]] virtual void Throw() const;

  uint64_t GetCode() const { return code; }

 private:
  Exception& operator=(const Exception&) = delete;

  uint64_t code;
  std::string message;
};

// Members shared by every concrete class of the family.
#define QUARRYAUTH_EXCEPTION_MEMBERS(Name)       \
  ~Name() override;                              \
  Exception* Clone() const override;             \
  [[noreturn]] void Throw() const override;

// A class with a fixed code and text.
#define QUARRYAUTH_DECLARE_CODED_EXCEPTION(Name, code, text) \
  class QUARRYAUTH_EXPORT Name : public Exception { \
   public:                                        \
    Name();                                       \
    QUARRYAUTH_EXCEPTION_MEMBERS(Name)            \
  };

// A class with code 0 whose text is built from one string argument.
#define QUARRYAUTH_DECLARE_TEXT_EXCEPTION(Name)   \
  class QUARRYAUTH_EXPORT Name : public Exception { \
   public:                                        \
    explicit Name(const std::string& argument);   \
    QUARRYAUTH_EXCEPTION_MEMBERS(Name)            \
  };

// A class with code 0 and a fixed text.
#define QUARRYAUTH_DECLARE_FIXED_EXCEPTION(Name)  \
  class QUARRYAUTH_EXPORT Name : public Exception { \
   public:                                        \
    Name();                                       \
    QUARRYAUTH_EXCEPTION_MEMBERS(Name)            \
  };

// A provider-naming class: "... '" + name + "' is invalid" with an optional
// ": " + reason.
#define QUARRYAUTH_DECLARE_PROVIDER_EXCEPTION(Name)                     \
  class QUARRYAUTH_EXPORT Name : public Exception {                       \
   public:                                                              \
    explicit Name(const std::string& name);                             \
    Name(const std::string& name, const std::string& reason);           \
    QUARRYAUTH_EXCEPTION_MEMBERS(Name)                                  \
  };

// The classes with a fixed code and text, one entry each: the one table from
// which the classes are declared and defined and the codes mapped to them.
#define QUARRYAUTH_CODED_EXCEPTIONS(X) \
  X(FileNotFoundException, 2, \
    "The system cannot find the file specified.") \
  X(AccessDeniedException, 5, \
    "Access is denied.") \
  X(NotEnoughMemoryException, 8, \
    "Not enough memory") \
  X(InvalidPasswordException, 86, \
    "The specified network password is not correct.") \
  X(InvalidParameterException, 87, \
    "The parameter is incorrect.") \
  X(CallNotImplementedException, 120, \
    "This function is not supported on this system.") \
  X(DirectoryException, 267, \
    "The directory name is invalid.") \
  X(BadDLLEntryPointException, 609, \
    "Bad DLL entry point.") \
  X(InvalidMessageException, 1002, \
    "The window cannot act on the sent message.") \
  X(ServiceDoesNotExistException, 1060, \
    "The specified service does not exist as an installed service.") \
  X(ServiceCannotAcceptControlException, 1061, \
    "The service cannot accept control messages at this time.") \
  X(ServiceNotActiveException, 1062, \
    "The service has not been started.") \
  X(ExceptionInServiceException, 1064, \
    "An exception occurred in the service when handling the control request.") \
  X(ProcessAbortedException, 1067, \
    "The process terminated unexpectedly.") \
  X(ConnectionUnavailableException, 1201, \
    "The device is not currently connected but it is a remembered connection.") \
  X(InvalidGroupNameException, 1209, \
    "The format of the specified group name is invalid.") \
  X(InvalidComputerNameException, 1210, \
    "The format of the specified computer name is invalid.") \
  X(InvalidDomainNameException, 1212, \
    "The format of the specified domain name is invalid.") \
  X(InvalidServiceNameException, 1213, \
    "The format of the specified service name is invalid.") \
  X(InvalidNetNameException, 1214, \
    "The format of the specified network name is invalid.") \
  X(InvalidShareNameException, 1215, \
    "The format of the specified share name is invalid.") \
  X(InvalidPasswordNameException, 1216, \
    "The format of the specified password is invalid.") \
  X(NoNetworkException, 1222, \
    "The network is not present or not started.") \
  X(ConnectionRefusedException, 1225, \
    "The remote computer refused the network connection.") \
  X(ConnectionInvalidException, 1229, \
    "An operation was attempted on a nonexistent network connection.") \
  X(NoLogonServersException, 1311, \
    "There are currently no logon servers available to service the logon request.") \
  X(InvalidAccountNameException, 1315, \
    "The name provided is not a properly formed account name.") \
  X(NoSuchUserException, 1317, \
    "The specified account does not exist.") \
  X(IllFormedPasswordException, 1324, \
    "The value provided for the new password contains values that are not allowed in passwords.") \
  X(PasswordRestrictionException, 1325, \
    "The value provided for the new password does not meet the length, complexity, or history requirements of the domain.") \
  X(LogonFailureException, 1326, \
    "The attempted logon is invalid. This is due to either a bad user name or authentication information.") \
  X(PasswordExpiredException, 1330, \
    "Logon failure: the specified account password has expired.") \
  X(AccountDisabledException, 1331, \
    "Logon failure: account currently disabled.") \
  X(NoSuchDomainException, 1355, \
    "The specified domain either does not exist or could not be contacted.") \
  X(InternalErrorException, 1359, \
    "An internal error occurred.") \
  X(TimeSkewException, 1398, \
    "There is a time and/or date difference between the client and server.") \
  X(NoSuchGroupException, 1575, \
    "The specified group does not exist.") \
  X(RPCSProtocolSequenceNotSupportedException, 1703, \
    "The RPC protocol sequence is not supported.") \
  X(NoTrustLSASecretException, 1786, \
    "The workstation does not have a trust secret.") \
  X(NoTrustSAMAccountException, 1787, \
    "The domain controller does not have an account for this workstation.") \
  X(RPCSCallInProgressException, 1791, \
    "A remote procedure call is already in progress for this thread.") \
  X(DomainTrustInconsistentException, 1810, \
    "The name or security ID (SID) of the domain specified is inconsistent with the trust information for that domain.") \
  X(WkstaNotStartedException, 2138, \
    "The Workstation service has not been started.") \
  X(SetupAlreadyJoinedException, 2691, \
    "This machine is already joined to a domain.") \
  X(InvalidWorkgroupNameException, 2695, \
    "The specified workgroup name is invalid.") \
  X(WSATimedOutException, 10060, \
    "A connection attempt failed because the connected party did not properly respond after a period of time, or established connection failed because connected host has failed to respond.")

QUARRYAUTH_CODED_EXCEPTIONS(QUARRYAUTH_DECLARE_CODED_EXCEPTION)

// Carries any code without a class of its own; text "Unknown exception".
class QUARRYAUTH_EXPORT UnknownException : public Exception {
 public:
  explicit UnknownException(unsigned long code);
  QUARRYAUTH_EXCEPTION_MEMBERS(UnknownException)
};

QUARRYAUTH_DECLARE_TEXT_EXCEPTION(ThreadErrorException)
QUARRYAUTH_DECLARE_FIXED_EXCEPTION(ProviderCallTimedOutException)
QUARRYAUTH_DECLARE_PROVIDER_EXCEPTION(InvalidActiveDirectoryProviderException)
QUARRYAUTH_DECLARE_PROVIDER_EXCEPTION(InvalidCAMProxyProviderException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(InvalidThumbprintStoreException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(InvalidHostNameException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(InvalidCredentialsException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(InvalidIPAddressException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(InvalidVerifyCAMCertificateOptionException)
QUARRYAUTH_DECLARE_FIXED_EXCEPTION(InvalidCertificateException)
QUARRYAUTH_DECLARE_FIXED_EXCEPTION(InvalidCAMCertificateException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(InvalidKeyException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(UnknownRemoteAuthenticationStoreException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(InvalidRemoteAuthenticationStoreException)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(IOError)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(FilePermissionError)
QUARRYAUTH_DECLARE_TEXT_EXCEPTION(ConfigurationError)

#undef QUARRYAUTH_DECLARE_CODED_EXCEPTION
#undef QUARRYAUTH_DECLARE_TEXT_EXCEPTION
#undef QUARRYAUTH_DECLARE_FIXED_EXCEPTION
#undef QUARRYAUTH_DECLARE_PROVIDER_EXCEPTION
#undef QUARRYAUTH_EXCEPTION_MEMBERS

}  // namespace authentication
}  // namespace quarry

#endif
