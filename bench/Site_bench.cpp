// Runs one page of a site many times in this process, without a server: the page's own cost, and what a
// profiler is pointed at. bench_site SITE PAGE QUERY [COUNT]
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>

#include "host-linux/application/SiteHost.h"
#include "host-linux/services/Log.h"

namespace {

using namespace hostlinux;

PageRequest RequestFor(const SiteConfiguration& site, const std::string& page, const std::string& query) {
  HttpRequest http;
  http.method = "GET";
  http.path = site.root + "/" + page;
  http.rawQuery = query;
  http.target = http.path + "?" + query;
  http.version = "HTTP/1.1";
  http.headers.Set("Host", "localhost");
  http.remoteAddress = "127.0.0.1";
  http.serverName = "localhost";
  http.serverPort = 80;
  PageRequest request;
  ReadPageRequest(std::move(http), {}, request);
  return request;
}

// What this thread has worked: other programs' turns on a busy machine don't count.
double ThreadMicroseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

// Microseconds of one page out of `count`, or the end of the program where it fails.
double Measure(SiteHost& host, const std::string& page, const std::string& query, int count) {
  const double start = ThreadMicroseconds();
  for (int i = 0; i < count; ++i) {
    const PageAnswer answer = host.RunPage(RequestFor(host.Site(), page, query), nullptr);
    if (!answer.failure && !answer.isMissing) continue;
    std::fprintf(stderr, "The page failed: %s\n",
                 answer.failure ? answer.failure->message.c_str() : "missing");
    std::exit(1);
  }
  return (ThreadMicroseconds() - start) / count;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "bench_site SITE PAGE QUERY [COUNT]\n");
    return 2;
  }
  constexpr int kRounds = 5;
  const int count = argc > 4 ? std::atoi(argv[4]) : 2000;
  const SiteConfiguration site = LoadSiteConfiguration(argv[1]);
  StartLog(site);
  ScriptRuntime runtime({});
  SiteHost host(site, runtime, {});
  std::thread([&] {
    Measure(host, argv[2], argv[3], count / 10 + 1);
    double best = Measure(host, argv[2], argv[3], count);
    for (int round = 1; round < kRounds && count > 100; ++round)
      best = std::min(best, Measure(host, argv[2], argv[3], count));
    std::printf("%s: %.1f microseconds a page\n", argv[2], best);
  }).join();
  StopLog();
}
