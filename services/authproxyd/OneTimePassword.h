// Fresh one-time passwords for new computer accounts.
#ifndef QUARRY_AUTHPROXYD_ONETIMEPASSWORD_H
#define QUARRY_AUTHPROXYD_ONETIMEPASSWORD_H

#include <string>

namespace quarry::authproxyd {

constexpr std::string::size_type kOneTimePasswordLength = 24;

// 24 characters drawn uniformly from letters and digits by the
// cryptographic random generator, with at least one upper-case letter, one
// lower-case letter and one digit, so that any password policy's character
// classes are met. Throws std::runtime_error when no randomness is to be
// had.
std::string MakeOneTimePassword();

}  // namespace quarry::authproxyd

#endif
