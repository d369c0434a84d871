// "[HOST:]PORT" as the developer tools' options take it, with node's rules
// for ports and hosts.
#include <arpa/inet.h>
#include <strings.h>

#include <string>

#include "WebServer.h"

namespace tarn {
namespace web {

namespace {

bool AllDigits(const std::string& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

}  // namespace

bool ParseListenAddress(const char* value, uint16_t defaultPort, ListenAddress* address,
                        std::string* error) {
  *address = ListenAddress{"127.0.0.1", "127.0.0.1", defaultPort, true};
  if (!value) return true;
  const std::string text = value;
  std::string host, port;
  bool hasHost = false, hasPort = false, bracketed = false;
  if (text.empty()) {
    *error = "expected [HOST:]PORT";
    return false;
  }
  if (text[0] == '[') {
    size_t close = text.find(']');
    if (close == std::string::npos) {
      *error = "an IPv6 address in brackets lacks its ']'";
      return false;
    }
    host = text.substr(1, close - 1);
    hasHost = bracketed = true;
    std::string rest = text.substr(close + 1);
    if (!rest.empty()) {
      if (rest[0] != ':') {
        *error = "expected [HOST:]PORT";
        return false;
      }
      port = rest.substr(1);
      hasPort = true;
    }
  } else if (AllDigits(text)) {
    port = text;
    hasPort = true;
  } else {
    size_t colon = text.find(':');
    if (colon != std::string::npos && text.find(':', colon + 1) == std::string::npos) {
      host = text.substr(0, colon);
      port = text.substr(colon + 1);
      hasHost = !host.empty();
      hasPort = true;
    } else {
      host = text;  // a host alone, or an IPv6 address without brackets
      hasHost = true;
    }
  }
  if (hasPort) {
    unsigned long number = AllDigits(port) && port.size() <= 5 ? std::stoul(port) : 70000;
    if (number != 0 && (number < 1024 || number > 65535)) {
      *error = "the port must be 0 or in range 1024 to 65535";
      return false;
    }
    address->port = static_cast<uint16_t>(number);
  }
  if (!hasHost) return true;
  in_addr v4;
  in6_addr v6;
  if (!bracketed && strcasecmp(host.c_str(), "localhost") == 0) {
    address->display = "localhost";
  } else if (!bracketed && inet_pton(AF_INET, host.c_str(), &v4) == 1) {
    address->bind = address->display = host;
    address->loopback = (ntohl(v4.s_addr) >> 24) == 127;
  } else if (inet_pton(AF_INET6, host.c_str(), &v6) == 1) {
    address->bind = host;
    address->display = "[" + host + "]";
    address->loopback =
        IN6_IS_ADDR_LOOPBACK(&v6) || (IN6_IS_ADDR_V4MAPPED(&v6) && v6.s6_addr[12] == 127);
  } else {
    *error = "\"" + host + "\" is not an IP address or localhost (expected [HOST:]PORT)";
    return false;
  }
  return true;
}

}  // namespace web
}  // namespace tarn
