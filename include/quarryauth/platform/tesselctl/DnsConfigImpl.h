// The DNS resolver configuration of a network stack, "/etc/resolv.conf".
//
// Search domains follow the limits of the classic resolver (glibc before
// 2.26, and other C libraries still): at most 6 domains, and the list as
// written on the search line, domains separated by one blank, at most 255
// characters so that it fits the resolver's 256-byte buffer. Domains beyond
// these limits would be dropped silently by such resolvers, so they are
// refused here.
#ifndef TESSELCTL_DNSCONFIGIMPL_H
#define TESSELCTL_DNSCONFIGIMPL_H

#include <cstddef>
#include <string>
#include <vector>

#include "Export.h"

namespace TesselCtl {
namespace Network {

class TESSELCTL_EXPORT DnsConfigImpl {
 public:
  static constexpr std::size_t kMaxSearchDomains = 6;
  static constexpr std::size_t kMaxSearchListLength = 255;

  // Reads the resolver configuration of the stack; a missing file is an
  // empty one. Linux has one stack per network namespace, known as
  // "defaultTcpipStack"; any other name is refused. Throws
  // HostCtl::Lib::HostCtlException for an unknown stack and when the file
  // cannot be read.
  explicit DnsConfigImpl(const std::string& networkStackName);
  DnsConfigImpl(const DnsConfigImpl&) = delete;
  DnsConfigImpl& operator=(const DnsConfigImpl&) = delete;
  ~DnsConfigImpl();

  // The search list in force: that of the last "search" or "domain" line,
  // as the resolver reads it.
  const std::vector<std::string>& GetUserSearchDomains() const;

  // Appends domain to the search list unless it is there already (compared
  // without regard to case or a final dot). Throws
  // HostCtl::Lib::HostCtlException for a name that is not a DNS domain name
  // and when the list would exceed the limits above.
  void AddUserSearchDomain(const std::string& domain);

  // Writes a changed search list: the last "search" line is rewritten in
  // place, or a "search" line is appended when there is none or a later
  // "domain" line would override it. Every other line is kept. The file is
  // replaced atomically with its mode kept (0644 when new); nothing is
  // written when nothing changed. Throws HostCtl::Lib::HostCtlException when
  // the file cannot be written.
  void SaveConfig();

 private:
  std::vector<std::string> lines_;
  std::vector<std::string> searchDomains_;
  bool changed_;
};

}  // namespace Network
}  // namespace TesselCtl

#endif
