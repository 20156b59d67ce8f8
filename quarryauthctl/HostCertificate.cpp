#include "HostCertificate.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <quarryauth/authentication.h>

#include "ExitStatus.h"
#include "common/DurableFile.h"
#include "common/OpenSslHandles.h"
#include "common/ThumbprintText.h"

namespace quarryauthctl {

namespace {

namespace qa = quarry::authentication;

using Key = quarry::common::EvpKeyPointer;
using Certificate = quarry::common::X509Pointer;
using Request = quarry::common::X509RequestPointer;
struct ExtensionsDeleter {
  void operator()(STACK_OF(X509_EXTENSION) * extensions) const {
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
  }
};
using Extensions = std::unique_ptr<STACK_OF(X509_EXTENSION), ExtensionsDeleter>;

struct FileCloser {
  void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

[[noreturn]] void Fail(const std::string& what) { throw Failure(what); }

File Open(const std::string& path, const char* mode) {
  File file(std::fopen(path.c_str(), mode));
  if (!file) Fail("cannot open " + path + ": " + std::strerror(errno));
  return file;
}

Key ReadKey(const std::string& path) {
  const File file = Open(path, "r");
  Key key(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr));
  if (!key) Fail(path + " holds no PEM private key");
  return key;
}

// Replaces path with the PEM text that write puts into a memory buffer,
// through the project's durable replacement (mode for a new file), so that
// a reader never sees half a file.
template <class Write>
void WriteFile(const std::string& path, mode_t mode, Write write) {
  const quarry::common::BioPointer buffer(BIO_new(BIO_s_mem()));
  if (!buffer || !write(buffer.get())) Fail("cannot write " + path);
  char* data = nullptr;
  const long length = BIO_get_mem_data(buffer.get(), &data);
  const int error = quarry::common::ReplaceFileContents(
      path, std::string(data, static_cast<std::size_t>(length)), mode);
  if (error != 0) Fail("cannot write " + path + ": " + std::strerror(error));
}

Extensions HostExtensions(const std::string& hostName) {
  Extensions extensions(sk_X509_EXTENSION_new_null());
  const std::string alternative = "DNS:" + hostName;
  for (const auto& [nid, value] :
       {std::make_pair(NID_subject_alt_name, alternative.c_str()),
        std::make_pair(NID_ext_key_usage, "clientAuth"),
        std::make_pair(NID_key_usage, "critical,digitalSignature")}) {
    X509_EXTENSION* extension =
        X509V3_EXT_conf_nid(nullptr, nullptr, nid, value);
    if (extension == nullptr || !sk_X509_EXTENSION_push(extensions.get(), extension)) {
      X509_EXTENSION_free(extension);
      Fail("cannot describe the certificate's extensions");
    }
  }
  return extensions;
}

void SetSubject(X509_NAME* name, const std::string& hostName) {
  X509_NAME_add_entry_by_txt(
      name, "CN", MBSTRING_ASC,
      reinterpret_cast<const unsigned char*>(hostName.c_str()), -1, -1, 0);
}

}  // namespace

HostCertificatePaths ReadHostCertificatePaths() {
  HostCertificatePaths paths;
  try {
    const qa::Configuration settings(quarry::common::kCamSettingsPath);
    const auto certificate = settings.find("certificate-file");
    if (certificate != settings.end()) paths.certificate = certificate->second;
    const auto key = settings.find("key-file");
    if (key != settings.end()) paths.key = key->second;
  } catch (const qa::IOError&) {
    // No settings file: the defaults.
  }
  const std::string::size_type dot = paths.certificate.rfind('.');
  const std::string::size_type slash = paths.certificate.rfind('/');
  const bool hasSuffix =
      dot != std::string::npos && (slash == std::string::npos || dot > slash);
  paths.request =
      (hasSuffix ? paths.certificate.substr(0, dot) : paths.certificate) + ".csr";
  return paths;
}

bool EnsureHostKey(const std::string& path) {
  if (::access(path.c_str(), F_OK) == 0) {
    ReadKey(path);
    return false;
  }
  const Key key(EVP_EC_gen("P-256"));
  if (!key) Fail("cannot create a key");
  WriteFile(path, 0600, [&key](BIO* bio) {
    return PEM_write_bio_PrivateKey(bio, key.get(), nullptr, nullptr, 0,
                                    nullptr, nullptr) == 1;
  });
  return true;
}

void WriteSelfSignedCertificate(const HostCertificatePaths& paths,
                                const std::string& hostName, int days) {
  const Key key = ReadKey(paths.key);
  const Certificate certificate(X509_new());
  unsigned char serial[16];
  if (!certificate || RAND_bytes(serial, sizeof serial) != 1) {
    Fail("cannot make a certificate");
  }
  serial[0] &= 0x7f;
  BIGNUM* number = BN_bin2bn(serial, sizeof serial, nullptr);
  BN_to_ASN1_INTEGER(number, X509_get_serialNumber(certificate.get()));
  BN_free(number);
  X509_set_version(certificate.get(), 2);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -60);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400L * days);
  SetSubject(X509_get_subject_name(certificate.get()), hostName);
  X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate.get()));
  X509_set_pubkey(certificate.get(), key.get());
  const Extensions extensions = HostExtensions(hostName);
  for (int i = 0; i < sk_X509_EXTENSION_num(extensions.get()); ++i) {
    X509_add_ext(certificate.get(), sk_X509_EXTENSION_value(extensions.get(), i), -1);
  }
  if (X509_sign(certificate.get(), key.get(), EVP_sha256()) == 0) {
    Fail("cannot sign the certificate");
  }
  WriteFile(paths.certificate, 0644, [&certificate](BIO* bio) {
    return PEM_write_bio_X509(bio, certificate.get()) == 1;
  });
}

void WriteCertificateRequest(const HostCertificatePaths& paths,
                             const std::string& hostName) {
  const Key key = ReadKey(paths.key);
  const Request request(X509_REQ_new());
  if (!request) Fail("cannot make a certificate request");
  X509_REQ_set_version(request.get(), 0);
  SetSubject(X509_REQ_get_subject_name(request.get()), hostName);
  X509_REQ_set_pubkey(request.get(), key.get());
  const Extensions extensions = HostExtensions(hostName);
  X509_REQ_add_extensions(request.get(), extensions.get());
  if (X509_REQ_sign(request.get(), key.get(), EVP_sha256()) == 0) {
    Fail("cannot sign the certificate request");
  }
  WriteFile(paths.request, 0644, [&request](BIO* bio) {
    return PEM_write_bio_X509_REQ(bio, request.get()) == 1;
  });
}

std::string HostCertificateThumbprint(const std::string& path) {
  if (::access(path.c_str(), F_OK) != 0) {
    throw FileRefusal("there is no host certificate " + path +
                      "; create one with 'quarryauthctl host-cert create'");
  }
  const File file = Open(path, "r");
  const Certificate certificate(
      PEM_read_X509(file.get(), nullptr, nullptr, nullptr));
  if (!certificate) throw FileRefusal(path + " holds no PEM certificate");
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (X509_digest(certificate.get(), EVP_sha256(), digest, &length) != 1) {
    Fail("cannot compute the thumbprint of " + path);
  }
  return quarry::common::FormatThumbprint(digest, length);
}

}  // namespace quarryauthctl
