#include "host-linux/command/SiteTests.h"

#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>

#include "host-linux/application/SiteHost.h"
#include "host-linux/command/SiteCopy.h"
#include "host-linux/command/TestTools.h"
#include "host-linux/script/ScriptEngine.h"
#include "host-linux/services/Log.h"
#include "host-linux/web/UrlPath.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

namespace {

namespace fs = std::filesystem;

constexpr char kTestsFolder[] = "tests";
constexpr char kToolsName[] = "varnel-test-tools.js";
constexpr std::chrono::minutes kMostForOneFile(10);

// One thread that runs pages while the tests wait: an engine lives on its thread.
class PageThread {
 public:
  PageThread() : m_thread([this] { Work(); }) {}
  ~PageThread() {
    {
      const std::lock_guard lock(m_mutex);
      m_ending = true;
    }
    m_changed.notify_all();
    m_thread.join();
  }
  PageThread(const PageThread&) = delete;
  PageThread& operator=(const PageThread&) = delete;

  // Waits until `job` is done.
  void Run(std::function<void()> job) {
    std::unique_lock lock(m_mutex);
    m_job = std::move(job);
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_job == nullptr; });
  }

 private:
  void Work() {
    std::unique_lock lock(m_mutex);
    while (true) {
      m_changed.wait(lock, [this] { return m_job != nullptr || m_ending; });
      if (m_job == nullptr) return;
      const std::function<void()> job = m_job;
      lock.unlock();
      job();
      lock.lock();
      m_job = nullptr;
      m_changed.notify_all();
    }
  }

  std::mutex m_mutex;
  std::condition_variable m_changed;
  std::function<void()> m_job;  // what runs, or waits to
  bool m_ending = false;
  std::thread m_thread;
};

// Keeps what a page flushes.
class KeptAnswer final : public ClientLink {
 public:
  bool IsConnected() const override { return true; }
  bool IsFlushed() const override { return m_head.has_value(); }
  void Flush(HttpResponse soFar) override {
    m_text += soFar.body;
    if (!m_head) m_head = std::move(soFar);
  }

  HttpResponse Complete(HttpResponse rest) {
    if (!m_head) return rest;
    m_head->body = m_text + rest.body;
    return std::move(*m_head);
  }

 private:
  std::optional<HttpResponse> m_head;
  std::string m_text;
};

class TestFiles final : public PageFiles {
 public:
  explicit TestFiles(const fs::path& folder) : m_files(folder) {}
  std::optional<std::string> Read(const std::string& name) const override { return m_files.Read(name); }
  std::optional<FileStamp> Stamp(const std::string& name) const override { return m_files.Stamp(name); }

 private:
  DiskPageFiles m_files;
};

// A test file is one script, with the tools before it and what runs the tests behind it.
ParsedPage ParseTest(const std::string& name, const PageFiles& files) {
  const std::optional<std::string> text = files.Read(name);
  if (!text) throw PageError(name, 0, "The test was not found.");
  ParsedPage page;
  page.files = {name, kToolsName};
  const auto add = [&](std::string_view piece, int file) {
    page.pieces.push_back({PagePiece::Kind::Statements, std::string(piece), file, 1});
  };
  add(TestTools(), 1);
  add(*text, 0);
  add("runTests();", 1);
  page.lastLine = 1 + CountLineEnds(*text);
  return page;
}

// A test writes nothing.
class NoOutput final : public PageOutput {
 public:
  void WriteText(std::string_view) override {}
  void WriteValue(const varnel::Variant&) override {}
  void WriteEncoded(const varnel::Variant&) override {}
};

std::string TextOf(const varnel::Variant& value) { return varnel::ToUtf8(varnel::ToText(value)); }

varnel::Variant ArrayOf(std::vector<varnel::Variant> items) {
  return std::make_shared<varnel::Array>(varnel::Array{std::move(items)});
}

// The tests of one file.
class TestRun {
 public:
  TestRun(const SiteConfiguration& site, ScriptRuntime& runtime, std::string name,
          const std::function<void(const SiteTestResult&)>& done)
      : m_copy(site),
        m_name(std::move(name)),
        m_done(done),
        m_host(m_copy.Site(), runtime, HostOptions()),
        m_runtime(runtime) {}

  int Run() {
    const TestFiles files(m_copy.Site().folder / kTestsFolder);
    ScriptEngine::Options options;
    options.parse = &ParseTest;
    options.functions = Functions();
    options.intrinsics.clear();
    ScriptEngine engine(m_runtime, files, std::move(options));
    NoOutput output;
    const PageResult result = engine.RunPage(m_name, {}, output, kMostForOneFile);
    if (result.outcome != PageResult::Outcome::Finished)
      Tell(m_current, result.failure.message, result.failure.line);
    return m_failed;
  }

  int Count() const { return m_count; }

 private:
  static SiteHost::Options HostOptions() {
    SiteHost::Options options;
    options.limitsVisitors = false;
    return options;
  }

  void Tell(const std::string& test, const std::string& failure, int line) {
    SiteTestResult result{std::string(kTestsFolder) + "/" + m_name, line, test, failure};
    ++m_count;
    TakeLog();
    if (!failure.empty()) {
      ++m_failed;
      result.log = std::move(m_log);
    }
    m_log.clear();
    m_done(result);
  }

  void TakeLog() {
    for (std::string& line : m_capture.TakeLines()) m_log.push_back(std::move(line));
  }

  std::vector<HostFunction> Functions() {
    using varnel::Arguments;
    using varnel::Variant;
    return {{"hostAsk", [this](Arguments a) { return Ask(a); }},
            {"hostRoot", [this](Arguments) { return Variant(varnel::FromUtf8(m_copy.Site().root)); }},
            {"hostToolsName", [](Arguments) { return Variant(varnel::FromUtf8(kToolsName)); }},
            {"hostLog", [this](Arguments) { return Log(); }},
            {"hostBegin",
             [this](Arguments a) {
               TakeLog();
               m_log.clear();
               m_current = TextOf(a[0]);
               return Variant();
             }},
            {"hostEnd", [this](Arguments a) {
               Tell(TextOf(a[0]), TextOf(a[1]), varnel::ToLong(a[2]));
               m_current.clear();
               return Variant();
             }}};
  }

  varnel::Variant Log() {
    TakeLog();
    std::vector<varnel::Variant> lines;
    lines.reserve(m_log.size());
    for (const std::string& line : m_log) lines.emplace_back(varnel::FromUtf8(line));
    return ArrayOf(std::move(lines));
  }

  // method, address, header names and values in turn, body; gives status, headers likewise, text.
  varnel::Variant Ask(varnel::Arguments given) {
    HttpRequest request;
    request.method = TextOf(given[0]);
    request.target = TextOf(given[1]);
    request.body = TextOf(given[3]);
    const auto* headers = given[2].As<varnel::ArrayPtr>();
    for (std::size_t i = 0; headers != nullptr && i + 1 < (*headers)->items.size(); i += 2)
      request.headers.Add(TextOf((*headers)->items[i]), TextOf((*headers)->items[i + 1]));
    UrlTarget target = ParseTarget(request.target);
    if (!target.error.empty())
      varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, varnel::FromUtf8(target.error));
    request.path = std::move(target.path);
    request.rawQuery = std::move(target.rawQuery);
    request.version = "HTTP/1.1";
    request.remoteAddress = "127.0.0.1";
    request.serverName = "localhost";
    request.serverPort = 80;
    request.id = "test-" + std::to_string(++m_requests);
    HttpResponse response;
    m_pages.Run([&] { response = Answer(std::move(request)); });
    std::vector<varnel::Variant> fields;
    for (const HeaderList::Field& field : response.headers) {
      fields.emplace_back(varnel::FromUtf8(field.name));
      fields.emplace_back(varnel::FromUtf8(field.value));
    }
    return ArrayOf(
        {varnel::Long{response.status}, ArrayOf(std::move(fields)), varnel::FromUtf8(response.body)});
  }

  HttpResponse Answer(HttpRequest request) {
    const std::string id = request.id;
    try {
      if (auto quick = m_host.AnswerQuickly(request)) return WithFile(std::move(*quick));
      KeptAnswer link;
      return link.Complete(m_host.AnswerPage(std::move(request), link));
    } catch (const std::exception& error) {
      WriteLog(LogLevel::Error, "Request " + id + ": " + error.what());
      HttpResponse failed;
      failed.status = 500;
      return failed;
    }
  }

  // A file is as good as a page to a test.
  static HttpResponse WithFile(HttpResponse response) {
    if (!response.file) return response;
    constexpr std::uint64_t kMost = 1 << 20;
    std::string text(std::min(kMost, response.file->length), '\0');
    const ssize_t got = ::pread(response.file->file->Get(), text.data(), text.size(),
                                static_cast<off_t>(response.file->offset));
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    response.body = std::move(text);
    response.file.reset();
    return response;
  }

  const SiteCopy m_copy;
  const std::string m_name;
  const std::function<void(const SiteTestResult&)>& m_done;
  LogCapture m_capture;
  SiteHost m_host;
  PageThread m_pages;  // ends before the host
  ScriptRuntime& m_runtime;
  std::vector<std::string> m_log;
  std::string m_current;  // the test that runs
  int m_requests = 0;
  int m_count = 0;
  int m_failed = 0;
};

std::vector<std::string> TestNames(const fs::path& folder, const std::string& filter) {
  std::vector<std::string> names;
  std::error_code missing;
  for (const auto& entry : fs::directory_iterator(folder / kTestsFolder, missing)) {
    const std::string name = entry.path().filename().string();
    const bool isTest = name.ends_with(".js") && !name.starts_with(".") && entry.is_regular_file();
    if (isTest && name.find(filter) != std::string::npos) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

int RunSiteTests(const fs::path& folder, const std::string& filter, ScriptRuntime& runtime,
                 const std::function<void(const SiteTestResult&)>& done) {
  const SiteConfiguration site = LoadSiteConfiguration(folder);
  const std::vector<std::string> names = TestNames(site.folder, filter);
  if (names.empty())
    throw std::runtime_error("there is no test " + (site.folder / kTestsFolder / "*.js").string());
  int count = 0;
  int failed = 0;
  for (const std::string& name : names) {
    TestRun run(site, runtime, name, done);
    failed += run.Run();
    count += run.Count();
  }
  if (count == 0) throw std::runtime_error("the files below tests have no test(name, function)");
  return failed;
}

std::string TestResultText(const SiteTestResult& result) {
  const bool passed = result.failure.empty();
  std::string text = (passed ? "ok   " : "FAIL ") + result.file;
  if (result.line > 0) text += ":" + std::to_string(result.line);
  if (!result.name.empty()) text += ": " + result.name;
  if (!passed) text += ": " + result.failure;
  for (const std::string& line : result.log) text += "\n     log: " + line;
  return text;
}

}  // namespace hostlinux
