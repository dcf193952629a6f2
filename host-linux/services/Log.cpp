#include "host-linux/services/Log.h"

#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <utility>

#include "varnel/automation/Members.h"

namespace hostlinux {

namespace {

constexpr std::size_t kQueueLength = 8192;

thread_local std::string requestId;

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

std::string OneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    if (c == '\r') {
      line += "\\r";
    } else if (c == '\n') {
      line += "\\n";
    } else if (static_cast<unsigned char>(c) < 0x20) {
      line += '?';  // a NUL or an escape sequence has no business in a log
    } else {
      line += c;
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
  if (logger == nullptr || !logger->should_log(SpdlogLevel(level))) return;
  const std::string line = requestId.empty() ? OneLine(text) : "[" + requestId + "] " + OneLine(text);
  logger->log(SpdlogLevel(level), spdlog::string_view_t(line));
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
