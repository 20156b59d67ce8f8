// Helpers for tests of the host configuration store.
#ifndef QUARRY_TESTS_PLATFORM_CONFIGSTORESUPPORT_H
#define QUARRY_TESTS_PLATFORM_CONFIGSTORESUPPORT_H

#include <quarryauth/platform/skarnconfigstore/ConfigStore.h>
#include <quarryauth/platform/skarnconfigstore/ConfigStoreException.h>

#include <memory>
#include <string>
#include <utility>

namespace quarry::test {

std::shared_ptr<SkarnConfigStore::ConfigStore> GlobalStore();

// The code and text of the ConfigStoreException that operation throws;
// InternalError and "no exception" when it throws none.
template <class Operation>
std::pair<SkarnConfigStore::CSErrorCodes, std::string> StoreFailureOf(
    Operation operation) {
  try {
    operation();
  } catch (const SkarnConfigStore::ConfigStoreException& error) {
    return {error.GetCode(), error.what()};
  }
  return {SkarnConfigStore::CSErrorCodes::InternalError, "no exception"};
}

}  // namespace quarry::test

#endif
