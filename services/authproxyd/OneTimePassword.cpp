#include "services/authproxyd/OneTimePassword.h"

#include <openssl/rand.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace quarry::authproxyd {

namespace {

const char kAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr unsigned kAlphabetSize = sizeof kAlphabet - 1;  // 62
// The largest multiple of 62 below 256: bytes from it up are drawn again,
// so that every character is equally likely.
constexpr unsigned kUnbiasedLimit = 256 - 256 % kAlphabetSize;

std::string RandomText() {
  std::string text;
  while (text.size() < kOneTimePasswordLength) {
    unsigned char bytes[64];
    if (RAND_bytes(bytes, sizeof bytes) != 1) {
      throw std::runtime_error("no random bytes for a one-time password");
    }
    for (const unsigned char byte : bytes) {
      if (byte < kUnbiasedLimit && text.size() < kOneTimePasswordLength) {
        text += kAlphabet[byte % kAlphabetSize];
      }
    }
  }
  return text;
}

bool HasEveryClass(const std::string& text) {
  const auto has = [&](int (*isClass)(int)) {
    return std::any_of(text.begin(), text.end(), [&](char c) {
      return isClass(static_cast<unsigned char>(c)) != 0;
    });
  };
  return has(::isupper) && has(::islower) && has(::isdigit);
}

}  // namespace

std::string MakeOneTimePassword() {
  for (;;) {
    std::string password = RandomText();
    if (HasEveryClass(password)) return password;
  }
}

}  // namespace quarry::authproxyd
