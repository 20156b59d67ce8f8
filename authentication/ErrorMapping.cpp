#include "authentication/ErrorMapping.h"

#include "authentication/Exception.h"

namespace quarry {
namespace authentication {

void ThrowMappedException(unsigned int code) {
  switch (code) {
    case 0:
      throw FileNotFoundException();
    case 2:
      throw FileNotFoundException();
    case 5:
      throw AccessDeniedException();
    case 8:
      throw NotEnoughMemoryException();
    case 86:
      throw InvalidPasswordException();
    case 87:
      throw InvalidParameterException();
    case 120:
      throw CallNotImplementedException();
    case 267:
      throw DirectoryException();
    case 609:
      throw BadDLLEntryPointException();
    case 1002:
      throw InvalidMessageException();
    case 1060:
      throw ServiceDoesNotExistException();
    case 1061:
      throw ServiceCannotAcceptControlException();
    case 1062:
      throw ServiceNotActiveException();
    case 1064:
      throw ExceptionInServiceException();
    case 1067:
      throw ProcessAbortedException();
    case 1201:
      throw ConnectionUnavailableException();
    case 1209:
      throw InvalidGroupNameException();
    case 1210:
      throw InvalidComputerNameException();
    case 1212:
      throw InvalidDomainNameException();
    case 1213:
      throw InvalidServiceNameException();
    case 1214:
      throw InvalidNetNameException();
    case 1215:
      throw InvalidShareNameException();
    case 1216:
      throw InvalidPasswordNameException();
    case 1222:
      throw NoNetworkException();
    case 1225:
      throw ConnectionRefusedException();
    case 1229:
      throw ConnectionInvalidException();
    case 1311:
      throw NoLogonServersException();
    case 1315:
      throw InvalidAccountNameException();
    case 1317:
      throw NoSuchUserException();
    case 1324:
      throw IllFormedPasswordException();
    case 1325:
      throw PasswordRestrictionException();
    case 1326:
      throw LogonFailureException();
    case 1330:
      throw PasswordExpiredException();
    case 1331:
      throw AccountDisabledException();
    case 1355:
      throw NoSuchDomainException();
    case 1359:
      throw InternalErrorException();
    case 1398:
      throw TimeSkewException();
    case 1575:
      throw NoSuchGroupException();
    case 1703:
      throw RPCSProtocolSequenceNotSupportedException();
    case 1786:
      throw NoTrustLSASecretException();
    case 1787:
      throw NoTrustSAMAccountException();
    case 1791:
      throw RPCSCallInProgressException();
    case 1810:
      throw DomainTrustInconsistentException();
    case 2138:
      throw WkstaNotStartedException();
    case 2691:
      throw SetupAlreadyJoinedException();
    case 2695:
      throw InvalidWorkgroupNameException();
    case 10060:
      throw WSATimedOutException();
    default:
      // Includes the private codes 0xFFFF0000 and 0xFFFF0001.
      throw UnknownException(code);
  }
}

}  // namespace authentication
}  // namespace quarry
