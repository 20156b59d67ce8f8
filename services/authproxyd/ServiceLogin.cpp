#include "services/authproxyd/ServiceLogin.h"

#include "services/authproxyd/AccountDirectory.h"

namespace quarry::authproxyd {

namespace {

// Owns a set of credentials returned by the KDC.
class Credentials {
 public:
  explicit Credentials(krb5_context context) : context_(context) {}
  ~Credentials() { krb5_free_cred_contents(context_, &credentials_); }
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;
  krb5_creds* get() { return &credentials_; }

 private:
  krb5_context context_;
  krb5_creds credentials_ = {};
};

// Owns the options of one initial-ticket request.
class InitialOptions {
 public:
  explicit InitialOptions(krb5_context context) : context_(context) {
    if (krb5_get_init_creds_opt_alloc(context_, &options_) == 0) {
      // Nothing to renew or forward: the tickets serve one request.
      krb5_get_init_creds_opt_set_forwardable(options_, 0);
      krb5_get_init_creds_opt_set_proxiable(options_, 0);
    }
  }
  ~InitialOptions() {
    if (options_ != nullptr) krb5_get_init_creds_opt_free(context_, options_);
  }
  InitialOptions(const InitialOptions&) = delete;
  InitialOptions& operator=(const InitialOptions&) = delete;
  krb5_get_init_creds_opt* get() const { return options_; }

 private:
  krb5_context context_;
  krb5_get_init_creds_opt* options_ = nullptr;
};

}  // namespace

ServiceLogin::ServiceLogin(const std::string& user, const std::string& realm,
                           const std::string& password) {
  const std::string principalName =
      user.find('@') == std::string::npos ? user + "@" + realm : user;
  const std::string what = "cannot log in to the domain as " + principalName;
  krb5_error_code code = krb5_init_context(&context_);
  if (code != 0) {
    context_ = nullptr;
    throw DirectoryError(what + ": Kerberos is not usable here", false);
  }
  code = krb5_parse_name(context_, principalName.c_str(), &principal_);
  if (code != 0) Fail(what, code);
  InitialOptions options(context_);
  Credentials credentials(context_);
  code = krb5_get_init_creds_password(
      context_, credentials.get(), principal_, password.c_str(), nullptr,
      nullptr, 0, nullptr, options.get());
  if (code != 0) Fail(what, code);
  expiresAt_ = credentials.get()->times.endtime;
  code = krb5_cc_new_unique(context_, "MEMORY", nullptr, &cache_);
  if (code == 0) code = krb5_cc_initialize(context_, cache_, principal_);
  if (code == 0) code = krb5_cc_store_cred(context_, cache_, credentials.get());
  if (code != 0) Fail(what, code);
  char* name = nullptr;
  code = krb5_cc_get_full_name(context_, cache_, &name);
  if (code != 0) Fail(what, code);
  cacheName_ = name;
  krb5_free_string(context_, name);
}

ServiceLogin::~ServiceLogin() { Release(); }

void ServiceLogin::Fail(const std::string& what, krb5_error_code code) {
  const char* message = krb5_get_error_message(context_, code);
  const std::string words = message != nullptr ? message : "unknown error";
  krb5_free_error_message(context_, message);
  Release();
  // A KDC that cannot be reached is a directory that did not answer.
  throw DirectoryError(what + ": " + words, code == KRB5_KDC_UNREACH);
}

void ServiceLogin::Release() {
  if (context_ == nullptr) return;
  if (cache_ != nullptr) krb5_cc_destroy(context_, cache_);
  if (principal_ != nullptr) krb5_free_principal(context_, principal_);
  krb5_free_context(context_);
  cache_ = nullptr;
  principal_ = nullptr;
  context_ = nullptr;
}

}  // namespace quarry::authproxyd
