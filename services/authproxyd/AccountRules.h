// Which computer accounts this proxy may create or reset: only names in its
// own domain, only under its base container. A client that may use the
// proxy at all must still not reach a domain controller's or a file
// server's account through it.
#ifndef QUARRY_AUTHPROXYD_ACCOUNTRULES_H
#define QUARRY_AUTHPROXYD_ACCOUNTRULES_H

#include <string>

namespace quarry::authproxyd {

// Whether hostName (already a valid host name) lies in domain: it ends in
// "." + domain, compared without regard to case.
bool IsNameInDomain(const std::string& hostName, const std::string& domain);

// Whether dn is base or lies beneath it. Compared part by part, as the
// directory compares names: attribute types and values without regard to
// case, blanks around "=" and "," ignored, escaped commas kept in their
// value.
bool IsWithinContainer(const std::string& dn, const std::string& base);

// Whether two DNs name the same entry, compared as above; never for an
// empty one.
bool IsSameDN(const std::string& left, const std::string& right);

// The DN one level up: everything after the first unescaped ','; empty for
// a DN of one part.
std::string ParentDN(const std::string& dn);

}  // namespace quarry::authproxyd

#endif
