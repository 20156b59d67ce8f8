// OpenSSL objects owned by unique_ptr, each freed by its own function.
#ifndef QUARRY_COMMON_OPENSSLHANDLES_H
#define QUARRY_COMMON_OPENSSLHANDLES_H

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace quarry::common {

template <class Type, auto Free>
struct OpenSslFree {
  void operator()(Type* object) const { Free(object); }
};

template <class Type, auto Free>
using OpenSslPointer = std::unique_ptr<Type, OpenSslFree<Type, Free>>;

using BioPointer = OpenSslPointer<BIO, BIO_free>;
using EvpKeyPointer = OpenSslPointer<EVP_PKEY, EVP_PKEY_free>;
using GeneralNamesPointer = OpenSslPointer<GENERAL_NAMES, GENERAL_NAMES_free>;
using SslContextPointer = OpenSslPointer<SSL_CTX, SSL_CTX_free>;
using SslPointer = OpenSslPointer<SSL, SSL_free>;
using X509Pointer = OpenSslPointer<X509, X509_free>;
using X509RequestPointer = OpenSslPointer<X509_REQ, X509_REQ_free>;

}  // namespace quarry::common

#endif
