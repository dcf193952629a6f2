// Asks other servers, as far as the site allows: by libcurl, on the thread that calls.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "host-linux/services/SiteConfiguration.h"
#include "host-linux/web/HttpMessage.h"

struct sockaddr;

namespace hostlinux {

struct FetchRequest {
  std::string url;
  std::string method = "GET";
  HeaderList headers;
  std::string body;
};

struct FetchAnswer {
  std::string url;  // the last one, behind redirections
  int status = 0;
  HeaderList headers;
  std::string body;
};

// Sends `request`, and follows up to 5 redirections, within `site.timeout` and `timeLeft` together. Each address
// on the way must be one of `site.addresses`, and what its name leads to a public address, unless it is written as
// a number or "localhost" there, or private ones are allowed. To another origin than the first, no header of the
// script's goes along and no body. Compressed answers aren't asked for. Raises 80004005 (hexadecimal) with a sentence
// for everything that keeps an answer from coming, and 5 for a request that can't be sent.
FetchAnswer Fetch(const SiteConfiguration::Fetch& site, const FetchRequest& request,
                  std::optional<std::chrono::milliseconds> timeLeft);

// True for an address of the public network: not of this machine, of private and local networks, reserved, or for
// groups; for IPv6 addresses that stand for one of IPv4, by that.
bool IsPublicAddress(const sockaddr& address);

}  // namespace hostlinux
