#include "ProxyProtocol.h"

#include <nlohmann/json.hpp>

#include "ResultCodes.h"

namespace quarrycam {

namespace {

using nlohmann::json;

std::string Request(const std::string& method, const std::string& path,
                    const std::string& server, const std::string& body) {
  std::string request = method + " " + path + " HTTP/1.1\r\nHost: " + server +
                        "\r\nAccept: application/json\r\nConnection: close\r\n";
  if (!body.empty()) {
    request += "Content-Type: application/json\r\nContent-Length: " +
               std::to_string(body.size()) + "\r\n";
  }
  return request + "\r\n" + body;
}

// Sends the request and gives the answer's JSON object on 200.
CAMProxyResult Ask(const std::string& server, const ServerCheck& check,
                   const std::string& request, json& answer) {
  CamSettings settings;
  if (!LoadCamSettings(settings)) return kBadConfiguration;
  int status = 0;
  std::string body;
  const CAMProxyResult result =
      ExchangeOverTls(server, settings, check, request, status, body);
  if (result != CAM_PROXY_SUCCESS) return result;
  if (status != 200) return StatusResult(status);
  answer = json::parse(body, nullptr, false);
  return answer.is_object() ? CAM_PROXY_SUCCESS : CAM_PROXY_CONNECTION_INVALID;
}

// A non-empty string member, or false.
bool Text(const json& object, const char* key, std::string& value) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_string()) return false;
  value = found->get<std::string>();
  return !value.empty();
}

}  // namespace

CAMProxyResult StatusResult(int status) {
  switch (status) {
    case 400:
      return kInvalidParameter;
    case 403:
      return kAccessDenied;
    case 409:
      return kAccountExists;
    case 504:
      return CAM_PROXY_TIMED_OUT;
    case 500:
    case 502:
    case 503:
      return kInternalError;
    default:
      return CAM_PROXY_CONNECTION_INVALID;
  }
}

CAMProxyResult AskDomain(const std::string& server, const ServerCheck& check,
                         DomainAnswer& answer) {
  json reply;
  const CAMProxyResult result =
      Ask(server, check, Request("GET", "/api/v1/domain", server, ""), reply);
  if (result != CAM_PROXY_SUCCESS) return result;
  if (!Text(reply, "netbiosName", answer.netbiosName) ||
      !Text(reply, "dnsName", answer.dnsName) ||
      !Text(reply, "sid", answer.sid)) {
    return CAM_PROXY_CONNECTION_INVALID;
  }
  return CAM_PROXY_SUCCESS;
}

CAMProxyResult AskComputer(const std::string& server, const ServerCheck& check,
                           const std::string& hostName,
                           const std::string& container,
                           ComputerAnswer& answer) {
  json request = {{"hostName", hostName}};
  if (!container.empty()) request["container"] = container;
  json reply;
  const CAMProxyResult result = Ask(
      server, check,
      Request("POST", "/api/v1/computers", server, request.dump()), reply);
  if (result != CAM_PROXY_SUCCESS) return result;
  if (!Text(reply, "dn", answer.dn) ||
      !Text(reply, "oneTimePassword", answer.oneTimePassword)) {
    return CAM_PROXY_CONNECTION_INVALID;
  }
  return CAM_PROXY_SUCCESS;
}

}  // namespace quarrycam
