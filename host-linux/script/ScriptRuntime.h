// What all script engines of the process share. One is made by the host, before the first engine, and outlives
// the last; the engine below can't be set up a second time in a process.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "host-linux/script/Watchdog.h"

namespace v8 {
class Platform;
}

namespace hostlinux {

// A place of a running page, as near as it is known.
struct PagePlace {
  std::string page;     // the page that was asked for
  std::string request;  // the request's id; may be empty
  std::string file;     // the page or an include; empty where nothing is known but the page
  int line = 0;         // where it runs, or behind which it runs
  bool isExact = false;
};

// "list.asp, line 12", "list.asp, behind line 12" or "list.asp".
std::string PlaceText(const PagePlace& place);

class ScriptRuntime {
 public:
  struct Options {
    // Single built-in calls on huge data can't be interrupted. Where a page is still running this long
    // after its time limit, `onStuck` is called with the place where it was last seen, on the watchdog's
    // thread. The host then has the process replaced.
    std::chrono::milliseconds stuckAfter = std::chrono::seconds(30);
    std::function<void(const PagePlace& place)> onStuck{};
    // The engine gives up on a page where a single call of the language wants more memory than there can be,
    // and nothing leads back out of it. `onLost` is called on the page's thread, which sleeps from then on,
    // so that the process can answer its other requests before it is replaced. Without it the engine ends the
    // process.
    std::function<void(const PagePlace& place, const std::string& reason)> onLost{};
  };

  explicit ScriptRuntime(Options options);
  ~ScriptRuntime();
  ScriptRuntime(const ScriptRuntime&) = delete;
  ScriptRuntime& operator=(const ScriptRuntime&) = delete;

  v8::Platform& Platform() { return *m_platform; }
  Watchdog& Dog() { return m_watchdog; }
  const Options& Settings() const { return m_options; }

 private:
  struct EndPlatform {
    void operator()(v8::Platform* platform) const;
  };

  Options m_options;
  std::unique_ptr<v8::Platform, EndPlatform> m_platform;
  Watchdog m_watchdog;
};

}  // namespace hostlinux
