// Words for the status codes that a directory or proxy plug-in reports and
// the library passes on inside its exceptions: what the code means and
// what to do, for the administrator reading the tool's output. The
// library's own texts stay as they are; these come after them.
#ifndef QUARRYAUTHCTL_STATUSWORDS_H
#define QUARRYAUTHCTL_STATUSWORDS_H

#include <cstdint>
#include <string>
#include <vector>

namespace quarryauthctl {

struct StatusWords {
  uint64_t code;
  const char* name;  // the Windows name, or a short one of our own
  const char* words; // what it means, then what to do
};

// Every code the tool has words for, in ascending order.
const std::vector<StatusWords>& KnownStatusCodes();

// "status 1909 (ERROR_ACCOUNT_LOCKED_OUT): ..." for a known code; empty for
// code 0 and for codes without words.
std::string DescribeStatus(uint64_t code);

// The code that plug-ins report for a host that is not joined.
constexpr uint64_t kStatusNotJoined = 2692;
// The proxy plug-in's code for a certificate other than the imported one;
// the library raises it as a class of its own, without the code.
constexpr uint64_t kStatusCertificateNotImported = 0x80090325u;

}  // namespace quarryauthctl

#endif
