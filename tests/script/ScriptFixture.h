// Pages in memory, and an engine that runs them.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "host-linux/script/ScriptEngine.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {

class MemoryPageFiles final : public PageFiles {
 public:
  std::optional<std::string> Read(const std::string& name) const override {
    const auto found = m_files.find(name);
    return found == m_files.end() ? std::nullopt : std::optional(found->second.text);
  }
  std::optional<FileStamp> Stamp(const std::string& name) const override {
    const auto found = m_files.find(name);
    if (found == m_files.end()) return std::nullopt;
    return FileStamp{found->second.version, 0, 0, 0};
  }
  void Set(const std::string& name, const std::string& text) { m_files[name] = {text, ++m_version}; }

 private:
  struct File {
    std::string text;
    std::int64_t version = 0;
  };
  std::map<std::string, File> m_files;
  std::int64_t m_version = 0;
};

class TextOutput final : public PageOutput {
 public:
  void WriteText(std::string_view utf8) override {
    text += utf8;
    if (onText) onText();
  }
  void WriteValue(const varnel::Variant& value) override {
    text += varnel::ToUtf8(value.IsNull() ? u"(Null)" : varnel::ToText(value));
    if (onText) onText();
  }
  void WriteEncoded(const varnel::Variant& value) override {
    text += "{";
    WriteValue(value);
    text += "}";
  }
  std::string text;
  std::function<void()> onText;
};

// The page that was last reported as stuck. Read and written with care: the watchdog writes it.
struct StuckPage {
  std::mutex mutex;
  std::string name;
  std::string Name() {
    const std::lock_guard lock(mutex);
    return name;
  }
  // On a loaded machine any page that was stopped may have been reported.
  void Forget() {
    const std::lock_guard lock(mutex);
    name.clear();
  }
};
inline StuckPage stuckPage;

// The engine below is set up once in a process.
inline ScriptRuntime& SharedRuntime() {
  static ScriptRuntime runtime({std::chrono::milliseconds(50), [](const PagePlace& place) {
                                  const std::lock_guard lock(stuckPage.mutex);
                                  stuckPage.name = PlaceText(place);
                                }});
  return runtime;
}

class ScriptFixture : public testing::Test {
 protected:
  ScriptEngine& Engine() {
    if (!m_engine) m_engine = std::make_unique<ScriptEngine>(SharedRuntime(), files, options);
    return *m_engine;
  }

  PageResult RunFile(const std::string& page) {
    output.text.clear();
    return Engine().RunPage(page, intrinsics, output, timeLimit);
  }

  PageResult Run(const std::string& text) {
    files.Set("page.asp", text);
    return RunFile("page.asp");
  }

  // The output of a page that must run to its end.
  std::string Output(const std::string& text) {
    const PageResult result = Run(text);
    EXPECT_EQ(result.outcome, PageResult::Outcome::Finished) << result.failure.message;
    return output.text;
  }

  // The text of one expression.
  std::string Value(const std::string& expression) { return Output("<%= " + expression + " %>"); }

  MemoryPageFiles files;
  TextOutput output;
  Intrinsics intrinsics;
  ScriptEngine::Options options;
  std::chrono::milliseconds timeLimit = std::chrono::seconds(60);

 private:
  std::unique_ptr<ScriptEngine> m_engine;
};

}  // namespace hostlinux
