// PageTools.js, the global names of pages that browsers have too, and the functions of the host below them.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "host-linux/script/ScriptEngine.h"
#include "host-linux/services/SiteConfiguration.h"

namespace hostlinux {

// console, URL, URLSearchParams, TextEncoder, TextDecoder, crypto, fetch, fetchNow.
std::string_view PageTools();

// What the tools ask of the thread's page.
struct PageInquiries {
  std::function<PagePlace()> place;
  std::function<std::optional<std::chrono::milliseconds>()> timeLeft;
};

// What that script finds in `host`. `fetch` outlives it.
std::vector<HostFunction> PageToolFunctions(const SiteConfiguration::Fetch& fetch, PageInquiries page);

}  // namespace hostlinux
