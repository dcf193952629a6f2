// The engine's inspector: lets a debugger's client look into the pages of one engine and stop them.
#pragma once

#include <v8-inspector.h>
#include <v8.h>

#include <memory>

#include "host-linux/script/Inspection.h"

namespace hostlinux {

class ScriptCore;

// Lives and works on the engine's thread.
class ScriptInspector final : public v8_inspector::V8InspectorClient,
                              public v8_inspector::V8Inspector::Channel {
 public:
  // `context` is the realm in which all pages run.
  ScriptInspector(ScriptCore& core, Inspection& inspection, v8::Local<v8::Context> context);
  ~ScriptInspector() override;
  ScriptInspector(const ScriptInspector&) = delete;
  ScriptInspector& operator=(const ScriptInspector&) = delete;

  // Handles what the client has sent so far.
  void Handle();

 private:
  void Handle(const Inspection::Event& event);
  void Dispatch(const std::string& message);
  void EndSession();
  void Say(const v8_inspector::StringBuffer& message);

  // While a page is paused, the client's messages are handled here.
  void runMessageLoopOnPause(int contextGroup) override;
  void quitMessageLoopOnPause() override { m_paused = false; }
  v8::Local<v8::Context> ensureDefaultContextInGroup(int contextGroup) override;
  std::unique_ptr<v8_inspector::StringBuffer> resourceNameToUrl(
      const v8_inspector::StringView& resourceName) override;

  void sendResponse(int call, std::unique_ptr<v8_inspector::StringBuffer> message) override;
  void sendNotification(std::unique_ptr<v8_inspector::StringBuffer> message) override;
  void flushProtocolNotifications() override {}

  ScriptCore& m_core;
  Inspection& m_inspection;
  std::unique_ptr<v8_inspector::V8Inspector> m_inspector;
  std::unique_ptr<v8_inspector::V8InspectorSession> m_session;
  int m_dispatching = 0;
  bool m_paused = false;
  bool m_sessionEnds = false;  // the client left while one of its messages was at work
};

}  // namespace hostlinux
