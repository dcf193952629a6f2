#include "host-linux/web/ResponseWriter.h"

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "host-linux/web/HttpDate.h"

namespace hostlinux {

namespace {

// What a page may have flushed that its client hasn't taken and that stays in memory.
constexpr std::size_t kMaxInMemory = 256 * 1024;

// Read from a file at a time.
constexpr std::size_t kStretch = 64 * 1024;

// Sent at a time, so that a fast client of a long response doesn't hold a thread.
constexpr std::size_t kTurn = 4 << 20;

constexpr std::size_t kMaxPieces = 16;

// The same for all responses of a second.
const std::string& DateNow() {
  thread_local std::time_t known = 0;
  thread_local std::string text;
  const std::time_t now = std::time(nullptr);
  if (now != known) {
    text = FormatHttpDate(now);
    known = now;
  }
  return text;
}

}  // namespace

void ResponseWriter::Queue::Add(std::string piece) {
  bytes += piece.size();
  pieces.push_back(std::move(piece));
}

void ResponseWriter::Queue::Drop(std::size_t count, std::size_t& offset) {
  bytes -= count;
  offset += count;
  while (!pieces.empty() && offset >= pieces.front().size()) {
    offset -= pieces.front().size();
    pieces.pop_front();
  }
}

ResponseWriter::ResponseWriter(const ServerOptions& options, SpillBounds& bounds)
    : m_options(options), m_bounds(bounds) {}

void ResponseWriter::Begin(Asked asked) {
  m_asked = asked;
  m_headOut = m_chunked = false;
  m_status = 0;
  m_bodyBytes = 0;
  m_spill.reset();
  m_file.reset();
}

void ResponseWriter::SetFramingHeaders(HttpResponse& response, bool isPart) {
  // These are the server's own business, whatever a page set.
  for (const char* name : {"Connection", "Keep-Alive", "Transfer-Encoding", "Content-Length", "Date"}) {
    response.headers.Remove(name);
  }
  if (isPart && !m_asked.isHttp11) m_asked.keepAlive = false;
  m_chunked = isPart && m_asked.isHttp11 && !IsBodiless(response.status);
  response.headers.Set("Date", DateNow());
  if (m_chunked) response.headers.Set("Transfer-Encoding", "chunked");
  if (!isPart && !IsBodiless(response.status)) {
    const std::uint64_t length = response.file ? response.file->length : response.body.size();
    response.headers.Set("Content-Length", std::to_string(length));
  }
  for (const HeaderList::Field& field : m_options.headers) {
    if (!response.headers.Find(field.name)) response.headers.Add(field.name, field.value);
  }
  if (!m_asked.keepAlive) {
    response.headers.Set("Connection", "close");
  } else if (!m_asked.isHttp11) {
    response.headers.Set("Connection", "keep-alive");
  }
}

// Behind what waits in the spill file, if anything does.
void ResponseWriter::Add(std::string bytes) {
  const bool isBehind = m_tail.bytes > 0 || (m_spill && !m_spill->IsEmpty());
  (isBehind ? m_tail : m_output).Add(std::move(bytes));
}

void ResponseWriter::AddBody(std::string bytes) {
  if (bytes.empty() || m_asked.headOnly || IsBodiless(m_status)) return;
  m_bodyBytes += bytes.size();
  if (m_chunked) {
    std::array<char, 24> size{};
    std::snprintf(size.data(), size.size(), "%zx\r\n", bytes.size());
    Add(size.data());
    bytes += "\r\n";
  }
  Add(std::move(bytes));
}

void ResponseWriter::AddWhole(HttpResponse response) {
  m_headOut = true;
  m_status = response.status;
  SetFramingHeaders(response, false);
  Add(HeadText(response));
  if (response.file && !m_asked.headOnly && !IsBodiless(m_status)) {
    m_bodyBytes = response.file->length;
    m_file = std::move(response.file);
  } else {
    AddBody(std::move(response.body));
  }
}

void ResponseWriter::AddPart(HttpResponse part) {
  if (!m_headOut) {
    m_headOut = true;
    m_status = part.status;
    SetFramingHeaders(part, true);
    Add(HeadText(part));
  }
  AddBody(std::move(part.body));
}

void ResponseWriter::AddRest(std::string body) {
  AddBody(std::move(body));
  if (m_chunked && !m_asked.headOnly) Add("0\r\n\r\n");
}

void ResponseWriter::BreakOff() { m_asked.keepAlive = false; }

// What goes beyond the bound of memory, a piece that crosses it in two.
void ResponseWriter::MoveToTail() {
  while (m_output.bytes > kMaxInMemory) {
    std::string last = std::move(m_output.pieces.back());
    m_output.pieces.pop_back();
    const std::size_t isGone = m_output.pieces.empty() ? m_offset : 0;
    const std::size_t before = m_output.bytes - (last.size() - isGone);
    m_output.bytes = before;
    if (before < kMaxInMemory) {
      const std::size_t kept = kMaxInMemory - before + isGone;
      m_tail.pieces.push_front(last.substr(kept));
      m_tail.bytes += last.size() - kept;
      last.resize(kept);
      m_output.bytes += kept - isGone;
      m_output.pieces.push_back(std::move(last));
      return;
    }
    m_tail.bytes += last.size();
    m_tail.pieces.push_front(std::move(last));
  }
}

bool ResponseWriter::Stow() {
  if (!m_spill || m_spill->IsEmpty()) MoveToTail();
  if (m_tail.bytes <= kMaxInMemory) return true;
  if (!m_spill) m_spill.emplace(m_bounds);
  std::size_t offset = 0;
  while (m_tail.bytes > 0) {
    const std::string_view rest = std::string_view(m_tail.pieces.front()).substr(offset);
    const std::size_t taken = m_spill->Write(rest);
    m_tail.Drop(taken, offset);
    if (taken < rest.size()) break;
  }
  if (m_tail.bytes > 0) m_tail.pieces.front().erase(0, offset);
  return m_tail.bytes <= kMaxInMemory;
}

// A file that became shorter than announced can only be answered by cutting the connection.
bool ResponseWriter::FillFromFile() {
  std::string stretch(std::min<std::uint64_t>(m_file->length, kStretch), '\0');
  const ssize_t got =
      ::pread(m_file->file->Get(), stretch.data(), stretch.size(), static_cast<off_t>(m_file->offset));
  if (got <= 0) {
    m_failed = true;
    return false;
  }
  stretch.resize(static_cast<std::size_t>(got));
  m_file->offset += stretch.size();
  m_file->length -= stretch.size();
  m_output.Add(std::move(stretch));
  return true;
}

bool ResponseWriter::FillFromSpill() {
  std::string stretch = m_spill->Read(kStretch);
  m_failed = stretch.empty();
  if (!m_failed) m_output.Add(std::move(stretch));
  return !m_failed;
}

// False where there is nothing more, for now or at all.
bool ResponseWriter::Refill() {
  m_offset = 0;
  if (m_spill && !m_spill->IsEmpty()) return FillFromSpill();
  if (m_tail.bytes > 0) {
    std::swap(m_output, m_tail);
    return true;
  }
  return m_file && m_file->length > 0 && FillFromFile();
}

ResponseWriter::Progress ResponseWriter::Send(int socket) {
  const std::uint64_t end = m_sent + kTurn;
  while (m_output.bytes > 0 || Refill()) {
    if (m_sent >= end) return Progress::Paused;
    std::array<iovec, kMaxPieces> pieces{};
    std::size_t count = 0;
    std::size_t offset = m_offset;
    for (std::string& piece : m_output.pieces) {
      pieces[count++] = {piece.data() + offset, piece.size() - offset};
      offset = 0;
      if (count == kMaxPieces) break;
    }
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = count;
    const ssize_t sent = ::sendmsg(socket, &message, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0) return errno == EAGAIN ? Progress::Blocked : Progress::Failed;
    m_sent += static_cast<std::uint64_t>(sent);
    m_output.Drop(static_cast<std::size_t>(sent), m_offset);
  }
  return m_failed ? Progress::Failed : Progress::Done;
}

}  // namespace hostlinux
