// OpenSSL objects owned by unique_ptr.
#ifndef QUARRYCAM_OPENSSLHANDLES_H
#define QUARRYCAM_OPENSSLHANDLES_H

#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <memory>

namespace quarrycam {

struct SslContextFree {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
struct SslFree {
  void operator()(SSL* ssl) const { SSL_free(ssl); }
};
struct X509Free {
  void operator()(X509* certificate) const { X509_free(certificate); }
};

using SslContextPointer = std::unique_ptr<SSL_CTX, SslContextFree>;
using SslPointer = std::unique_ptr<SSL, SslFree>;
using X509Pointer = std::unique_ptr<X509, X509Free>;

}  // namespace quarrycam

#endif
