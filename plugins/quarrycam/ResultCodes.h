// Result codes beyond those the plug-in interface names, in the same
// (Windows error) numbering, which the library passes on as unknown errors
// carrying the code.
#ifndef QUARRYCAM_RESULTCODES_H
#define QUARRYCAM_RESULTCODES_H

#include <quarryauth/plugin/CAMProxyClient.h>

namespace quarrycam {

constexpr CAMProxyResult kAccessDenied = 5;          // 403 from the proxy
constexpr CAMProxyResult kInvalidParameter = 87;     // 400 from the proxy
constexpr CAMProxyResult kAccountExists = 1316;      // 409 from the proxy
constexpr CAMProxyResult kNetworkUnreachable = 1231;
constexpr CAMProxyResult kInternalError = 1359;      // the proxy's directory
constexpr CAMProxyResult kBadConfiguration = 1610;   // quarrycam.conf

}  // namespace quarrycam

#endif
