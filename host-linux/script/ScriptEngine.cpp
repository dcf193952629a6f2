#include "host-linux/script/ScriptEngine.h"

#include <utility>

#include "host-linux/script/ScriptCore.h"

namespace hostlinux {

ScriptEngine::ScriptEngine(ScriptRuntime& runtime, const PageFiles& files, Options options)
    : m_core(std::make_unique<ScriptCore>(runtime, files, std::move(options))) {}

ScriptEngine::~ScriptEngine() = default;

std::optional<ScriptFailure> ScriptEngine::Prepare(const std::string& page, PageDirectives& directives) {
  return m_core->Prepare(page, directives);
}

PageResult ScriptEngine::RunPage(const std::string& page, const Intrinsics& intrinsics, PageOutput& output,
                                 std::chrono::milliseconds timeLimit) {
  return m_core->RunPage(page, intrinsics, output, timeLimit);
}

PageResult ScriptEngine::RunInner(const std::string& page) { return m_core->RunInner(page); }

std::optional<std::chrono::milliseconds> ScriptEngine::TimeLeft() const { return m_core->TimeLeft(); }

void ScriptEngine::RunOffTime(const std::function<void()>& work) { m_core->RunOffTime(work); }

void ScriptEngine::SetTimeLimit(std::chrono::milliseconds timeLimit) { m_core->SetTimeLimit(timeLimit); }

PagePlace ScriptEngine::Place() const { return m_core->Place(); }

void ScriptEngine::Inspect() { m_core->Inspect(); }

void ScriptEngine::EndPage() { m_core->EndPage(); }

}  // namespace hostlinux
