#include "host-linux/web/Compression.h"

#include <unistd.h>
#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <new>

#include "host-linux/base/Ascii.h"

namespace hostlinux {

namespace {

// A shorter body fits into the packet that the head takes anyway.
constexpr std::size_t kShortest = 1024;
constexpr std::size_t kLongestFile = 1 << 20;

// What a list page costs: some tenths of a millisecond. Higher levels cost many times that for a few percent.
constexpr int kZstdLevel = 3;
constexpr int kGzipLevel = 5;

constexpr int kGzipWindow = 15 + 16;  // the largest window, and gzip's frame
constexpr int kGzipMemory = 8;

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
  const std::size_t end = text.find_last_not_of(" \t");
  return end == std::string_view::npos ? std::string_view() : text.substr(begin, end - begin + 1);
}

// The first piece of `list` before `separator`, which is taken off it.
std::string_view TakePiece(std::string_view& list, char separator) {
  const std::size_t end = std::min(list.find(separator), list.size());
  const std::string_view piece = Trimmed(list.substr(0, end));
  list.remove_prefix(std::min(end + 1, list.size()));
  return piece;
}

// The weight behind "q="; 0 for one that can't be read.
double WeightOf(std::string_view parameters) {
  while (!parameters.empty()) {
    const std::string_view parameter = TakePiece(parameters, ';');
    if (!EqualsIgnoreCase(parameter.substr(0, 2), "q=")) continue;
    double weight = 0;
    const std::string_view digits = parameter.substr(2);
    const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), weight);
    const bool isRead = failure == std::errc() && end == digits.data() + digits.size();
    return isRead && weight > 0 && weight <= 1 ? weight : 0;
  }
  return 1;
}

// How much the client likes that coding; 0: not at all. "*" speaks for those that aren't named.
double WeightOf(std::string_view accepted, std::string_view coding) {
  double ofOthers = 0;
  while (!accepted.empty()) {
    std::string_view parameters = TakePiece(accepted, ',');
    const std::string_view name = TakePiece(parameters, ';');
    if (EqualsIgnoreCase(name, coding)) return WeightOf(parameters);
    if (name == "*") ofOthers = WeightOf(parameters);
  }
  return ofOthers;
}

std::string Zstd(std::string_view bytes) {
  std::string result(ZSTD_compressBound(bytes.size()), '\0');
  const std::size_t size =
      ZSTD_compress(result.data(), result.size(), bytes.data(), bytes.size(), kZstdLevel);
  if (ZSTD_isError(size) != 0) throw std::bad_alloc();
  result.resize(size);
  return result;
}

std::string Gzip(std::string_view bytes) {
  z_stream stream{};
  if (deflateInit2(&stream, kGzipLevel, Z_DEFLATED, kGzipWindow, kGzipMemory, Z_DEFAULT_STRATEGY) != Z_OK)
    throw std::bad_alloc();
  const auto end = [](z_stream* ended) { deflateEnd(ended); };
  const std::unique_ptr<z_stream, decltype(end)> guard(&stream, end);
  std::string result(deflateBound(&stream, bytes.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  if (deflate(&stream, Z_FINISH) != Z_STREAM_END) throw std::bad_alloc();
  result.resize(stream.total_out);
  return result;
}

bool ForbidsCoding(const HttpResponse& response) {
  const bool isWhole = response.status != 206 && !response.headers.Find("Content-Range");
  const std::string caching = LowerAscii(response.headers.Joined("Cache-Control"));
  return !isWhole || IsBodiless(response.status) || response.headers.Find("Content-Encoding") != nullptr ||
         caching.find("no-transform") != std::string::npos;
}

// True for an answer that is worth it, which then says that it depends on what the client takes.
bool MayCompress(HttpResponse& response, std::size_t length) {
  const std::string* type = response.headers.Find("Content-Type");
  if (type == nullptr || !IsCompressibleType(*type) || length < kShortest || ForbidsCoding(response))
    return false;
  const std::string varies = response.headers.Joined("Vary");
  response.headers.Set("Vary", varies.empty() ? "Accept-Encoding" : varies + ", Accept-Encoding");
  return true;
}

void TakeBody(HttpResponse& response, ContentCoding coding, std::string bytes) {
  response.body = std::move(bytes);
  response.file.reset();
  response.headers.Set("Content-Encoding", std::string(NameOf(coding)));
}

// All of a file, or nothing where it has changed its length.
std::optional<std::string> BytesOf(const FileBody& file) {
  std::string bytes(file.length, '\0');
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t got = ::pread(file.file->Get(), bytes.data() + done, bytes.size() - done,
                                static_cast<off_t>(file.offset + done));
    if (got <= 0) return std::nullopt;
    done += static_cast<std::size_t>(got);
  }
  return bytes;
}

}  // namespace

std::string_view NameOf(ContentCoding coding) { return coding == ContentCoding::Zstd ? "zstd" : "gzip"; }

std::optional<ContentCoding> CodingFor(const HttpRequest& request) {
  if (!request.headers.Find("Accept-Encoding")) return std::nullopt;
  const std::string accepted = request.headers.Joined("Accept-Encoding");
  const double zstd = WeightOf(accepted, "zstd");
  const double gzip = WeightOf(accepted, "gzip");
  if (zstd <= 0 && gzip <= 0) return std::nullopt;
  return zstd >= gzip ? ContentCoding::Zstd : ContentCoding::Gzip;
}

std::string Compress(ContentCoding coding, std::string_view bytes) {
  return coding == ContentCoding::Zstd ? Zstd(bytes) : Gzip(bytes);
}

bool IsCompressibleType(std::string_view contentType) {
  const std::string type = LowerAscii(Trimmed(contentType.substr(0, contentType.find(';'))));
  if (type.starts_with("text/")) return type != "text/event-stream";
  static constexpr std::array<std::string_view, 3> kEnds = {"json", "xml", "javascript"};
  return std::any_of(kEnds.begin(), kEnds.end(), [&](std::string_view end) { return type.ends_with(end); });
}

void CompressPage(HttpResponse& response, std::optional<ContentCoding> coding) {
  if (response.file || !MayCompress(response, response.body.size()) || !coding) return;
  std::string bytes = Compress(*coding, response.body);
  if (bytes.size() < response.body.size()) TakeBody(response, *coding, std::move(bytes));
}

void CompressedFiles::CompressFile(const std::string& name, HttpResponse& response,
                                   std::optional<ContentCoding> coding) {
  if (!response.file || response.file->length > kLongestFile || response.status != 200) return;
  const std::string* tag = response.headers.Find("ETag");
  if (tag == nullptr || !MayCompress(response, response.file->length) || !coding) return;
  const std::string key = std::string(NameOf(*coding)) + " " + *tag + " " + name;
  std::optional<std::string> bytes = Find(key);
  if (!bytes) {
    const auto whole = BytesOf(*response.file);
    if (!whole) return;
    bytes = Compress(*coding, *whole);
    if (bytes->size() >= whole->size()) bytes->clear();
    Keep({key, *bytes});
  }
  if (bytes->empty()) return;
  const std::string weak = "W/" + *response.headers.Find("ETag");
  response.headers.Set("ETag", weak);
  response.headers.Remove("Accept-Ranges");
  TakeBody(response, *coding, std::move(*bytes));
}

std::optional<std::string> CompressedFiles::Find(const std::string& key) {
  const std::lock_guard lock(m_mutex);
  const auto found =
      std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& entry) { return entry.key == key; });
  if (found == m_entries.end()) return std::nullopt;
  m_entries.splice(m_entries.begin(), m_entries, found);
  return found->bytes;
}

void CompressedFiles::Keep(Entry entry) {
  const std::lock_guard lock(m_mutex);
  m_bytes += entry.key.size() + entry.bytes.size();
  m_entries.push_front(std::move(entry));
  while (m_bytes > m_maxBytes && !m_entries.empty()) {
    m_bytes -= m_entries.back().key.size() + m_entries.back().bytes.size();
    m_entries.pop_back();
  }
}

}  // namespace hostlinux
