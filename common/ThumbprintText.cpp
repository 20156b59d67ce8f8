#include "common/ThumbprintText.h"

namespace quarry::common {

std::string FormatThumbprint(const unsigned char* digest, unsigned int length) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(length * 3);
  for (unsigned int i = 0; i < length; ++i) {
    if (i > 0) text += ':';
    text += kDigits[digest[i] >> 4];
    text += kDigits[digest[i] & 0x0f];
  }
  return text;
}

}  // namespace quarry::common
