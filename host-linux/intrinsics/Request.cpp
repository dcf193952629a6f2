#include "host-linux/intrinsics/Request.h"

#include <algorithm>
#include <unordered_map>

#include "host-linux/intrinsics/Cookies.h"
#include "host-linux/nls/LocaleTable.h"
#include "host-linux/nls/TypedText.h"
#include "varnel/automation/Members.h"

namespace hostlinux {

using varnel::ClassInfo;
using varnel::FromUtf8;
using varnel::Long;
using varnel::RaiseRuntimeError;
using varnel::StringView;
using varnel::Variant;

namespace {

// "X-Forwarded-For" as "HTTP_X_FORWARDED_FOR".
std::string VariableName(const std::string& header) {
  std::string name = "HTTP_";
  for (const char c : header) {
    const bool lower = c >= 'a' && c <= 'z';
    name += c == '-' ? '_' : lower ? static_cast<char>(c - 'a' + 'A') : c;
  }
  return name;
}

void AddHeaders(const HeaderList& headers, std::vector<FormField>& variables) {
  std::unordered_map<std::string, std::size_t> places;
  for (const HeaderList::Field& field : headers) {
    // "X_A" and "X-A" would become one variable, and the first could pose as the second.
    if (field.name.find('_') != std::string::npos) continue;
    std::string name = VariableName(field.name);
    const auto [known, isNew] = places.emplace(name, variables.size());
    if (isNew) {
      variables.push_back({std::move(name), field.value});
    } else {
      variables[known->second].value += ", " + field.value;
    }
  }
}

void Override(std::vector<FormField>& variables, const FormField& with) {
  const varnel::String name = FromUtf8(with.name);
  std::erase_if(variables, [&](const FormField& variable) {
    return varnel::EqualsNoCase(FromUtf8(variable.name), name);
  });
  variables.push_back(with);
}

std::vector<FormField> ServerVariablesOf(const PageRequest& page, std::size_t bodyLength) {
  const HttpRequest& http = page.http;
  const std::string* type = http.headers.Find("Content-Type");
  std::vector<FormField> variables = {
      {"URL", http.path},
      {"SCRIPT_NAME", http.path},
      {"PATH_INFO", http.path},
      {"REQUEST_METHOD", http.method},
      {"QUERY_STRING", http.rawQuery},
      {"CONTENT_TYPE", type ? *type : std::string()},
      {"CONTENT_LENGTH", std::to_string(bodyLength)},
      {"REMOTE_ADDR", http.remoteAddress},
      {"REMOTE_HOST", http.remoteAddress},
      {"SERVER_NAME", http.serverName},
      {"SERVER_PORT", std::to_string(http.serverPort)},
      {"SERVER_PORT_SECURE", http.https ? "1" : "0"},
      {"SERVER_PROTOCOL", http.version},
      {"SERVER_SOFTWARE", "Varnel"},
      {"HTTPS", http.https ? "on" : "off"},
  };
  AddHeaders(http.headers, variables);
  for (const FormField& variable : page.serverVariables) Override(variables, variable);
  return variables;
}

}  // namespace

Request::Request(std::shared_ptr<PageRequest> request, std::function<Long()> lcid)
    : m_request(std::move(request)), m_lcid(std::move(lcid)), m_totalBytes(m_request->http.body.size()) {}

const ClassInfo& Request::Class() const {
  static const ClassInfo info{u"Request",
                              {
                                  varnel::ReadOnly<&Request::QueryObject>(u"QueryString"),
                                  varnel::ReadOnly<&Request::FormObject>(u"Form"),
                                  varnel::ReadOnly<&Request::CookiesObject>(u"Cookies"),
                                  varnel::ReadOnly<&Request::ServerVariablesObject>(u"ServerVariables"),
                                  varnel::Method<&Request::ItemObject>(u"Item").AsDefault(),
                                  varnel::ReadOnly<&Request::TotalBytes>(u"TotalBytes"),
                                  varnel::Method<&Request::ReadBytes>(u"BinaryRead"),
                                  varnel::Method<&Request::Text>(u"Text", {varnel::String()}),
                                  varnel::Method<&Request::Number>(u"Number"),
                                  varnel::Method<&Request::Day>(u"Date"),
                              }};
  return info;
}

std::shared_ptr<RequestCollection> Request::QueryObject() {
  if (!m_query) {
    m_query = std::make_shared<RequestCollection>(m_request->query, FromUtf8(m_request->http.rawQuery));
  }
  return m_query;
}

std::shared_ptr<RequestCollection> Request::FormObject() {
  if (m_form) return m_form;
  if (m_request->hasForm && m_bodyTaken) {
    RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"BinaryRead has read the form already");
  }
  const std::string& body = m_request->http.body;
  m_form = std::make_shared<RequestCollection>(m_request->form,
                                               FromUtf8(m_request->hasForm ? body : std::string()));
  return m_form;
}

std::shared_ptr<RequestCollection> Request::CookiesObject() {
  if (!m_cookies) {
    const std::string header = CookieHeaderOf(m_request->http.headers);
    m_cookies = std::make_shared<RequestCollection>(ParseCookies(header), FromUtf8(header));
  }
  return m_cookies;
}

std::shared_ptr<RequestCollection> Request::ServerVariablesObject() {
  if (!m_serverVariables) {
    m_serverVariables =
        std::make_shared<RequestCollection>(ServerVariablesOf(*m_request, m_totalBytes), varnel::String());
  }
  return m_serverVariables;
}

Variant Request::Variables::Value(StringView key) const {
  const PageRequest& page = *m_request.m_request;
  // What the command line sets goes before what the request says.
  if (page.serverVariables.empty()) {
    if (varnel::EqualsNoCase(key, u"URL")) return FromUtf8(page.http.path);
    if (varnel::EqualsNoCase(key, u"REQUEST_METHOD")) return FromUtf8(page.http.method);
  }
  return All().Value(key);
}

std::shared_ptr<RequestCollection> Request::FirstWith(StringView key) {
  const auto has = [&](const RequestCollection& collection) { return collection.ValueCount(key) > 0; };
  if (has(*QueryObject())) return m_query;
  if (!IsFormGone() && has(*FormObject())) return m_form;
  if (has(*CookiesObject())) return m_cookies;
  return ServerVariablesObject();
}

bool Request::IsFormGone() const { return m_request->hasForm && m_bodyTaken && !m_form; }

varnel::String Request::Text(const varnel::String& name, const varnel::String& otherwise) {
  const Variant query = QueryObject()->Value(name);
  if (!query.IsEmpty()) return varnel::ToText(query);
  const Variant form = IsFormGone() ? Variant() : FormObject()->Value(name);
  return form.IsEmpty() ? otherwise : varnel::ToText(form);
}

const varnel::LocaleFacts& Request::Locale() const {
  const varnel::LocaleFacts* own = m_lcid ? CachedLocale(MeantLocale(m_lcid())) : nullptr;
  return own == nullptr ? varnel::UserLocale() : *own;
}

Variant Request::Number(const varnel::String& name) {
  const auto number = ReadTypedNumber(Text(name, {}), Locale());
  return number ? Variant(*number) : Variant(varnel::Null());
}

Variant Request::Day(const varnel::String& name) {
  const auto day = ReadTypedDate(Text(name, {}), Locale());
  return day ? Variant(*day) : Variant(varnel::Null());
}

Variant Request::Item(StringView key) { return FirstWith(key)->Value(key); }

Variant Request::ItemObject(const Variant& key) {
  const varnel::String text = varnel::ToText(key);
  return FirstWith(text)->Item(Variant(text));
}

Long Request::TotalBytes() { return static_cast<Long>(std::min<std::size_t>(m_totalBytes, 0x7FFFFFFF)); }

varnel::Bytes Request::BinaryRead(Long count) {
  if (count < 0) RaiseRuntimeError(varnel::runtime_error::kInvalidArgument, u"BinaryRead");
  m_bodyTaken = true;
  std::string& body = m_request->http.body;
  const std::size_t end = m_bytesRead + std::min(static_cast<std::size_t>(count), m_totalBytes - m_bytesRead);
  // Nothing is left to read where the body is gone.
  varnel::Bytes bytes(body.data() + std::min(m_bytesRead, body.size()),
                      body.data() + std::min(end, body.size()));
  m_bytesRead = end;
  // A form's text can still be asked for.
  if (m_bytesRead == m_totalBytes && !m_request->hasForm) std::string().swap(body);
  return bytes;
}

Variant Request::ReadBytes(Long count) {
  return varnel::BytesPtr(std::make_shared<const varnel::Bytes>(BinaryRead(count)));
}

}  // namespace hostlinux
