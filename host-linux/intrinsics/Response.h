// What a page writes: its text, and the head before it.
#pragma once

#include <ctime>
#include <functional>
#include <memory>

#include "host-linux/intrinsics/RequestBound.h"
#include "host-linux/intrinsics/ResponseCookies.h"
#include "host-linux/web/HttpServer.h"
#include "varnel/automation/Object.h"
#include "varnel/host/Intrinsics.h"

namespace hostlinux {

// The output is UTF-8. It is kept back until the page has ended, so that a page that fails can still be
// answered with a clean 500, unless the page flushes.
class Response : public varnel::Object, public varnel::host::IResponse, public RequestBound {
 public:
  struct Options {
    std::size_t maxBuffer = 64 << 20;  // bytes of the whole page, flushed or not
    ClientLink* link = nullptr;        // lives as long as the page runs; null: nobody listens before the end
    std::function<void()> endPage;     // stops the running script
    // Runs what may wait for the client, which isn't the page's own time. May be left empty.
    std::function<void(const std::function<void()>&)> runOffTime{};
    std::function<std::time_t()> now = [] { return std::time(nullptr); };
    std::string cookiePath = "/";
  };

  explicit Response(Options options);

  const varnel::ClassInfo& Class() const override;

  // Raises 80004005 (hexadecimal) where the page becomes longer than allowed; it has then failed, even if the
  // script catches that. After End nothing is written any more.
  void Write(varnel::StringView text) override;
  void WriteUtf8(std::string_view text);
  // Null and Empty write nothing.
  void WriteValue(const varnel::Variant& value);
  // The same as HTML text, for the inside of elements and of attributes in quotes of either kind.
  void WriteEncoded(const varnel::Variant& value);
  // A byte array as it is. Raises 13 for anything else.
  void BinaryWrite(const varnel::Variant& bytes);

  // What follows changes the head; each raises 80004005 once that was sent by Flush.
  //
  // Sends the browser to `url` instead, and ends the page.
  void Redirect(const varnel::String& url);
  void AddHeader(const varnel::String& name, const varnel::String& value);  // 5 for an ill-formed one
  void SetStatus(const varnel::String& status);  // "404 Not Found"; 5 without a number
  void SetContentType(const varnel::String& type);
  void SetCharset(const varnel::String& charset);  // 5 for any but utf-8, as which the output is written
  void SetExpires(varnel::Long minutes);           // from now; 0 and below: at once
  void SetCacheControl(const varnel::String& value);

  varnel::String Status() const;
  varnel::String ContentType() const { return m_contentType; }
  varnel::String Charset() const { return u"utf-8"; }
  varnel::Variant Expires() const { return m_expires; }
  varnel::String CacheControl() const { return m_cacheControl; }
  std::shared_ptr<ResponseCookies> Cookies() { return m_cookies; }

  // Ends the page with what it has written.
  void End();
  // Throws away what isn't sent yet.
  void Clear();
  // Sends what was written so far. Where nobody listens it only closes the head.
  void Flush();
  // True at first. False: each write is flushed.
  bool Buffer() const { return m_buffered; }
  void SetBuffer(bool buffered);
  bool IsClientConnected() const;

  // For the host, after the page.
  //
  // True once the page has written more than allowed.
  bool IsOverfull() const { return m_overfull; }
  bool IsFlushed() const { return m_flushed; }
  // Called with the head right before it goes out; may add to it.
  void OnHead(std::function<void(HttpResponse&)> complete) { m_complete = std::move(complete); }
  // The response; after a Flush the rest of its body.
  HttpResponse Take();

 private:
  void Append(std::string_view bytes);
  void AppendText(varnel::StringView text);
  void EndPendingText();
  void RequireHead() const;
  HttpResponse Head();

  Options m_options;
  std::function<void(HttpResponse&)> m_complete;
  std::string m_body;
  std::size_t m_sentBytes = 0;
  std::size_t m_keptBytes = 0;  // of m_body, flushed while nobody listened
  varnel::String m_pending;     // the first half of a character whose second half comes with the next write
  int m_status = 200;
  std::string m_reason;
  varnel::String m_contentType = u"text/html";
  bool m_charsetSet = false;
  varnel::Variant m_expires;
  varnel::String m_cacheControl = u"private";
  HeaderList m_headers;
  std::shared_ptr<ResponseCookies> m_cookies;
  bool m_buffered = true;
  bool m_flushed = false;
  bool m_ended = false;
  bool m_overfull = false;
};

}  // namespace hostlinux
