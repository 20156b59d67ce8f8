#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>

namespace SkarnConfigStore {

ConfigStoreException::ConfigStoreException(CSErrorCodes code,
                                           const std::string& message)
    : code(code), message(message) {}

ConfigStoreException::~ConfigStoreException() = default;

CSErrorCodes ConfigStoreException::GetCode() const { return code; }

const char* ConfigStoreException::what() const noexcept {
  return message.c_str();
}

}  // namespace SkarnConfigStore
