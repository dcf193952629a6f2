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

class ScriptRuntime {
 public:
  struct Options {
    // Single built-in calls on huge data can't be interrupted. Where a page is still running this long
    // after its time limit, `onStuck` is called with its name, on the watchdog's thread. The host then has
    // the process replaced.
    std::chrono::milliseconds stuckAfter = std::chrono::seconds(30);
    std::function<void(const std::string& page)> onStuck;
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
