// The host configuration store's exception: a code of the error table and
// the message that what() returns.
#ifndef SKARNCONFIGSTORE_CONFIGSTOREEXCEPTION_H
#define SKARNCONFIGSTORE_CONFIGSTOREEXCEPTION_H

#include <exception>
#include <string>

#include "CSErrorCodes.h"
#include "Export.h"

namespace SkarnConfigStore {

class SKARNCONFIGSTORE_EXPORT ConfigStoreException : public std::exception {
 public:
  // The message is usually the code's template filled in by
  // FormatCSErrorMessage.
  ConfigStoreException(CSErrorCodes code, const std::string& message);
  ~ConfigStoreException() override;

  CSErrorCodes GetCode() const;
  const char* what() const noexcept override;

 private:
  CSErrorCodes code;
  std::string message;
};

}  // namespace SkarnConfigStore

#endif
