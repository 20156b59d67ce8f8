// Every exception class with a fixed code, with its code and text, for
// tests that walk the whole family.
#ifndef QUARRYAUTH_TESTS_CODEDEXCEPTIONTABLE_H
#define QUARRYAUTH_TESTS_CODEDEXCEPTIONTABLE_H

#include <quarryauth/authentication.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quarry_test {

namespace qa = quarry::authentication;

struct CodedRow {
  const char* name;
  uint64_t code;
  std::string text;
  std::function<qa::Exception*()> make;
  // Clones through the base and checks that the copy's Throw is caught by
  // the concrete class.
  std::function<bool(const qa::Exception&)> caughtAsOwnClass;
};

#define CODED(Name, code, text)                                  \
  CodedRow {                                                     \
    #Name, code, text, [] { return new qa::Name(); },            \
        [](const qa::Exception& error) {                         \
          try {                                                  \
            error.Throw();                                       \
          } catch (const qa::Name&) {                            \
            return true;                                         \
          } catch (...) {                                        \
          }                                                      \
          return false;                                          \
        }                                                        \
  }

inline std::vector<CodedRow> CodedRows() {
  return {
    CODED(FileNotFoundException, 2, "The system cannot find the file specified."),
    CODED(AccessDeniedException, 5, "Access is denied."),
    CODED(NotEnoughMemoryException, 8, "Not enough memory"),
    CODED(InvalidPasswordException, 86, "The specified network password is not correct."),
    CODED(InvalidParameterException, 87, "The parameter is incorrect."),
    CODED(CallNotImplementedException, 120, "This function is not supported on this system."),
    CODED(DirectoryException, 267, "The directory name is invalid."),
    CODED(BadDLLEntryPointException, 609, "Bad DLL entry point."),
    CODED(InvalidMessageException, 1002, "The window cannot act on the sent message."),
    CODED(ServiceDoesNotExistException, 1060, "The specified service does not exist as an installed service."),
    CODED(ServiceCannotAcceptControlException, 1061, "The service cannot accept control messages at this time."),
    CODED(ServiceNotActiveException, 1062, "The service has not been started."),
    CODED(ExceptionInServiceException, 1064, "An exception occurred in the service when handling the control request."),
    CODED(ProcessAbortedException, 1067, "The process terminated unexpectedly."),
    CODED(ConnectionUnavailableException, 1201, "The device is not currently connected but it is a remembered connection."),
    CODED(InvalidGroupNameException, 1209, "The format of the specified group name is invalid."),
    CODED(InvalidComputerNameException, 1210, "The format of the specified computer name is invalid."),
    CODED(InvalidDomainNameException, 1212, "The format of the specified domain name is invalid."),
    CODED(InvalidServiceNameException, 1213, "The format of the specified service name is invalid."),
    CODED(InvalidNetNameException, 1214, "The format of the specified network name is invalid."),
    CODED(InvalidShareNameException, 1215, "The format of the specified share name is invalid."),
    CODED(InvalidPasswordNameException, 1216, "The format of the specified password is invalid."),
    CODED(NoNetworkException, 1222, "The network is not present or not started."),
    CODED(ConnectionRefusedException, 1225, "The remote computer refused the network connection."),
    CODED(ConnectionInvalidException, 1229, "An operation was attempted on a nonexistent network connection."),
    CODED(NoLogonServersException, 1311, "There are currently no logon servers available to service the logon request."),
    CODED(InvalidAccountNameException, 1315, "The name provided is not a properly formed account name."),
    CODED(NoSuchUserException, 1317, "The specified account does not exist."),
    CODED(IllFormedPasswordException, 1324, "The value provided for the new password contains values that are not allowed in passwords."),
    CODED(PasswordRestrictionException, 1325, "The value provided for the new password does not meet the length, complexity, or history requirements of the domain."),
    CODED(LogonFailureException, 1326, "The attempted logon is invalid. This is due to either a bad user name or authentication information."),
    CODED(PasswordExpiredException, 1330, "Logon failure: the specified account password has expired."),
    CODED(AccountDisabledException, 1331, "Logon failure: account currently disabled."),
    CODED(NoSuchDomainException, 1355, "The specified domain either does not exist or could not be contacted."),
    CODED(InternalErrorException, 1359, "An internal error occurred."),
    CODED(TimeSkewException, 1398, "There is a time and/or date difference between the client and server."),
    CODED(NoSuchGroupException, 1575, "The specified group does not exist."),
    CODED(RPCSProtocolSequenceNotSupportedException, 1703, "The RPC protocol sequence is not supported."),
    CODED(NoTrustLSASecretException, 1786, "The workstation does not have a trust secret."),
    CODED(NoTrustSAMAccountException, 1787, "The domain controller does not have an account for this workstation."),
    CODED(RPCSCallInProgressException, 1791, "A remote procedure call is already in progress for this thread."),
    CODED(DomainTrustInconsistentException, 1810, "The name or security ID (SID) of the domain specified is inconsistent with the trust information for that domain."),
    CODED(WkstaNotStartedException, 2138, "The Workstation service has not been started."),
    CODED(SetupAlreadyJoinedException, 2691, "This machine is already joined to a domain."),
    CODED(InvalidWorkgroupNameException, 2695, "The specified workgroup name is invalid."),
    CODED(WSATimedOutException, 10060, "A connection attempt failed because the connected party did not properly respond after a period of time, or established connection failed because connected host has failed to respond."),
  };
}

#undef CODED

}  // namespace quarry_test

#endif
