#include "platform/skarnconfigstore/ConfigStoreException.h"

namespace SkarnConfigStore {

ConfigStoreException::ConfigStoreException(const std::string& message)
    : message(message) {}
ConfigStoreException::~ConfigStoreException() = default;
const char* ConfigStoreException::what() const noexcept {
  return message.c_str();
}

}  // namespace SkarnConfigStore
