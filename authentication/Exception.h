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
#define QUARRYAUTH_DECLARE_CODED_EXCEPTION(Name)  \
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

QUARRYAUTH_DECLARE_CODED_EXCEPTION(FileNotFoundException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(AccessDeniedException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NotEnoughMemoryException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidPasswordException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidParameterException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(CallNotImplementedException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(DirectoryException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(BadDLLEntryPointException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidMessageException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ServiceDoesNotExistException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ServiceCannotAcceptControlException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ServiceNotActiveException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ExceptionInServiceException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ProcessAbortedException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ConnectionUnavailableException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidGroupNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidComputerNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidDomainNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidServiceNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidNetNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidShareNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidPasswordNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NoNetworkException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ConnectionRefusedException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(ConnectionInvalidException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NoLogonServersException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidAccountNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NoSuchUserException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(IllFormedPasswordException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(PasswordRestrictionException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(LogonFailureException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(PasswordExpiredException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(AccountDisabledException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NoSuchDomainException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InternalErrorException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(TimeSkewException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NoSuchGroupException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(RPCSProtocolSequenceNotSupportedException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NoTrustLSASecretException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(NoTrustSAMAccountException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(RPCSCallInProgressException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(DomainTrustInconsistentException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(WkstaNotStartedException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(SetupAlreadyJoinedException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(InvalidWorkgroupNameException)
QUARRYAUTH_DECLARE_CODED_EXCEPTION(WSATimedOutException)

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
