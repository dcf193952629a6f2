#include "host-linux/script/ScriptCore.h"

#include <libplatform/libplatform.h>
#include <pthread.h>
#include <unistd.h>

#include <tuple>
#include <utility>

#include "host-linux/script/CountingAllocator.h"
#include "host-linux/script/HostFunctions.h"
#include "host-linux/script/Realm.h"
#include "host-linux/script/ScriptErrors.h"
#include "host-linux/script/ScriptInspector.h"
#include "host-linux/script/V8Text.h"
#include "host-linux/script/Values.h"
#include "varnel/automation/Error.h"

namespace hostlinux {
namespace {

// A page that reaches the heap limit is ended, but goes on allocating until the end takes hold. With little
// room for that the process dies.
constexpr std::size_t kHeapSlack = std::size_t{2560} * 1024 * 1024;

// Between the interrupt that a page's time is over with and its termination.
constexpr std::chrono::milliseconds kInterruptTime(200);

// Native code called from the deepest script call needs stack of its own.
constexpr std::size_t kNativeStack = 512 * 1024;
constexpr std::size_t kScriptStack = 4 * 1024 * 1024;

CompiledPages::Parser ParserOf(const ScriptEngine::Options& options) {
  if (options.parse) return options.parse;
  return [root = options.siteRoot](const std::string& name, const PageFiles& files) {
    return ParsePage(name, files, root);
  };
}

// The lowest address that a script on this thread may use.
std::uintptr_t StackLimit() {
  pthread_attr_t attributes;
  void* lowest = nullptr;
  std::size_t size = 0;
  pthread_getattr_np(pthread_self(), &attributes);
  pthread_attr_getstack(&attributes, &lowest, &size);
  pthread_attr_destroy(&attributes);
  const auto bottom = reinterpret_cast<std::uintptr_t>(lowest);
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  return std::max(bottom + kNativeStack, here > kScriptStack ? here - kScriptStack : 0);
}

}  // namespace

ScriptCore::ScriptCore(ScriptRuntime& runtime, const PageFiles& files, ScriptEngine::Options options)
    : m_runtime(runtime),
      m_options(std::move(options)),
      m_pages(files, ParserOf(m_options), m_options.recheck, m_options.inspection ? m_options.pagesUrl : "") {
  m_parameters = {kWriteTextName, kWriteValueName, kWriteEncodedName};
  m_parameters.insert(m_parameters.end(), m_options.intrinsics.begin(), m_options.intrinsics.end());
  MakeIsolate();
  const v8::Isolate::Scope isolateScope(m_isolate);
  const v8::HandleScope handles(m_isolate);
  m_wrappers = std::make_unique<Wrappers>(*this);
  m_helpers = std::make_unique<Helpers>(*this);
  m_context.Reset(m_isolate, MakeRealm(m_isolate, [this](auto context) { PopulateRealm(context); }));
  if (m_options.inspection)
    m_inspector = std::make_unique<ScriptInspector>(*this, *m_options.inspection, Context());
}

ScriptCore::~ScriptCore() {
  {
    const v8::Isolate::Scope isolateScope(m_isolate);
    const v8::HandleScope handles(m_isolate);
    m_inspector.reset();
    m_scriptObjects.ReleaseAll();
    m_names.Clear();
    m_wrappers.reset();
    m_helpers.reset();
    m_pages.Clear();
    m_stop.Reset();
    m_writeValue.Reset();
    m_writeEncoded.Reset();
    m_rejections.clear();
    m_context.Reset();
  }
  v8::platform::NotifyIsolateShutdown(&m_runtime.Platform(), m_isolate);
  m_isolate->Dispose();
}

void ScriptCore::MakeIsolate() {
  m_allocator = MakeCountingAllocator(m_options.bufferBytes);
  v8::Isolate::CreateParams parameters;
  parameters.array_buffer_allocator_shared = m_allocator;
  parameters.constraints.ConfigureDefaultsFromHeapSize(0, m_options.heapBytes);
  parameters.constraints.set_max_young_generation_size_in_bytes(m_options.youngBytes);
  m_isolate = v8::Isolate::New(parameters);
  m_isolate->SetData(0, this);
  m_isolate->SetStackLimit(StackLimit());
  m_isolate->SetMicrotasksPolicy(v8::MicrotasksPolicy::kExplicit);
  m_isolate->SetCaptureStackTraceForUncaughtExceptions(true, 10);
  m_isolate->SetPrepareStackTraceCallback(PrepareStack);
  m_isolate->SetPromiseRejectCallback(OnRejection);
  m_isolate->AddNearHeapLimitCallback(NearHeapLimit, this);
  m_isolate->SetOOMErrorHandler(OnOutOfMemory);
  m_isolate->SetFatalErrorHandler(OnFatalError);
}

void ScriptCore::PopulateRealm(v8::Local<v8::Context> context) {
  for (const auto& [name, value] : m_options.constants)
    Check(context->Global()->DefineOwnProperty(context, Name(m_isolate, name),
                                               v8::Number::New(m_isolate, value)));
  m_helpers->AddGlobals(context);
  AddHostFunctions(context, context->Global(), m_options.functions);
  m_stop.Reset(m_isolate,
               RunSetup(context, "return function () { for (let i = 0; i < 1000; ++i); };", "varnel:stop")
                   .As<v8::Function>());
  const auto keepWriter = [&](v8::Global<v8::Function>& place, v8::FunctionCallback callback) {
    const auto writer = Take(v8::Function::New(context, callback, {}, 1, v8::ConstructorBehavior::kThrow));
    Check(writer->SetIntegrityLevel(context, v8::IntegrityLevel::kFrozen));
    place.Reset(m_isolate, writer);
  };
  keepWriter(m_writeValue, WriteValue);
  keepWriter(m_writeEncoded, WriteEncoded);
  if (m_options.tools.empty()) return;
  const auto host = v8::Object::New(m_isolate);
  AddHostFunctions(context, host, m_options.toolFunctions);
  RunSetup(context, m_options.tools, "varnel:page-tools", {{"host", host}});
}

std::vector<varnel::String> ScriptCore::GlobalNames() const {
  std::vector<varnel::String> names;
  names.reserve(m_options.intrinsics.size());
  for (const std::string& name : m_options.intrinsics) names.push_back(varnel::FromUtf8(name));
  for (const auto& [name, value] : m_options.constants) names.push_back(varnel::FromUtf8(name));
  for (const char16_t* name :
       {u"ByRef", u"Enumerator", u"CInt",   u"CLng",   u"CDbl",     u"CByte",      u"CDate",
        u"CStr",  u"CBool",      u"String", u"Number", u"Boolean",  u"Object",     u"Array",
        u"Date",  u"Math",       u"JSON",   u"RegExp", u"parseInt", u"parseFloat", u"undefined"})
    names.emplace_back(name);
  return names;
}

std::unique_ptr<v8::BackingStore> ScriptCore::NewBuffer(std::size_t size) {
  void* memory = m_allocator->Allocate(size);
  if (memory == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kOutOfMemory);
  const auto free = [](void* data, std::size_t length, void* allocator) {
    static_cast<v8::ArrayBuffer::Allocator*>(allocator)->Free(data, length);
  };
  return v8::ArrayBuffer::NewBackingStore(memory, size, free, m_allocator.get());
}

// --- Pages

std::optional<ScriptFailure> ScriptCore::Prepare(const std::string& page, PageDirectives& directives) {
  const v8::Isolate::Scope isolateScope(m_isolate);
  const v8::HandleScope handles(m_isolate);
  const v8::Context::Scope scope(Context());
  const v8::TryCatch trap(m_isolate);
  try {
    directives = Compile(Context(), page).script.directives;
    return std::nullopt;
  } catch (const PageError& error) {
    return FailureOf(error);
  } catch (const PendingException&) {
    return CompilerFailureOf(*this, trap.Exception(), trap.Message());
  }
}

CompiledPage& ScriptCore::Compile(v8::Local<v8::Context> context, const std::string& page) {
  CompiledPage& compiled = m_pages.Get(context, page, m_parameters);
  if (!compiled.writeText.IsEmpty()) return compiled;
  const auto writeText = Take(v8::Function::New(context, WriteText, v8::External::New(m_isolate, &compiled),
                                                1, v8::ConstructorBehavior::kThrow));
  Check(writeText->SetIntegrityLevel(context, v8::IntegrityLevel::kFrozen));
  compiled.writeText.Reset(m_isolate, writeText);
  return compiled;
}

v8::Local<v8::Value> ScriptCore::Intrinsic(const std::string& name) {
  for (const auto& [given, object] : m_request->intrinsics)
    if (given == name) return ToScript(*this, object);
  return v8::Undefined(m_isolate);
}

void ScriptCore::Call(v8::Local<v8::Context> context, CompiledPage& page) {
  std::vector<v8::Local<v8::Value>> arguments = {page.writeText.Get(m_isolate), m_writeValue.Get(m_isolate),
                                                 m_writeEncoded.Get(m_isolate)};
  for (const std::string& name : m_options.intrinsics) arguments.push_back(Intrinsic(name));
  Take(page.function.Get(m_isolate)->Call(context, v8::Undefined(m_isolate),
                                          static_cast<int>(arguments.size()), arguments.data()));
}

void ScriptCore::WriteText(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    const auto& page = *static_cast<const CompiledPage*>(call.Data().As<v8::External>()->Value());
    const varnel::Long index = call[0]->IsInt32() ? call[0].As<v8::Int32>()->Value() : -1;
    const std::string& text = page.script.texts.at(static_cast<std::size_t>(index));
    Request& request = *Of(call.GetIsolate()).m_request;
    request.lastText.store(static_cast<std::size_t>(index), std::memory_order_relaxed);
    request.lastPage.store(&page, std::memory_order_release);
    request.output.WriteText(text);
  });
}

void ScriptCore::WriteValue(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = Of(call.GetIsolate());
    const bool plain = call[0]->IsString() && call[0].As<v8::String>()->IsOneByte();
    if (!plain) return core.m_request->output.WriteValue(ToVariant(core, call[0]));
    ToUtf8(call.GetIsolate(), call[0].As<v8::String>(), core.m_text);
    core.m_request->output.WriteText(core.m_text);
  });
}

void ScriptCore::WriteEncoded(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = Of(call.GetIsolate());
    core.m_request->output.WriteEncoded(ToVariant(core, call[0]));
  });
}

// --- Requests

// Ends the request whatever leaves it: nothing of it may be there for the next one.
class ScriptCore::RequestEnd {
 public:
  explicit RequestEnd(ScriptCore& core) : m_core(core) {}
  ~RequestEnd() {
    if (!m_finished) m_core.DropMicrotasks();
    m_core.EndRequest();
  }
  RequestEnd(const RequestEnd&) = delete;
  RequestEnd& operator=(const RequestEnd&) = delete;
  void SetFinished() { m_finished = true; }

 private:
  ScriptCore& m_core;
  bool m_finished = false;
};

PageResult ScriptCore::RunPage(const std::string& page, const Intrinsics& intrinsics, PageOutput& output,
                               std::chrono::milliseconds timeLimit) {
  const v8::Isolate::Scope isolateScope(m_isolate);
  const v8::HandleScope handles(m_isolate);
  const v8::Context::Scope scope(Context());
  Request request{intrinsics, output, page, Watchdog::Clock::now()};
  m_request = &request;
  RequestEnd end(*this);
  Arm(timeLimit);
  PageResult result = RunGuarded(page);
  if (result.outcome == PageResult::Outcome::Finished) result = RunMicrotasks();
  Disarm();
  result = Settled(std::move(result), page);
  if (result.outcome == PageResult::Outcome::Finished) end.SetFinished();
  return result;
}

PageResult ScriptCore::RunInner(const std::string& page) {
  const v8::HandleScope handles(m_isolate);
  return Settled(RunGuarded(page), page);
}

PageResult ScriptCore::RunGuarded(const std::string& page) {
  using Outcome = PageResult::Outcome;
  const v8::TryCatch trap(m_isolate);
  bool isCompiled = false;
  try {
    CompiledPage& compiled = Compile(Context(), page);
    isCompiled = true;
    Call(Context(), compiled);
    return {};
  } catch (const PageError& error) {
    return {Outcome::Failed, FailureOf(error)};
  } catch (const PendingException&) {
    if (Stopping() || trap.Exception().IsEmpty()) return {};
    if (!isCompiled) return {Outcome::Failed, CompilerFailureOf(*this, trap.Exception(), trap.Message())};
    return {Outcome::Failed, FailureOf(*this, trap.Exception(), trap.Message())};
  } catch (const std::bad_alloc&) {
    m_outOfMemory = true;
    return {};
  }
}

PageResult ScriptCore::RunMicrotasks() {
  const v8::TryCatch trap(m_isolate);
  m_isolate->PerformMicrotaskCheckpoint();
  return Stopping() ? PageResult() : FirstRejection();
}

// A promise that failed with nobody listening fails the page, as an exception would.
PageResult ScriptCore::FirstRejection() {
  if (m_rejections.empty()) return {};
  const v8::Local<v8::Value> reason = m_rejections.front().second.Get(m_isolate);
  return {PageResult::Outcome::Failed,
          FailureOf(*this, reason, v8::Exception::CreateMessage(m_isolate, reason))};
}

void ScriptCore::OnRejection(v8::PromiseRejectMessage message) {
  const v8::Local<v8::Promise> promise = message.GetPromise();
  v8::Isolate* isolate = promise->GetIsolate();
  auto& rejections = Of(isolate).m_rejections;
  if (message.GetEvent() == v8::kPromiseRejectWithNoHandler) {
    rejections.emplace_back(v8::Global<v8::Promise>(isolate, promise),
                            v8::Global<v8::Value>(isolate, message.GetValue()));
  } else if (message.GetEvent() == v8::kPromiseHandlerAddedAfterReject) {
    std::erase_if(rejections, [&](const auto& entry) { return entry.first == promise; });
  }
}

// The outcome with the reason for which the page was stopped, if it was.
PageResult ScriptCore::Settled(PageResult result, const std::string& page) const {
  using Outcome = PageResult::Outcome;
  if (!Stopping()) return result;
  if (m_outOfMemory) {
    result.outcome = Outcome::OutOfMemory;
    result.failure.message = "The page needed more memory than it may use.";
  } else if (m_timedOut) {
    result.outcome = Outcome::TimedOut;
    result.failure.message = "The page ran longer than it may.";
  } else {
    return {Outcome::Ended, {}};
  }
  result.failure.description = result.failure.message;
  result.failure.file = page;
  if (m_stoppedAt && m_stoppedAt->isExact) {
    result.failure.file = m_stoppedAt->file;
    result.failure.line = m_stoppedAt->line;
  }
  result.failure.number = kUncaughtNumber;
  result.failure.source = "Script";
  return result;
}

// --- Limits

void ScriptCore::Arm(std::chrono::milliseconds timeLimit) {
  m_request->timeLimit = timeLimit;
  const auto limit = m_request->start + timeLimit;
  m_request->limit = m_runtime.Dog().Arm(limit, [this] {
    m_timedOut = true;
    m_isolate->RequestInterrupt(StopHere, this);
  });
  // Where the engine doesn't come by to be interrupted, it may still look for its end.
  m_request->end = m_runtime.Dog().Arm(limit + kInterruptTime, [this] { m_isolate->TerminateExecution(); });
  const auto& settings = m_runtime.Settings();
  if (!settings.onStuck) return;
  m_request->stuck = m_runtime.Dog().Arm(limit + settings.stuckAfter, [&settings, request = m_request] {
    settings.onStuck(LastSeen(*request));
  });
}

void ScriptCore::Disarm() {
  m_runtime.Dog().Disarm(m_request->limit);
  m_runtime.Dog().Disarm(m_request->end);
  m_runtime.Dog().Disarm(m_request->stuck);
}

void ScriptCore::SetTimeLimit(std::chrono::milliseconds timeLimit) {
  if (m_request == nullptr) return;
  Disarm();
  Arm(timeLimit);
}

std::optional<std::chrono::milliseconds> ScriptCore::TimeLeft() const {
  if (m_request == nullptr || m_request->held != Watchdog::Clock::time_point{}) return std::nullopt;
  const auto left = m_request->start + m_request->timeLimit - Watchdog::Clock::now();
  return std::max(std::chrono::duration_cast<std::chrono::milliseconds>(left), std::chrono::milliseconds(0));
}

void ScriptCore::HoldTimeLimit() {
  if (m_request == nullptr) return;
  Disarm();
  m_request->held = Watchdog::Clock::now();
}

void ScriptCore::RunOffTime(const std::function<void()>& work) {
  // Inside a pause no time counts anyway.
  if (m_request == nullptr || m_request->held != Watchdog::Clock::time_point{}) return work();
  struct Hold {
    explicit Hold(ScriptCore& held) : core(held) { core.HoldTimeLimit(); }
    ~Hold() { core.ResumeTimeLimit(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    ScriptCore& core;
  };
  const Hold hold(*this);
  work();
}

void ScriptCore::ResumeTimeLimit() {
  if (m_request == nullptr) return;
  m_request->start += Watchdog::Clock::now() - m_request->held;
  m_request->held = {};
  Arm(m_request->timeLimit);
}

void ScriptCore::Inspect() {
  const v8::Isolate::Scope isolateScope(m_isolate);
  const v8::HandleScope handles(m_isolate);
  if (m_inspector) m_inspector->Handle();
}

// Between two steps of a script that must not go on: the place is known here, and isn't any more when the termination
// has taken hold. One that comes late, when the next page runs, does nothing.
void ScriptCore::StopHere(v8::Isolate* isolate, void* data) {
  ScriptCore& core = *static_cast<ScriptCore*>(data);
  if (!core.m_timedOut && !core.m_outOfMemory) return;
  core.NoteStop();
  isolate->TerminateExecution();
}

// The first look counts: what is unwound afterwards stands elsewhere.
void ScriptCore::NoteStop() {
  if (m_request == nullptr || m_stoppedAt.has_value() || (!m_timedOut && !m_outOfMemory)) return;
  m_stoppedAt = PlaceNow();
}

// The engine looks for a termination at calls and loops of the script only.
void ScriptCore::StopNow() {
  const v8::HandleScope handles(m_isolate);
  NoteStop();
  m_isolate->TerminateExecution();
  std::ignore = m_stop.Get(m_isolate)->Call(Context(), v8::Undefined(m_isolate), 0, nullptr);
}

// A page that fills the slack too is in a single call that doesn't end: the engine gives up on it.
std::size_t ScriptCore::NearHeapLimit(void* data, std::size_t current, std::size_t) {
  ScriptCore& core = *static_cast<ScriptCore*>(data);
  if (core.m_heapLimit != 0 && current > core.m_heapLimit) return current;
  core.m_heapLimit = current;
  core.m_outOfMemory = true;
  core.m_isolate->RequestInterrupt(StopHere, data);
  return current + kHeapSlack;
}

PagePlace ScriptCore::LastSeen(const Request& request) {
  PagePlace place{request.page, request.output.RequestId(), {}, 0, false};
  const CompiledPage* page = request.lastPage.load(std::memory_order_acquire);
  if (page == nullptr) return place;
  const SourceLine& line = page->script.textLines[request.lastText.load(std::memory_order_relaxed)];
  place.file = page->script.files[static_cast<std::size_t>(line.file)];
  place.line = line.line;
  return place;
}

// The line of the script that runs, where the engine still has memory for the question.
PagePlace ScriptCore::PlaceNow() const {
  PagePlace place = LastSeen(*m_request);
  const v8::HandleScope handles(m_isolate);
  const v8::Local<v8::StackTrace> trace = v8::StackTrace::CurrentStackTrace(m_isolate, 10);
  for (int i = 0; i < trace->GetFrameCount(); ++i) {
    const v8::Local<v8::StackFrame> frame = trace->GetFrame(m_isolate, static_cast<std::uint32_t>(i));
    const v8::Local<v8::String> script = frame->GetScriptName();
    if (script.IsEmpty()) continue;
    const PagePosition position = m_pages.Locate(ToUtf8(m_isolate, script), frame->GetLineNumber());
    if (position.file.empty()) continue;
    place.file = position.file;
    place.line = position.line;
    place.isExact = true;
    break;
  }
  return place;
}

void ScriptCore::OnOutOfMemory(const char* location, bool) { Lose(location); }
void ScriptCore::OnFatalError(const char* location, const char* message) {
  Lose(std::string(location != nullptr ? location : "") + ": " + (message != nullptr ? message : ""));
}

// Where this returns, the engine ends the process.
void ScriptCore::Lose(const std::string& reason) {
  v8::Isolate* isolate = v8::Isolate::TryGetCurrent();
  ScriptCore* core = isolate == nullptr ? nullptr : &Of(isolate);
  if (core == nullptr || core->m_request == nullptr || !core->m_runtime.Settings().onLost) return;
  PagePlace place = LastSeen(*core->m_request);
  // A size that can't be is refused with memory to spare; a full heap can't be asked any more.
  const bool hasRoom = !core->m_outOfMemory && reason.find("invalid") != std::string::npos;
  if (hasRoom && !std::exchange(core->m_locating, true)) place = core->PlaceNow();
  core->Disarm();
  core->m_runtime.Settings().onLost(place, reason);
  while (true) ::pause();
}

// Scripts are cut off first: what the end of an object calls finds none.
void ScriptCore::ReleaseObjects() {
  m_rejections.clear();
  m_names.Clear();
  m_scriptObjects.ReleaseAll();
  try {
    m_request->output.OnPageEnd();
  } catch (...) {  // the page's text is made; there is nobody left to tell
  }
  m_wrappers->ReleaseAll();
}

void ScriptCore::EndRequest() {
  ReleaseObjects();
  Disarm();
  m_request = nullptr;
  m_pages.DropReplaced();
  if (m_outOfMemory) RecoverHeap();
  m_isolate->CancelTerminateExecution();
  m_ended = false;
  m_stoppedAt.reset();
  m_timedOut = false;
  m_outOfMemory = false;
  while (v8::platform::PumpMessageLoop(&m_runtime.Platform(), m_isolate)) {
  }
}

// What is still queued belongs to this request. A queue that is run while it is being terminated is emptied.
void ScriptCore::DropMicrotasks() {
  const v8::TryCatch trap(m_isolate);
  m_ended = true;
  m_isolate->TerminateExecution();
  m_isolate->PerformMicrotaskCheckpoint();
  m_isolate->CancelTerminateExecution();
}

void ScriptCore::RecoverHeap() {
  m_isolate->LowMemoryNotification();
  m_isolate->RemoveNearHeapLimitCallback(NearHeapLimit, m_heapLimit);
  m_isolate->AddNearHeapLimitCallback(NearHeapLimit, this);
  m_heapLimit = 0;
}

}  // namespace hostlinux
