// The values that all requests share.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "host-linux/intrinsics/Contents.h"
#include "host-linux/intrinsics/ValueStore.h"
#include "varnel/host/Intrinsics.h"

namespace hostlinux {

class Application;

// One for the whole process. Safe from all threads.
class ApplicationState {
 public:
  // `lockWait`: how long a request waits while another one has the lock, before that is an error.
  explicit ApplicationState(MayKeep mayKeep = {},
                            std::chrono::milliseconds lockWait = std::chrono::seconds(30))
      : m_mayKeep(std::move(mayKeep)), m_lockWait(lockWait) {}

  // For the host's own values, such as those of the site's configuration: objects are kept as they are.
  void Set(varnel::StringView key, varnel::Variant value) { m_values.Set(key, std::move(value)); }

 private:
  friend class Application;

  // Waits until nobody else than `who` has the lock; raises 80004005 (hexadecimal) after lockWait, or when
  // the time of its page is over.
  void AwaitLock(std::unique_lock<std::mutex>& lock, const Application* who);

  const MayKeep m_mayKeep;
  const std::chrono::milliseconds m_lockWait;
  ValueStore m_values;
  std::mutex m_mutex;
  std::condition_variable m_unlocked;
  const Application* m_owner = nullptr;
};

// The application as one request sees it. Reads never wait; writes wait while another request has the lock.
class Application : public varnel::Object,
                    public varnel::host::IApplication,
                    public IKeyedValues,
                    public RequestBound {
 public:
  // What is left of the page's time; none where nothing limits it. May be left empty.
  using TimeLeft = std::function<std::optional<std::chrono::milliseconds>()>;

  explicit Application(std::shared_ptr<ApplicationState> state, TimeLeft timeLeft = {})
      : m_state(std::move(state)), m_timeLeft(std::move(timeLeft)) {}
  ~Application() override { Unlock(); }

  const varnel::ClassInfo& Class() const override;

  varnel::Variant Value(varnel::StringView key) override;
  // The key that a component asked for last and didn't find; empty where it found all.
  const varnel::String& MissingKey() const { return m_missingKey; }
  varnel::Variant ValueOf(const varnel::Variant& key);
  std::shared_ptr<Contents> ContentsObject();

  // Keeps other requests from writing until Unlock or the end of this one. A second Lock changes nothing.
  void Lock();
  void Unlock();

  varnel::Variant Read(varnel::StringView key) override { return Value(key); }
  void Store(varnel::StringView key, const varnel::Variant& value) override;
  void Remove(varnel::StringView key) override;
  void RemoveAll() override;
  std::vector<varnel::String> Keys() override { return m_state->m_values.Keys(); }

 private:
  template <class Change>
  void WhileUnlockedByOthers(Change change);

  friend class ApplicationState;

  std::shared_ptr<ApplicationState> m_state;
  varnel::String m_missingKey;
  const TimeLeft m_timeLeft;
};

}  // namespace hostlinux
