#include "host-linux/intrinsics/Response.h"

#include "host-linux/base/Ascii.h"
#include "host-linux/base/Percent.h"
#include "host-linux/intrinsics/HostError.h"
#include "host-linux/intrinsics/Server.h"
#include "host-linux/web/ErrorPage.h"
#include "host-linux/web/HttpDate.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::Long;
using varnel::RaiseRuntimeError;
using varnel::String;
using varnel::StringView;
using varnel::ToUtf8;
using varnel::Variant;

namespace {

constexpr char16_t kFirstHigh = 0xD800;
constexpr char16_t kLastHigh = 0xDBFF;

bool IsHighSurrogate(char16_t unit) { return unit >= kFirstHigh && unit <= kLastHigh; }

bool HasControl(const std::string& text) {
  for (const char c : text) {
    if ((static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7f) return true;
  }
  return false;
}

// Escapes what may not stand in an address, and leaves escapes that are there.
std::string AddressText(const std::string& url) {
  return PercentEncode(
      url, [](char c) { return c > 0x20 && c < 0x7f && c != '"' && c != '<' && c != '>' && c != '\\'; });
}

// Types of text say how their letters are written; images don't.
bool TakesCharset(const std::string& type) {
  if (type.find("charset=") != std::string::npos) return false;
  for (const char* word : {"text/", "json", "xml", "javascript"}) {
    if (type.find(word) != std::string::npos) return true;
  }
  return false;
}

}  // namespace

Response::Response(Options options)
    : m_options(std::move(options)), m_cookies(std::make_shared<ResponseCookies>(m_options.cookiePath)) {}

const ClassInfo& Response::Class() const {
  using R = Response;
  static const ClassInfo info{u"Response",
                              {
                                  varnel::Method<&R::WriteValue>(u"Write"),
                                  varnel::Method<&R::BinaryWrite>(u"BinaryWrite"),
                                  varnel::Method<&R::Redirect>(u"Redirect"),
                                  varnel::Method<&R::End>(u"End"),
                                  varnel::Method<&R::Clear>(u"Clear"),
                                  varnel::Method<&R::Flush>(u"Flush"),
                                  varnel::Method<&R::AddHeader>(u"AddHeader"),
                                  varnel::Property<&R::Buffer, &R::SetBuffer>(u"Buffer"),
                                  varnel::Property<&R::Status, &R::SetStatus>(u"Status"),
                                  varnel::Property<&R::ContentType, &R::SetContentType>(u"ContentType"),
                                  varnel::Property<&R::Charset, &R::SetCharset>(u"Charset"),
                                  varnel::Property<&R::Expires, &R::SetExpires>(u"Expires"),
                                  varnel::Property<&R::CacheControl, &R::SetCacheControl>(u"CacheControl"),
                                  varnel::ReadOnly<&R::Cookies>(u"Cookies"),
                                  varnel::ReadOnly<&R::IsClientConnected>(u"IsClientConnected"),
                              }};
  return info;
}

void Response::Append(std::string_view bytes) {
  if (m_ended || bytes.empty()) return;
  if (bytes.size() > m_options.maxBuffer - m_sentBytes - m_body.size()) {
    m_overfull = true;
    RaiseHostError(u"Response", u"The page is longer than the server allows.");
  }
  m_body += bytes;
  if (!m_buffered) Flush();
}

// The longest that `text` can become is known before it is written: most pages stay far below the limit, and
// their text goes straight into the body.
void Response::AppendText(StringView text) {
  constexpr std::size_t kMostBytes = 3;  // of one 16-bit character
  if (m_ended || !m_buffered ||
      text.size() > (m_options.maxBuffer - m_sentBytes - m_body.size()) / kMostBytes)
    return Append(ToUtf8(text));
  varnel::AppendUtf8(m_body, text);
}

void Response::EndPendingText() {
  if (m_pending.empty()) return;
  const String pending = std::exchange(m_pending, {});
  if (!pending.empty()) Append(ToUtf8(pending));
}

void Response::Write(StringView text) {
  if (text.empty()) return;
  if (m_pending.empty() && !IsHighSurrogate(text.back())) return AppendText(text);
  String whole = std::exchange(m_pending, {}) + String(text);
  if (IsHighSurrogate(whole.back())) {
    m_pending = whole.back();
    whole.pop_back();
  }
  Append(ToUtf8(whole));
}

void Response::WriteUtf8(std::string_view text) {
  EndPendingText();
  Append(text);
}

void Response::WriteValue(const Variant& value) {
  if (value.IsNull() || value.IsEmpty() || value.IsMissing()) return;
  if (const String* text = value.As<String>()) return Write(*text);
  Write(varnel::ToText(value));
}

void Response::WriteEncoded(const Variant& value) {
  if (value.IsNull() || value.IsEmpty() || value.IsMissing()) return;
  if (const String* text = value.As<String>()) return Write(HtmlText(*text));
  Write(HtmlText(varnel::ToText(value)));
}

void Response::BinaryWrite(const Variant& bytes) {
  const varnel::BytesPtr* data = bytes.As<varnel::BytesPtr>();
  if (!data) RaiseRuntimeError(varnel::runtime_error::kTypeMismatch, u"BinaryWrite takes a byte array");
  EndPendingText();
  if (*data) Append({reinterpret_cast<const char*>((*data)->data()), (*data)->size()});
}

void Response::RequireHead() const {
  if (m_flushed) RaiseHostError(u"Response", u"The head of the response was sent already.");
}

void Response::Redirect(const String& url) {
  RequireHead();
  if (m_ended) return;
  const std::string address = AddressText(ToUtf8(url));
  Clear();
  m_status = 302;
  m_reason.clear();
  m_headers.Set("Location", address);
  m_contentType = u"text/html";
  m_charsetSet = false;
  m_body = "<!DOCTYPE html>\n<title>Moved</title>\n<p>This page is <a href=\"" + EscapeHtml(address) +
           "\">here</a>.</p>\n";
  End();
}

void Response::AddHeader(const String& name, const String& value) {
  RequireHead();
  const std::string field = ToUtf8(name);
  const std::string text = ToUtf8(value);
  if (!IsHeaderName(field) || HasControl(text)) {
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"AddHeader");
  }
  if (EqualsIgnoreCase(field, "Content-Type")) return SetContentType(value);
  if (EqualsIgnoreCase(field, "Cache-Control")) return SetCacheControl(value);
  m_headers.Add(field, text);
}

void Response::SetStatus(const String& status) {
  RequireHead();
  const auto isDigit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  const bool hasNumber = status.size() >= 3 && isDigit(status[0]) && isDigit(status[1]) && isDigit(status[2]);
  const int number = hasNumber ? (status[0] - u'0') * 100 + (status[1] - u'0') * 10 + (status[2] - u'0') : 0;
  if (number < 200 || number > 599 || (status.size() > 3 && status[3] != u' ')) {
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"Status");
  }
  m_status = number;
  m_reason = ToUtf8(varnel::Trim(StringView(status).substr(3)));
}

void Response::SetContentType(const String& type) {
  RequireHead();
  if (HasControl(ToUtf8(type))) RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"ContentType");
  m_contentType = type;
}

void Response::SetCharset(const String& charset) {
  RequireHead();
  if (!varnel::EqualsNoCase(charset, u"utf-8")) {
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"the output is always utf-8");
  }
  m_charsetSet = true;
}

void Response::SetExpires(Long minutes) {
  RequireHead();
  m_expires = minutes;
}

void Response::SetCacheControl(const String& value) {
  RequireHead();
  if (HasControl(ToUtf8(value))) RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"CacheControl");
  m_cacheControl = value;
}

String Response::Status() const {
  const std::string reason = m_reason.empty() ? std::string(ReasonOf(m_status)) : m_reason;
  return varnel::DecimalText(m_status) + u" " + varnel::FromUtf8(reason);
}

void Response::End() {
  if (m_ended) return;
  EndPendingText();
  m_ended = true;
  if (m_options.endPage) m_options.endPage();
}

void Response::Clear() {
  if (m_ended) return;
  m_pending.clear();
  m_body.resize(m_keptBytes);
}

void Response::Flush() {
  if (m_ended) return;
  if (!m_options.link) {
    m_flushed = true;
    m_keptBytes = m_body.size();
    return;
  }
  HttpResponse part = m_flushed ? HttpResponse() : Head();
  m_flushed = true;
  m_sentBytes += m_body.size();
  part.body = std::exchange(m_body, {});
  if (!m_options.runOffTime) return m_options.link->Flush(std::move(part));
  m_options.runOffTime([&] { m_options.link->Flush(std::move(part)); });
}

void Response::SetBuffer(bool buffered) {
  m_buffered = buffered;
  if (!buffered && !m_body.empty()) Flush();
}

bool Response::IsClientConnected() const { return !m_options.link || m_options.link->IsConnected(); }

HttpResponse Response::Head() {
  HttpResponse head;
  head.status = m_status;
  head.reason = m_reason;
  head.headers = m_headers;
  std::string type = ToUtf8(m_contentType);
  if (m_charsetSet ? type.find("charset=") == std::string::npos : TakesCharset(type))
    type += "; charset=utf-8";
  if (!type.empty()) head.headers.Set("Content-Type", type);
  if (!m_cacheControl.empty()) head.headers.Set("Cache-Control", ToUtf8(m_cacheControl));
  if (const Long* minutes = m_expires.As<Long>()) {
    head.headers.Set("Expires", FormatHttpDate(m_options.now() + std::time_t{*minutes} * 60));
  }
  m_cookies->AddTo(head.headers);
  if (m_complete) m_complete(head);
  return head;
}

HttpResponse Response::Take() {
  EndPendingText();
  m_ended = true;
  const bool headIsOut = m_flushed && m_options.link;
  HttpResponse response = headIsOut ? HttpResponse() : Head();
  response.body = std::exchange(m_body, {});
  return response;
}

}  // namespace hostlinux
