// The proxy's HTTPS front: accepts only clients from the allowed networks,
// routes the two requests of ProxyRequests, and bounds every connection's
// reads and writes.
#ifndef QUARRY_AUTHPROXYD_HTTPSSERVICE_H
#define QUARRY_AUTHPROXYD_HTTPSSERVICE_H

#include <memory>
#include <string>

#include "services/authproxyd/ProxyRequests.h"
#include "services/authproxyd/ProxySettings.h"

namespace httplib {
class SSLServer;
}

namespace quarry::authproxyd {

class HttpsService {
 public:
  // Loads the certificate and key; throws SettingsError when they cannot be
  // used.
  HttpsService(const ProxySettings& settings, ProxyRequests& requests);
  ~HttpsService();
  HttpsService(const HttpsService&) = delete;
  HttpsService& operator=(const HttpsService&) = delete;

  // Binds the listening socket; throws SettingsError when it cannot.
  void Bind();
  // Serves until Stop(); returns false when serving failed.
  bool Serve();
  // From any thread.
  void Stop();

 private:
  const ProxySettings settings_;
  std::unique_ptr<httplib::SSLServer> server_;
};

}  // namespace quarry::authproxyd

#endif
