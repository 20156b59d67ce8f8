#include <quarryauth/authentication/ErrorMapping.h>

#include <quarryauth/authentication/Exception.h>

namespace quarry {
namespace authentication {

void ThrowMappedException(unsigned int code) {
  switch (code) {
    case 0:
      throw FileNotFoundException();
#define QUARRYAUTH_THROW_FOR_CODE(Name, code, text) \
  case code:                                        \
    throw Name();
    QUARRYAUTH_CODED_EXCEPTIONS(QUARRYAUTH_THROW_FOR_CODE)
#undef QUARRYAUTH_THROW_FOR_CODE
    default:
      // Includes the private codes 0xFFFF0000 and 0xFFFF0001.
      throw UnknownException(code);
  }
}

}  // namespace authentication
}  // namespace quarry
