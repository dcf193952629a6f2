// The engine as its own files see it: the isolate, the realm, and what belongs to the running request.
#pragma once

#include <v8.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "host-linux/script/CompiledPages.h"
#include "host-linux/script/Helpers.h"
#include "host-linux/script/ScriptEngine.h"
#include "host-linux/script/ScriptObject.h"
#include "host-linux/script/Wrappers.h"

namespace hostlinux {

class ScriptInspector;

class ScriptCore {
 public:
  ScriptCore(ScriptRuntime& runtime, const PageFiles& files, ScriptEngine::Options options);
  ~ScriptCore();
  ScriptCore(const ScriptCore&) = delete;
  ScriptCore& operator=(const ScriptCore&) = delete;

  static ScriptCore& Of(v8::Isolate* isolate) { return *static_cast<ScriptCore*>(isolate->GetData(0)); }

  std::optional<ScriptFailure> Prepare(const std::string& page, PageDirectives& directives);
  PageResult RunPage(const std::string& page, const Intrinsics& intrinsics, PageOutput& output,
                     std::chrono::milliseconds timeLimit);
  PageResult RunInner(const std::string& page);
  void SetTimeLimit(std::chrono::milliseconds timeLimit);
  std::optional<std::chrono::milliseconds> TimeLeft() const;
  void Inspect();
  void EndPage() { m_ended = m_request != nullptr; }

  v8::Isolate* Isolate() const { return m_isolate; }
  v8::Local<v8::Context> Context() const { return m_context.Get(m_isolate); }
  Wrappers& Objects() { return *m_wrappers; }
  Helpers& Tools() { return *m_helpers; }
  ScriptObjects& Scripts() { return m_scriptObjects; }
  const CompiledPages& Pages() const { return m_pages; }
  PagePlace Place() const { return m_request == nullptr ? PagePlace() : PlaceNow(); }
  // True once the page must not go on.
  bool Stopping() const { return m_ended || m_timedOut || m_outOfMemory; }
  // What a page finds under a name of its own: the host's objects and functions, and the language's common ones.
  std::vector<varnel::String> GlobalNames() const;
  // Makes the termination take hold now, not at the script's next loop or call.
  void StopNow();

  // While a debugger holds the page, no time counts. Neither does the time of `work`, which must not run
  // scripts.
  void HoldTimeLimit();
  void ResumeTimeLimit();
  void RunOffTime(const std::function<void()>& work);

  // Memory for a script's buffer, counted like that of its own. Raises 7.
  std::unique_ptr<v8::BackingStore> NewBuffer(std::size_t size);

 private:
  class RequestEnd;
  struct Request {
    const Intrinsics& intrinsics;
    PageOutput& output;
    const std::string& page;
    Watchdog::Clock::time_point start;
    Watchdog::Clock::time_point held{};  // since when a debugger stops it; 0 while none does
    std::chrono::milliseconds timeLimit{0};
    Watchdog::Ticket limit{};
    Watchdog::Ticket end{};
    Watchdog::Ticket stuck{};
    // The text that was written last; the watchdog looks here.
    std::atomic<const CompiledPage*> lastPage{nullptr};
    std::atomic<std::size_t> lastText{0};
  };

  void MakeIsolate();
  void PopulateRealm(v8::Local<v8::Context> context);
  CompiledPage& Compile(v8::Local<v8::Context> context, const std::string& page);
  void Call(v8::Local<v8::Context> context, CompiledPage& page);
  v8::Local<v8::Value> Intrinsic(const std::string& name);
  PageResult RunGuarded(const std::string& page);
  PageResult RunMicrotasks();
  PageResult FirstRejection();
  PageResult Settled(PageResult result, const std::string& page) const;
  void Arm(std::chrono::milliseconds timeLimit);
  void Disarm();
  void EndRequest();
  void ReleaseObjects();
  void DropMicrotasks();
  void RecoverHeap();

  static void WriteText(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void WriteValue(const v8::FunctionCallbackInfo<v8::Value>& call);
  static PagePlace LastSeen(const Request& request);
  PagePlace PlaceNow() const;
  static void StopHere(v8::Isolate* isolate, void* data);
  void NoteStop();
  static void OnOutOfMemory(const char* location, bool isHeap);
  static void OnFatalError(const char* location, const char* message);
  static void Lose(const std::string& reason);
  static std::size_t NearHeapLimit(void* data, std::size_t current, std::size_t initial);
  static void OnRejection(v8::PromiseRejectMessage message);

  ScriptRuntime& m_runtime;
  const ScriptEngine::Options m_options;
  std::shared_ptr<v8::ArrayBuffer::Allocator> m_allocator;
  v8::Isolate* m_isolate = nullptr;
  v8::Global<v8::Context> m_context;
  v8::Global<v8::Function> m_stop;
  v8::Global<v8::Function> m_writeValue;
  std::vector<std::string> m_parameters;
  CompiledPages m_pages;
  std::unique_ptr<Wrappers> m_wrappers;
  std::unique_ptr<Helpers> m_helpers;
  std::unique_ptr<ScriptInspector> m_inspector;  // null without a debugger
  ScriptObjects m_scriptObjects;
  std::vector<std::pair<v8::Global<v8::Promise>, v8::Global<v8::Value>>> m_rejections;
  Request* m_request = nullptr;  // null between requests
  std::string m_text;            // of the expression being written
  std::size_t m_heapLimit = 0;   // before it was raised for the page that ran into it
  bool m_ended = false;
  bool m_locating = false;               // an error while a place is looked for must not look for it again
  std::optional<PagePlace> m_stoppedAt;  // where the page was when its time or its memory was over
  std::atomic<bool> m_timedOut{false};
  std::atomic<bool> m_outOfMemory{false};
};

}  // namespace hostlinux
