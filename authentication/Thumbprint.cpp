#include "authentication/Thumbprint.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>

#include <quarryauth/authentication/Exception.h>
#include "common/OpenSslHandles.h"
#include "common/ThumbprintText.h"

namespace quarry {
namespace authentication {

namespace {

using common::BioPointer;
using common::X509Pointer;

// Leaves OpenSSL's per-thread error queue as the caller had it.
[[noreturn]] void ThrowInvalidCertificate() {
  ERR_clear_error();
  throw InvalidCertificateException();
}

}  // namespace

std::string ComputeThumbprint(const std::string& pem) {
  BioPointer bio(BIO_new(BIO_s_mem()));
  if (!bio || BIO_puts(bio.get(), pem.c_str()) < 0) ThrowInvalidCertificate();
  X509Pointer certificate(
      PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
  if (!certificate) ThrowInvalidCertificate();
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (X509_digest(certificate.get(), EVP_sha1(), digest, &length) != 1) {
    ThrowInvalidCertificate();
  }
  return common::FormatThumbprint(digest, length);
}

}  // namespace authentication
}  // namespace quarry
