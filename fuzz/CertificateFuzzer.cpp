// Importing a proxy certificate: whatever bytes arrive as the PEM text,
// the import either stores the certificate with a well-formed thumbprint
// or raises InvalidCertificateException and leaves the stored record as it
// was. Goes through the public ActiveDirectoryStore, which needs a
// directory client plug-in: the test plug-in is installed at start-up
// (the fuzzer runs inside the test sandbox).
#include <quarryauth/authentication.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "authentication/PluginHarness.h"

namespace qa = quarry::authentication;

namespace {

qa::ActiveDirectoryStore* gStore = nullptr;

void Check(bool condition) {
  if (!condition) std::abort();
}

// Twenty upper-case hexadecimal byte pairs joined by ":".
bool IsThumbprint(const std::string& text) {
  if (text.size() != 59) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (i % 3 == 2 ? c != ':' : !(std::isdigit(c) || (c >= 'A' && c <= 'F'))) {
      return false;
    }
  }
  return true;
}

std::string StoredRecord() {
  const qa::ActiveDirectoryConfigStore store;
  return store.GetThumbprint() + "\n" + store.GetCertificate();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  quarryauth_test::InstallStandardPlugin();
  static qa::ActiveDirectoryStore store(30);
  gStore = &store;
  // A record to compare against after refused imports.
  qa::ActiveDirectoryConfigStore().StoreAuthProxyCertInfo("none", "none");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string pem(reinterpret_cast<const char*>(data), size);
  const std::string before = StoredRecord();
  try {
    gStore->ImportCertificateForCAM(pem);
  } catch (const qa::InvalidCertificateException&) {
    Check(StoredRecord() == before);
    return 0;
  }
  const qa::ActiveDirectoryConfigStore store;
  Check(IsThumbprint(store.GetThumbprint()));
  Check(store.GetCertificate() == pem);
  return 0;
}
