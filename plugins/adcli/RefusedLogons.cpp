#include "RefusedLogons.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <sys/random.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "common/PluginText.h"

namespace quarryadcli {
namespace {

// Each field with its length first, so that no two logons give one text.
void AppendField(std::string& text, const std::string& field) {
  const uint64_t size = field.size();
  text.append(reinterpret_cast<const char*>(&size), sizeof size);
  text.append(field);
}

// The key: random, made once per process, never written anywhere.
bool FillWithRandomBytes(unsigned char* bytes, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    const ssize_t got = getrandom(bytes + filled, size - filled, 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    filled += static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace

RefusedLogons::RefusedLogons(Clock::duration window, std::size_t capacity)
    : window_(window), capacity_(capacity) {
  haveKey_ = FillWithRandomBytes(key_.data(), key_.size());
}

bool RefusedLogons::DigestOf(const Logon& logon, Digest& digest) const {
  if (!haveKey_) return false;
  std::string text;
  AppendField(text, quarry::plugin::ToLower(logon.domain));
  AppendField(text, quarry::plugin::ToLower(logon.user));
  AppendField(text, logon.password);
  unsigned int size = 0;
  const bool made =
      HMAC(EVP_sha256(), key_.data(), static_cast<int>(key_.size()),
           reinterpret_cast<const unsigned char*>(text.data()), text.size(),
           digest.data(), &size) != nullptr;
  OPENSSL_cleanse(text.data(), text.size());
  return made && size == digest.size();
}

void RefusedLogons::ForgetExpired(Clock::time_point now) {
  refusals_.erase(std::remove_if(refusals_.begin(), refusals_.end(),
                                 [now](const Refusal& refusal) {
                                   return refusal.until <= now;
                                 }),
                  refusals_.end());
}

bool RefusedLogons::Refused(const Logon& logon, Clock::time_point now) {
  Digest digest;
  if (!DigestOf(logon, digest)) return false;
  std::lock_guard<std::mutex> lock(mutex_);
  ForgetExpired(now);
  return std::any_of(refusals_.begin(), refusals_.end(),
                     [&digest](const Refusal& refusal) {
                       return CRYPTO_memcmp(refusal.digest.data(),
                                            digest.data(), digest.size()) == 0;
                     });
}

void RefusedLogons::RememberRefusal(const Logon& logon,
                                    Clock::time_point now) {
  Digest digest;
  if (!DigestOf(logon, digest)) return;
  std::lock_guard<std::mutex> lock(mutex_);
  ForgetExpired(now);
  if (capacity_ == 0) return;
  if (refusals_.size() == capacity_) refusals_.erase(refusals_.begin());
  refusals_.push_back({digest, now + window_});
}

RefusedLogons& RecentlyRefusedLogons() {
  static RefusedLogons logons(std::chrono::seconds(4 * 30), 16);
  return logons;
}

}  // namespace quarryadcli
