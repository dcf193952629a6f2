#include "host-fake/FakeIntrinsics.h"

#include <algorithm>

#include "varnel/automation/Members.h"

namespace hostfake {

using varnel::Method;
using varnel::ReadOnly;
using varnel::ToLower;
namespace runtime_error = varnel::runtime_error;

namespace {

String Joined(const std::vector<String>& values) {
  String text;
  for (std::size_t i = 0; i < values.size(); ++i) text += (i == 0 ? String() : String(u", ")) + values[i];
  return text;
}

int CountOf(const std::map<String, int>& counts, StringView key) {
  const auto found = counts.find(ToLower(key));
  return found == counts.end() ? 0 : found->second;
}

}  // namespace

const ClassInfo& FakeRequestCollection::Class() const {
  static const ClassInfo info{u"RequestCollection",
                              {
                                  ReadOnly<&FakeRequestCollection::Item>(u"Item").AsDefault(),
                                  ReadOnly<&FakeRequestCollection::Count>(u"Count"),
                                  ReadOnly<&FakeRequestCollection::Key>(u"Key"),
                              }};
  return info;
}

void FakeRequestCollection::Add(StringView key, StringView value) { At(key).values.emplace_back(value); }

void FakeRequestCollection::Set(StringView key, StringView value) { At(key).values = {String(value)}; }

void FakeRequestCollection::Remove(StringView key) {
  std::erase_if(m_entries, [&](const Entry& entry) { return varnel::EqualsNoCase(entry.key, key); });
}

int FakeRequestCollection::Reads(StringView key) const { return CountOf(m_reads, key); }

Long FakeRequestCollection::Count() const { return static_cast<Long>(m_entries.size()); }

String FakeRequestCollection::Key(Long position) const { return AtPosition(position).key; }

String FakeRequestCollection::ValueAt(Long position) const {
  const Entry& entry = AtPosition(position);
  ++m_reads[ToLower(entry.key)];
  return Joined(entry.values);
}

Variant FakeRequestCollection::Value(StringView key) const {
  ++m_reads[ToLower(key)];
  const Entry* entry = Find(key);
  return entry == nullptr ? Variant() : Variant(Joined(entry->values));
}

Long FakeRequestCollection::ValueCount(StringView key) const {
  const Entry* entry = Find(key);
  return entry == nullptr ? 0 : static_cast<Long>(entry->values.size());
}

const FakeRequestCollection::Entry* FakeRequestCollection::Find(StringView key) const {
  const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                  [&](const Entry& entry) { return varnel::EqualsNoCase(entry.key, key); });
  return found == m_entries.end() ? nullptr : &*found;
}

FakeRequestCollection::Entry& FakeRequestCollection::At(StringView key) {
  if (const Entry* entry = Find(key)) return m_entries[static_cast<std::size_t>(entry - m_entries.data())];
  m_entries.push_back({String(key), {}});
  return m_entries.back();
}

const FakeRequestCollection::Entry& FakeRequestCollection::AtPosition(Long position) const {
  if (position < 1 || position > Count()) varnel::RaiseRuntimeError(runtime_error::kSubscript);
  return m_entries[static_cast<std::size_t>(position - 1)];
}

Variant FakeRequestCollection::Item(const Variant& keyOrPosition) {
  if (keyOrPosition.IsText()) return Value(varnel::ToText(keyOrPosition));
  return ValueAt(varnel::ToLong(keyOrPosition));
}

FakeRequest::FakeRequest()
    : m_query(std::make_shared<FakeRequestCollection>()),
      m_form(std::make_shared<FakeRequestCollection>()),
      m_cookies(std::make_shared<FakeRequestCollection>()),
      m_variables(std::make_shared<FakeRequestCollection>()) {}

const ClassInfo& FakeRequest::Class() const {
  static const ClassInfo info{u"Request",
                              {
                                  ReadOnly<&FakeRequest::ItemByName>(u"Item").AsDefault(),
                                  ReadOnly<&FakeRequest::QueryStringObject>(u"QueryString"),
                                  ReadOnly<&FakeRequest::FormObject>(u"Form"),
                                  ReadOnly<&FakeRequest::CookiesObject>(u"Cookies"),
                                  ReadOnly<&FakeRequest::ServerVariablesObject>(u"ServerVariables"),
                                  ReadOnly<&FakeRequest::TotalBytes>(u"TotalBytes"),
                                  Method<&FakeRequest::BinaryReadArray>(u"BinaryRead"),
                              }};
  return info;
}

void FakeRequest::SetBody(Bytes body) {
  m_body = std::move(body);
  m_taken = 0;
}

int FakeRequest::ItemReads(StringView key) const { return CountOf(m_itemReads, key); }

const varnel::host::IRequestCollection& FakeRequest::Form() {
  if (m_taken > 0) varnel::RaiseRuntimeError(runtime_error::kInvalidArgument, u"BinaryRead took the body");
  return *m_form;
}

ObjectPtr FakeRequest::FormObject() {
  Form();
  return m_form;
}

Variant FakeRequest::Item(StringView key) {
  ++m_itemReads[ToLower(key)];
  for (const auto& collection : {m_query, m_form, m_cookies, m_variables}) {
    if (collection->ValueCount(key) > 0) return collection->Value(key);
  }
  return {};
}

Bytes FakeRequest::BinaryRead(Long count) {
  const Long wanted = m_chunk > 0 ? std::min(count, m_chunk) : count;
  const auto taken = std::min(static_cast<std::size_t>(std::max(wanted, Long{0})), m_body.size() - m_taken);
  const auto first = m_body.begin() + static_cast<std::ptrdiff_t>(m_taken);
  m_taken += taken;
  return Bytes(first, first + static_cast<std::ptrdiff_t>(taken));
}

Variant FakeRequest::BinaryReadArray(Long count) { return std::make_shared<const Bytes>(BinaryRead(count)); }

const ClassInfo& FakeResponse::Class() const {
  static const ClassInfo info{u"Response", {Method<&FakeResponse::WriteText>(u"Write")}};
  return info;
}

void FakeResponse::Clear() {
  m_text.clear();
  m_writes.clear();
}

void FakeResponse::Write(StringView text) {
  if (onWrite) onWrite(text);
  RaiseIf(m_fault);
  m_trace->Add(u"Response", u"Write");
  m_writes.emplace_back(text);
  m_text += text;
}

void FakeValues::Set(StringView key, Variant value) { m_values[ToLower(key)] = std::move(value); }

void FakeValues::Remove(StringView key) { m_values.erase(ToLower(key)); }

int FakeValues::Reads(StringView key) const { return CountOf(m_reads, key); }

Variant FakeValues::Read(StringView key) {
  m_trace->Add(m_name, String(u"Value ") + String(key));
  ++m_reads[ToLower(key)];
  if (onRead) onRead(key);
  const auto found = m_values.find(ToLower(key));
  return found == m_values.end() ? Variant() : found->second;
}

const ClassInfo& FakeSession::Class() const {
  static const ClassInfo info{u"Session",
                              {
                                  ReadOnly<&FakeSession::ValueByName>(u"Value").AsDefault(),
                                  ReadOnly<&FakeSession::LCID>(u"LCID"),
                              }};
  return info;
}

const ClassInfo& FakeApplication::Class() const {
  static const ClassInfo info{u"Application",
                              {ReadOnly<&FakeApplication::ValueByName>(u"Value").AsDefault()}};
  return info;
}

const ClassInfo& FakeServer::Class() const {
  static const ClassInfo info{u"Server",
                              {
                                  Method<&FakeServer::URLEncodeText>(u"URLEncode"),
                                  Method<&FakeServer::HTMLEncodeText>(u"HTMLEncode"),
                              }};
  return info;
}

namespace {

bool StaysInURL(char byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

}  // namespace

String FakeServer::URLEncode(StringView text) {
  String encoded;
  for (const char byte : varnel::ToUtf8(text)) {
    if (StaysInURL(byte)) {
      encoded += static_cast<char16_t>(byte);
    } else if (byte == ' ') {
      encoded += u'+';
    } else {
      const auto code = static_cast<unsigned char>(byte);
      encoded += {u'%', u"0123456789ABCDEF"[code / 16], u"0123456789ABCDEF"[code % 16]};
    }
  }
  return encoded;
}

String FakeServer::HTMLEncode(StringView text) {
  String encoded;
  for (const char16_t unit : text) {
    switch (unit) {
      case u'&':
        encoded += u"&amp;";
        break;
      case u'<':
        encoded += u"&lt;";
        break;
      case u'>':
        encoded += u"&gt;";
        break;
      case u'"':
        encoded += u"&quot;";
        break;
      default:
        encoded += unit;
    }
  }
  return encoded;
}

}  // namespace hostfake
