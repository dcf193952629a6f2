#include "tests/command/PageRunner.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "host-linux/application/SiteHost.h"

namespace hosttest {

using namespace hostlinux;

namespace {

// The script engine starts once in a process.
ScriptRuntime& Runtime() {
  static ScriptRuntime runtime({});
  return runtime;
}

HttpRequest GetRequest(const std::string& path, const std::string& query) {
  HttpRequest http;
  http.method = "GET";
  http.path = path;
  http.rawQuery = query;
  http.headers.Set("Host", "localhost");
  http.serverName = "localhost";
  return http;
}

}  // namespace

// Pages run on one thread, which keeps its engine until it ends.
struct PageRunner::Parts {
  explicit Parts(const std::filesystem::path& folder)
      : host(LoadSiteConfiguration(folder), Runtime(), {}), thread([this] { Work(); }) {}
  ~Parts() {
    {
      const std::lock_guard lock(mutex);
      ended = true;
    }
    changed.notify_all();
    thread.join();
  }

  PageAnswer Answer(const PageRequest& request) {
    PageAnswer answer;
    std::unique_lock lock(mutex);
    work = [&] { answer = host.RunPage(request, nullptr); };
    changed.notify_all();
    changed.wait(lock, [&] { return !work; });
    return answer;
  }

  void Work() {
    std::unique_lock lock(mutex);
    while (true) {
      changed.wait(lock, [&] { return ended || work; });
      if (ended) return;
      work();
      work = nullptr;
      changed.notify_all();
    }
  }

  SiteHost host;
  std::mutex mutex;
  std::condition_variable changed;
  std::function<void()> work;
  bool ended = false;
  std::thread thread;
};

PageRunner::PageRunner(const std::filesystem::path& site) : m_parts(std::make_unique<Parts>(site)) {}

PageRunner::~PageRunner() = default;

std::string PageRunner::Run(const std::string& page, const std::string& query) {
  PageRequest request;
  EXPECT_EQ(ReadPageRequest(GetRequest(m_parts->host.Site().root + "/" + page, query), {}, request), "");
  const PageAnswer answer = m_parts->Answer(request);
  EXPECT_EQ(answer.response.status, 200) << page;
  if (!answer.failure) return answer.response.body;
  const std::string failure =
      answer.failure->file + ":" + std::to_string(answer.failure->line) + ": " + answer.failure->description;
  ADD_FAILURE() << failure;
  return failure;
}

}  // namespace hosttest
