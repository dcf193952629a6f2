#include "host-linux/services/Log.h"

#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <mutex>
#include <utility>

#include "varnel/automation/Members.h"

namespace hostlinux {

namespace {

constexpr std::size_t kQueueLength = 8192;

constexpr std::size_t kMostCaptured = 10'000;

thread_local std::string requestId;

std::atomic<bool> isCaptured = false;
std::mutex captureMutex;
std::vector<std::string> capturedLines;  // under the mutex

const char* NameOf(LogLevel level) {
  switch (level) {
    case LogLevel::Debug:
      return "debug: ";
    case LogLevel::Info:
      return "info: ";
    case LogLevel::Warning:
      return "warning: ";
    case LogLevel::Error:
      break;
  }
  return "error: ";
}

void Capture(LogLevel level, const std::string& line) {
  const std::lock_guard lock(captureMutex);
  if (capturedLines.size() < kMostCaptured) capturedLines.push_back(NameOf(level) + line);
}

spdlog::level::level_enum SpdlogLevel(LogLevel level) {
  switch (level) {
    case LogLevel::Debug:
      return spdlog::level::debug;
    case LogLevel::Info:
      return spdlog::level::info;
    case LogLevel::Warning:
      return spdlog::level::warn;
    case LogLevel::Error:
      break;
  }
  return spdlog::level::err;
}

// How many bytes behind one of this value belong to its character, in UTF-8.
int BytesBehind(unsigned char byte) { return byte < 0xC2 ? 0 : byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3; }

bool IsContinuation(unsigned char byte) { return byte >= 0x80 && byte < 0xC0; }

// 80 to 9F, as a character of two bytes or as a byte that belongs to none: terminals take them for commands.
bool IsUpperControl(unsigned char byte) { return byte >= 0x80 && byte < 0xA0; }

std::string OneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  int expected = 0;  // bytes of the character that has begun
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool inside = expected > 0 && IsContinuation(byte);
    expected = inside ? expected - 1 : BytesBehind(byte);
    if (byte == '\r') {
      line += "\\r";
    } else if (byte == '\n') {
      line += "\\n";
    } else if (byte < 0x20 || byte == 0x7F || (!inside && IsUpperControl(byte))) {
      line += '?';  // a NUL or an escape sequence has no business in a log
    } else if (byte == 0xC2 && i + 1 < text.size() &&
               IsUpperControl(static_cast<unsigned char>(text[i + 1]))) {
      line += '?';
      expected = 0;
      ++i;
    } else {
      line += text[i];
    }
  }
  return line;
}

spdlog::sink_ptr MakeSink(const SiteConfiguration& site) {
  if (site.log.file.empty()) return std::make_shared<spdlog::sinks::stderr_sink_mt>();
  const auto path = site.folder / site.log.file;
  return std::make_shared<spdlog::sinks::rotating_file_sink_mt>(path.string(), site.log.maxSize,
                                                                site.log.maxFiles);
}

}  // namespace

void StartLog(const SiteConfiguration& site) {
  spdlog::init_thread_pool(kQueueLength, 1);
  auto logger = std::make_shared<spdlog::async_logger>("varnel", MakeSink(site), spdlog::thread_pool(),
                                                       spdlog::async_overflow_policy::overrun_oldest);
  logger->set_level(spdlog::level::from_str(site.log.level));
  logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %l %v");
  logger->flush_on(spdlog::level::warn);
  spdlog::set_default_logger(std::move(logger));
  spdlog::flush_every(std::chrono::seconds(1));
}

void StopLog() { spdlog::shutdown(); }

void WriteLog(LogLevel level, std::string_view text) {
  auto* logger = spdlog::default_logger_raw();
  const bool isWritten = logger != nullptr && logger->should_log(SpdlogLevel(level));
  if (!isWritten && !isCaptured) return;
  const std::string line = requestId.empty() ? OneLine(text) : "[" + requestId + "] " + OneLine(text);
  if (isCaptured) Capture(level, line);
  if (isWritten) logger->log(SpdlogLevel(level), spdlog::string_view_t(line));
}

LogCapture::LogCapture() { isCaptured = true; }

LogCapture::~LogCapture() {
  isCaptured = false;
  TakeLines();
}

std::vector<std::string> LogCapture::TakeLines() {
  const std::lock_guard lock(captureMutex);
  return std::exchange(capturedLines, {});
}

RequestLogScope::RequestLogScope(std::string id) : m_previous(std::exchange(requestId, std::move(id))) {}

RequestLogScope::~RequestLogScope() { requestId = std::move(m_previous); }

const varnel::ClassInfo& LogComponent::Class() const {
  static const varnel::ClassInfo info{
      u"Log", {varnel::Method<&LogComponent::WriteEntry>(u"WriteEntry", {varnel::Variant()})}};
  return info;
}

void LogComponent::WriteEntry(varnel::String& ioSource, varnel::String& ioText, varnel::Long& ioLevel,
                              varnel::Variant&) {
  WriteLog(ioLevel == 0 ? LogLevel::Error : LogLevel::Info, varnel::ToUtf8(ioSource + u": " + ioText));
}

}  // namespace hostlinux
