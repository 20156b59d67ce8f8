#include "services/authproxyd/HttpsService.h"

#include <httplib.h>
#include <syslog.h>

namespace quarry::authproxyd {

namespace {

const char kJson[] = "application/json";
// A request is a few hundred bytes; anything far larger is not one of ours.
constexpr std::size_t kLargestRequest = 16 * 1024;
constexpr time_t kIoTimeoutSeconds = 10;

void Send(httplib::Response& response, const Answer& answer) {
  response.status = answer.status;
  response.set_content(answer.body, kJson);
}

}  // namespace

HttpsService::HttpsService(const ProxySettings& settings,
                           ProxyRequests& requests)
    : settings_(settings),
      server_(new httplib::SSLServer(settings.certificateFile.c_str(),
                                     settings.keyFile.c_str())) {
  if (!server_->is_valid()) {
    throw SettingsError("cannot use the certificate " +
                        settings.certificateFile + " with the key " +
                        settings.keyFile);
  }
  server_->set_read_timeout(kIoTimeoutSeconds, 0);
  server_->set_write_timeout(kIoTimeoutSeconds, 0);
  server_->set_keep_alive_max_count(1);
  server_->set_payload_max_length(kLargestRequest);

  const std::vector<Ipv4Network> allowed = settings.allowedNetworks;
  server_->set_pre_routing_handler(
      [allowed](const httplib::Request& request, httplib::Response& response) {
        if (IsAllowedClient(allowed, request.remote_addr)) {
          return httplib::Server::HandlerResponse::Unhandled;
        }
        syslog(LOG_WARNING, "refused %s: not in allowed-networks",
               request.remote_addr.c_str());
        Send(response, ErrorAnswer(403, "this address may not use the proxy"));
        return httplib::Server::HandlerResponse::Handled;
      });
  server_->Get("/api/v1/domain", [&requests](const httplib::Request& request,
                                            httplib::Response& response) {
    Send(response, requests.DomainInfo(request.remote_addr));
  });
  server_->Post("/api/v1/computers", [&requests](
                                         const httplib::Request& request,
                                         httplib::Response& response) {
    Send(response, requests.CreateComputer(request.remote_addr, request.body));
  });
  // Answers of the requests above carry their own body; only the library's
  // own refusals (no such path, too large) get one here.
  const httplib::Server::HandlerWithResponse errorHandler =
      [](const httplib::Request&, httplib::Response& response) {
        if (!response.body.empty()) {
          return httplib::Server::HandlerResponse::Unhandled;
        }
        Send(response, ErrorAnswer(response.status, "no such request"));
        return httplib::Server::HandlerResponse::Handled;
      };
  server_->set_error_handler(errorHandler);
}

HttpsService::~HttpsService() = default;

void HttpsService::Bind() {
  if (!server_->bind_to_port(settings_.listenAddress.c_str(), settings_.port)) {
    throw SettingsError("cannot listen on " + settings_.listenAddress + ":" +
                        std::to_string(settings_.port));
  }
}

bool HttpsService::Serve() { return server_->listen_after_bind(); }

void HttpsService::Stop() { server_->stop(); }

}  // namespace quarry::authproxyd
