// Calls from a page's script into native code against those of a function that the engine itself brings.
#include <cstdio>
#include <map>
#include <string>
#include <thread>

#include "bench/Ratio.h"
#include "host-linux/script/ScriptEngine.h"
#include "varnel/automation/Members.h"

namespace {

constexpr int kCalls = 100'000;  // of the loop in each page

using varnel::Long;
using varnel::String;
using varnel::Variant;

class Probe final : public varnel::Object {
 public:
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Probe",
                                        {
                                            varnel::Method<&Probe::Nothing>(u"Nothing"),
                                            varnel::Method<&Probe::TakeText>(u"TakeText"),
                                            varnel::Method<&Probe::GiveText>(u"GiveText"),
                                            varnel::Method<&Probe::Self>(u"Self").AsDefault(),
                                            varnel::ReadOnly<&Probe::Number>(u"Number"),
                                        }};
    return info;
  }

 private:
  void Nothing() {}
  void TakeText(const String& text) { m_length += text.size(); }
  String GiveText() { return u"I210 Gigabit Network Connection"; }
  varnel::ObjectPtr Self(const Variant&) { return shared_from_this(); }
  Long Number() { return 42; }

  std::size_t m_length = 0;
};

class Pages final : public hostlinux::PageFiles {
 public:
  std::optional<std::string> Read(const std::string& name) const override {
    return "<% for (var i = 0; i < 100000; i++) " + name.substr(0, name.rfind('.')) + "; %>";
  }
  std::optional<hostlinux::FileStamp> Stamp(const std::string&) const override {
    return hostlinux::FileStamp{};
  }
};

class NoOutput final : public hostlinux::PageOutput {
  void WriteText(std::string_view) override {}
  void WriteValue(const Variant&) override {}
  void WriteEncoded(const Variant&) override {}
};

}  // namespace

int main() {
  hostlinux::ScriptRuntime runtime({});
  std::thread([&] {
    const Pages pages;
    hostlinux::ScriptEngine::Options options;
    options.intrinsics = {"probe"};
    hostlinux::ScriptEngine engine(runtime, pages, options);
    NoOutput output;
    const auto run = [&](const char* statement) {
      const hostlinux::Intrinsics objects{{"probe", std::make_shared<Probe>()}};
      const auto result =
          engine.RunPage(statement + std::string(".asp"), objects, output, std::chrono::seconds(20));
      if (result.outcome != hostlinux::PageResult::Outcome::Finished)
        std::puts(result.failure.message.c_str());
    };
    std::printf("A call of a page:\n");
    for (const char* statement : {"probe.Nothing()", "probe.TakeText('Gigabit Network')", "probe.GiveText()",
                                  "probe.Number", "probe('name')", "probe('name').Number"}) {
      bench::PrintRatio(
          statement, "a call of Date.now()", 3, [&] { run(statement); }, [&] { run("Date.now()"); }, kCalls);
    }
  }).join();
}
