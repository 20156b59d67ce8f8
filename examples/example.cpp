// Shows the library at work on a host: records the active store in
// authentication.conf, reads it back, and shows how directory status codes
// become typed exceptions. Run it inside tests/sandbox/quarry-sandbox so that
// the host's own files stay untouched.
#include <quarryauth/authentication.h>

#include <iostream>

namespace qa = quarry::authentication;

int main() {
  try {
    {
      qa::AtomicFileStream out("/etc/quarry/quarryauth/authentication.conf");
      out << "remote-authentication-store = \"None\"\n";
      out.Commit();
    }
    qa::AuthenticationConfiguration configuration;
    std::cout << "authentication.conf records the store '"
              << configuration["remote-authentication-store"] << "'\n";
    configuration["remote-authentication-store"] = "Active Directory";
    configuration.Write();
    std::cout << "switched to '"
              << qa::AuthenticationConfiguration()["remote-authentication-store"]
              << "'\n\nDirectory status codes as callers see them:\n";
    for (unsigned int code : {1326u, 1355u, 2691u, 1398u, 3u}) {
      try {
        qa::ThrowMappedException(code);
      } catch (const qa::Exception& error) {
        std::cout << "  " << code << " -> " << error.what() << '\n';
      }
    }
    qa::ProviderConfiguration provider;
  } catch (const qa::Exception& error) {
    std::cout << "\nWithout an installed directory plug-in: " << error.what()
              << '\n';
  }
  return 0;
}
