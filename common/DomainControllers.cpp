#include "common/DomainControllers.h"

#include <arpa/nameser.h>
#include <netdb.h>
#include <resolv.h>

#include <algorithm>
#include <cstring>

namespace quarry::common {
namespace {

struct ServiceRecord {
  unsigned priority;
  unsigned weight;
  std::string target;
};

// A resolver state of our own: res_nquery is then safe on any thread.
class Resolver {
 public:
  Resolver() {
    std::memset(&state_, 0, sizeof state_);
    ready_ = res_ninit(&state_) == 0;
  }
  ~Resolver() { res_nclose(&state_); }
  Resolver(const Resolver&) = delete;
  Resolver& operator=(const Resolver&) = delete;
  bool ready() const { return ready_; }
  res_state get() { return &state_; }

 private:
  struct __res_state state_;
  bool ready_ = false;
};

bool ParseAnswer(const unsigned char* answer, int length,
                 std::vector<ServiceRecord>& records) {
  ns_msg message;
  if (ns_initparse(answer, length, &message) != 0) return false;
  const int count = ns_msg_count(message, ns_s_an);
  for (int i = 0; i < count; ++i) {
    ns_rr record;
    if (ns_parserr(&message, ns_s_an, i, &record) != 0) return false;
    if (ns_rr_type(record) != ns_t_srv || ns_rr_rdlen(record) < 7) continue;
    const unsigned char* data = ns_rr_rdata(record);
    char target[NS_MAXDNAME];
    if (dn_expand(ns_msg_base(message), ns_msg_end(message), data + 6, target,
                  sizeof target) < 0) {
      return false;
    }
    if (std::strcmp(target, ".") == 0 || target[0] == '\0') continue;
    records.push_back({ns_get16(data), ns_get16(data + 2), target});
  }
  return true;
}

}  // namespace

LookupResult FindDomainControllers(const std::string& domain,
                                   std::vector<std::string>& hosts) {
  hosts.clear();
  if (domain.empty()) return LookupResult::NoSuchDomain;
  Resolver resolver;
  if (!resolver.ready()) return LookupResult::NoAnswer;
  const std::string name = "_ldap._tcp.dc._msdcs." + domain;
  unsigned char answer[NS_MAXMSG];
  const int length = res_nquery(resolver.get(), name.c_str(), ns_c_in,
                                ns_t_srv, answer, sizeof answer);
  if (length < 0) {
    const int error = resolver.get()->res_h_errno;
    return error == HOST_NOT_FOUND || error == NO_DATA
               ? LookupResult::NoSuchDomain
               : LookupResult::NoAnswer;
  }
  std::vector<ServiceRecord> records;
  if (!ParseAnswer(answer, length, records)) return LookupResult::NoAnswer;
  if (records.empty()) return LookupResult::NoSuchDomain;
  std::stable_sort(records.begin(), records.end(),
                   [](const ServiceRecord& a, const ServiceRecord& b) {
                     return a.priority != b.priority ? a.priority < b.priority
                                                     : a.weight > b.weight;
                   });
  for (const auto& record : records) hosts.push_back(record.target);
  return LookupResult::Found;
}

}  // namespace quarry::common
