// The host configuration store's exception.
#ifndef SKARNCONFIGSTORE_CONFIGSTOREEXCEPTION_H
#define SKARNCONFIGSTORE_CONFIGSTOREEXCEPTION_H

#include <exception>
#include <string>

#include "Export.h"

namespace SkarnConfigStore {

class SKARNCONFIGSTORE_EXPORT ConfigStoreException : public std::exception {
 public:
  explicit ConfigStoreException(const std::string& message);
  ~ConfigStoreException() override;
  const char* what() const noexcept override;

 private:
  std::string message;
};

}  // namespace SkarnConfigStore

#endif
