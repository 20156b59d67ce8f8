// Turns a directory client status code into the exception it stands for.
#ifndef QUARRYAUTH_AUTHENTICATION_ERRORMAPPING_H
#define QUARRYAUTH_AUTHENTICATION_ERRORMAPPING_H

#include "Export.h"

namespace quarry {
namespace authentication {

// Always throws. Code 0 is deliberately not success here: it throws
// FileNotFoundException (code 2). Codes without a class of their own throw
// UnknownException carrying the code.
[[noreturn]] QUARRYAUTH_EXPORT void ThrowMappedException(unsigned int code);

}  // namespace authentication
}  // namespace quarry

#endif
