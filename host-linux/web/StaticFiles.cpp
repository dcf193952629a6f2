#include "host-linux/web/StaticFiles.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <stdexcept>

#include "host-linux/base/Ascii.h"
#include "host-linux/base/FolderAccess.h"
#include "host-linux/web/ErrorPage.h"
#include "host-linux/web/HttpDate.h"

namespace hostlinux {

namespace {

struct FileType {
  std::string_view extension;
  std::string_view contentType;
};

constexpr std::array<FileType, 27> kListedTypes = {{
    {"png", "image/png"},
    {"gif", "image/gif"},
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"webp", "image/webp"},
    {"avif", "image/avif"},
    {"svg", "image/svg+xml; charset=utf-8"},
    {"ico", "image/x-icon"},
    {"bmp", "image/bmp"},
    {"css", "text/css; charset=utf-8"},
    {"js", "text/javascript; charset=utf-8"},
    {"mjs", "text/javascript; charset=utf-8"},
    {"woff", "font/woff"},
    {"woff2", "font/woff2"},
    {"ttf", "font/ttf"},
    {"otf", "font/otf"},
    {"eot", "application/vnd.ms-fontobject"},
    {"txt", "text/plain; charset=utf-8"},
    {"text", "text/plain; charset=utf-8"},
    {"md", "text/markdown; charset=utf-8"},
    {"csv", "text/csv; charset=utf-8"},
    {"tsv", "text/tab-separated-values; charset=utf-8"},
    {"vtt", "text/vtt; charset=utf-8"},
    {"ics", "text/calendar; charset=utf-8"},
    {"htm", "text/html; charset=utf-8"},
    {"html", "text/html; charset=utf-8"},
    {"pdf", "application/pdf"},
}};

struct FileFacts {
  std::uint64_t size = 0;
  std::time_t modified = 0;
  std::string etag;
};

FileFacts FactsOf(const struct stat& status) {
  std::array<char, 64> tag{};
  std::snprintf(tag.data(), tag.size(), "\"%llx-%llx\"", static_cast<unsigned long long>(status.st_size),
                static_cast<unsigned long long>(status.st_mtim.tv_sec) * 1000000000ULL +
                    static_cast<unsigned long long>(status.st_mtim.tv_nsec));
  return {static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec, tag.data()};
}

std::string_view Trim(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
  const std::size_t end = text.find_last_not_of(" \t");
  return end == std::string_view::npos ? std::string_view() : text.substr(begin, end - begin + 1);
}

enum class WeakTags { Count, DontCount };

// Whether `list` ("*" or tags between commas) names `etag`, which is a strong one.
bool NamesTag(std::string_view list, std::string_view etag, WeakTags weak) {
  if (Trim(list) == "*") return true;
  while (!list.empty()) {
    const std::size_t end = std::min(list.find(','), list.size());
    std::string_view tag = Trim(list.substr(0, end));
    if (weak == WeakTags::Count && tag.substr(0, 2) == "W/") tag.remove_prefix(2);
    if (tag == etag) return true;
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return false;
}

// The client wants the file only as it knew it, and it is another now. An ill-formed date doesn't count.
bool IsOtherThanWanted(const HttpRequest& request, const FileFacts& facts) {
  if (request.headers.Find("If-Match"))
    return !NamesTag(request.headers.Joined("If-Match"), facts.etag, WeakTags::DontCount);
  if (request.headers.CountOf("If-Unmodified-Since") != 1) return false;
  const std::optional<std::time_t> when = ParseHttpDate(*request.headers.Find("If-Unmodified-Since"));
  return when && facts.modified > *when;
}

// The client's copy is still good. A tag outweighs the date, which counts whole seconds only.
bool IsUnchanged(const HttpRequest& request, const FileFacts& facts) {
  if (request.headers.Find("If-None-Match"))
    return NamesTag(request.headers.Joined("If-None-Match"), facts.etag, WeakTags::Count);
  const std::string* since = request.headers.Find("If-Modified-Since");
  if (!since) return false;
  const std::optional<std::time_t> when = ParseHttpDate(*since);
  return when && facts.modified <= *when;
}

// An If-Range that names another state of the file turns the range off.
bool WantsRange(const HttpRequest& request, const FileFacts& facts) {
  if (request.method != "GET" || request.headers.CountOf("Range") != 1) return false;
  const std::string* condition = request.headers.Find("If-Range");
  return !condition || *condition == facts.etag || *condition == FormatHttpDate(facts.modified);
}

bool ReadNumber(std::string_view text, std::uint64_t& value) {
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
  return problem == std::errc() && end == text.data() + text.size();
}

enum class RangeKind { Whole, Part, Impossible };

// Reads "bytes=first-last", "bytes=first-", "bytes=-count". Several ranges and ill-formed ones mean the whole
// file.
RangeKind ReadRange(std::string_view text, std::uint64_t size, FileBody& part) {
  if (text.substr(0, 6) != "bytes=" || text.find(',') != std::string_view::npos) return RangeKind::Whole;
  text.remove_prefix(6);
  const std::size_t dash = text.find('-');
  if (dash == std::string_view::npos) return RangeKind::Whole;
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  const bool hasFirst = dash > 0;
  const bool hasLast = dash + 1 < text.size();
  if (hasFirst && !ReadNumber(text.substr(0, dash), first)) return RangeKind::Whole;
  if (hasLast && !ReadNumber(text.substr(dash + 1), last)) return RangeKind::Whole;
  if (!hasFirst && !hasLast) return RangeKind::Whole;
  if (hasFirst && hasLast && last < first) return RangeKind::Whole;
  if (!hasFirst) {
    if (last == 0 || size == 0) return RangeKind::Impossible;
    part.length = std::min(last, size);
    part.offset = size - part.length;
    return RangeKind::Part;
  }
  if (first >= size) return RangeKind::Impossible;
  part.offset = first;
  part.length = hasLast ? std::min(last, size - 1) - first + 1 : size - first;
  return RangeKind::Part;
}

std::string ContentRange(const FileBody& part, std::uint64_t size) {
  return "bytes " + std::to_string(part.offset) + "-" + std::to_string(part.offset + part.length - 1) + "/" +
         std::to_string(size);
}

HttpResponse RangeNotSatisfiable(const HttpRequest& request, std::uint64_t size) {
  HttpResponse refused = ErrorResponse(416, request.id);
  refused.headers.Set("Content-Range", "bytes */" + std::to_string(size));
  return refused;
}

void SetFileHeaders(HttpResponse& response, const FileFacts& facts, const std::string& cacheControl) {
  response.headers.Set("ETag", facts.etag);
  response.headers.Set("Last-Modified", FormatHttpDate(facts.modified));
  response.headers.Set("Cache-Control", cacheControl);
}

}  // namespace

std::string_view StaticTypeOf(std::string_view path) {
  if (path.empty() || path.front() == '.' || path.find("/.") != std::string_view::npos) return {};
  const std::size_t dot = path.rfind('.');
  const std::size_t slash = path.rfind('/');
  if (dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash)) return {};
  for (const FileType& type : kListedTypes) {
    if (EqualsIgnoreCase(path.substr(dot + 1), type.extension)) return type.contentType;
  }
  return {};
}

StaticFiles::StaticFiles(const std::string& folder, std::string cacheControl)
    : m_folder(OpenFolder(folder)), m_cacheControl(std::move(cacheControl)) {
  if (!m_folder) throw std::runtime_error("The folder \"" + folder + "\" can't be opened.");
}

HttpResponse StaticFiles::Serve(const HttpRequest& request, const std::string& relative) const {
  const std::string_view type = StaticTypeOf(relative);
  if (type.empty()) return ErrorResponse(404, request.id);
  UniqueFd file = OpenBelow(m_folder.Get(), relative);
  struct stat status {};
  if (!file || ::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode))
    return ErrorResponse(404, request.id);
  if (request.method != "GET" && request.method != "HEAD") {
    HttpResponse refused = ErrorResponse(405, request.id);
    refused.headers.Set("Allow", "GET, HEAD");
    return refused;
  }

  const FileFacts facts = FactsOf(status);
  if (IsOtherThanWanted(request, facts)) return ErrorResponse(412, request.id);
  HttpResponse response;
  SetFileHeaders(response, facts, m_cacheControl);
  if (IsUnchanged(request, facts)) {
    response.status = 304;
    return response;
  }
  FileBody part{nullptr, 0, facts.size};
  if (WantsRange(request, facts)) {
    const RangeKind kind = ReadRange(*request.headers.Find("Range"), facts.size, part);
    if (kind == RangeKind::Impossible) return RangeNotSatisfiable(request, facts.size);
    if (kind == RangeKind::Part) {
      response.status = 206;
      response.headers.Set("Content-Range", ContentRange(part, facts.size));
    }
  }
  response.headers.Set("Content-Type", std::string(type));
  response.headers.Set("Accept-Ranges", "bytes");
  response.headers.Set("X-Content-Type-Options", "nosniff");
  part.file = std::make_shared<UniqueFd>(std::move(file));
  response.file = std::move(part);
  return response;
}

}  // namespace hostlinux
