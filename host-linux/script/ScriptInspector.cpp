#include "host-linux/script/ScriptInspector.h"

#include <string>

#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/V8Text.h"

namespace hostlinux {
namespace {

// All pages of an engine run in one realm, which is a group of its own.
constexpr int kGroup = 1;

v8_inspector::StringView View(const varnel::String& text) {
  return {reinterpret_cast<const std::uint16_t*>(text.data()), text.size()};
}

varnel::String TextOf(const v8_inspector::StringView& view) {
  if (view.is8Bit()) return {view.characters8(), view.characters8() + view.length()};
  return {view.characters16(), view.characters16() + view.length()};
}

}  // namespace

ScriptInspector::ScriptInspector(ScriptCore& core, Inspection& inspection, v8::Local<v8::Context> context)
    : m_core(core),
      m_inspection(inspection),
      m_inspector(v8_inspector::V8Inspector::create(core.Isolate(), this)) {
  const varnel::String name = u"Pages";
  m_inspector->contextCreated(v8_inspector::V8ContextInfo(context, kGroup, View(name)));
  m_inspection.SetInterrupt([this] {
    m_core.Isolate()->RequestInterrupt(
        [](v8::Isolate*, void* self) { static_cast<ScriptInspector*>(self)->Handle(); }, this);
  });
}

ScriptInspector::~ScriptInspector() {
  m_inspection.SetInterrupt(nullptr);
  m_session.reset();
  m_inspector->contextDestroyed(m_core.Context());
}

void ScriptInspector::Handle() {
  while (const auto event = m_inspection.TakeEvent()) Handle(*event);
}

void ScriptInspector::Handle(const Inspection::Event& event) {
  using Kind = Inspection::Event::Kind;
  switch (event.kind) {
    case Kind::Opened:
      m_session = m_inspector->connect(kGroup, this, {});
      return;
    case Kind::Message:
      return Dispatch(event.message);
    case Kind::Closed:
      return EndSession();
  }
}

void ScriptInspector::Dispatch(const std::string& message) {
  if (!m_session || m_sessionEnds) return;
  const v8::HandleScope handles(m_core.Isolate());
  const v8::Context::Scope scope(m_core.Context());
  const varnel::String text = varnel::FromUtf8(message);
  ++m_dispatching;
  m_session->dispatchProtocolMessage(View(text));
  --m_dispatching;
  if (m_sessionEnds) EndSession();
}

// A message at work (an expression that stopped at a breakpoint) still needs its session.
void ScriptInspector::EndSession() {
  m_sessionEnds = m_dispatching > 0;
  if (m_sessionEnds) {
    m_session->setSkipAllPauses(true);
    m_session->resume();
    m_paused = false;
    return;
  }
  m_session.reset();
}

void ScriptInspector::runMessageLoopOnPause(int) {
  if (m_paused || m_sessionEnds) return;
  m_paused = true;
  m_core.HoldTimeLimit();
  while (m_paused) {
    const auto event = m_inspection.AwaitEvent();
    if (!event) break;
    Handle(*event);
  }
  m_paused = false;
  m_core.ResumeTimeLimit();
}

v8::Local<v8::Context> ScriptInspector::ensureDefaultContextInGroup(int) { return m_core.Context(); }

std::unique_ptr<v8_inspector::StringBuffer> ScriptInspector::resourceNameToUrl(
    const v8_inspector::StringView& resourceName) {
  const std::string name = varnel::ToUtf8(TextOf(resourceName));
  return v8_inspector::StringBuffer::create(View(varnel::FromUtf8(m_core.Pages().UrlOf(name))));
}

void ScriptInspector::sendResponse(int, std::unique_ptr<v8_inspector::StringBuffer> message) {
  Say(*message);
}

void ScriptInspector::sendNotification(std::unique_ptr<v8_inspector::StringBuffer> message) { Say(*message); }

void ScriptInspector::Say(const v8_inspector::StringBuffer& message) {
  m_inspection.Say(varnel::ToUtf8(TextOf(message.string())));
}

}  // namespace hostlinux
