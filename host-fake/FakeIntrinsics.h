// The objects of a running page, in memory.
#pragma once

#include <functional>
#include <map>

#include "host-fake/Fault.h"
#include "host-fake/Trace.h"
#include "varnel/automation/Object.h"
#include "varnel/host/Intrinsics.h"

namespace hostfake {

using varnel::Bytes;
using varnel::ClassInfo;
using varnel::Long;
using varnel::Object;
using varnel::ObjectPtr;
using varnel::String;
using varnel::StringView;
using varnel::Variant;

// Keys that ignore case, in the order in which they were first set, each with its values.
class FakeRequestCollection : public Object, public varnel::host::IRequestCollection {
 public:
  const ClassInfo& Class() const override;

  // Appends a value to `key`: a key that is added twice has two values.
  void Add(StringView key, StringView value);
  // Replaces all values of `key`.
  void Set(StringView key, StringView value);
  void Remove(StringView key);
  // How often the value of `key` was read.
  int Reads(StringView key) const;

  Long Count() const override;
  String Key(Long position) const override;
  String ValueAt(Long position) const override;
  Variant Value(StringView key) const override;
  Long ValueCount(StringView key) const override;

 private:
  struct Entry {
    String key;
    std::vector<String> values;
  };

  const Entry* Find(StringView key) const;
  Entry& At(StringView key);
  const Entry& AtPosition(Long position) const;
  Variant Item(const Variant& keyOrPosition);

  std::vector<Entry> m_entries;
  mutable std::map<String, int> m_reads;  // by folded key
};

class FakeRequest : public Object, public varnel::host::IRequest {
 public:
  FakeRequest();
  const ClassInfo& Class() const override;

  FakeRequestCollection& Query() { return *m_query; }
  FakeRequestCollection& Fields() { return *m_form; }
  FakeRequestCollection& CookieValues() { return *m_cookies; }
  FakeRequestCollection& Variables() { return *m_variables; }
  // The body that `BinaryRead` gives; `Form` can't be read once some of it was taken.
  void SetBody(Bytes body);
  // At most so many bytes come with one `BinaryRead`, as from a slow client; 0: as many as asked for.
  void SetChunk(Long bytes) { m_chunk = bytes; }
  // How often `Item` was asked for `key`.
  int ItemReads(StringView key) const;

  const varnel::host::IRequestCollection& QueryString() override { return *m_query; }
  const varnel::host::IRequestCollection& Form() override;
  const varnel::host::IRequestCollection& ServerVariables() override { return *m_variables; }
  Variant Item(StringView key) override;
  Long TotalBytes() override { return static_cast<Long>(m_body.size()); }
  Bytes BinaryRead(Long count) override;

 private:
  ObjectPtr QueryStringObject() { return m_query; }
  ObjectPtr FormObject();
  ObjectPtr CookiesObject() { return m_cookies; }
  ObjectPtr ServerVariablesObject() { return m_variables; }
  Variant ItemByName(const String& key) { return Item(key); }
  Variant BinaryReadArray(Long count);

  std::shared_ptr<FakeRequestCollection> m_query;
  std::shared_ptr<FakeRequestCollection> m_form;
  std::shared_ptr<FakeRequestCollection> m_cookies;
  std::shared_ptr<FakeRequestCollection> m_variables;
  std::map<String, int> m_itemReads;
  Bytes m_body;
  std::size_t m_taken = 0;
  Long m_chunk = 0;
};

class FakeResponse : public Object, public varnel::host::IResponse {
 public:
  explicit FakeResponse(TracePtr trace) : m_trace(std::move(trace)) {}
  const ClassInfo& Class() const override;

  // Everything written so far, and the single writes.
  const String& Text() const { return m_text; }
  const std::vector<String>& Writes() const { return m_writes; }
  void Clear();
  // Every further write fails.
  void Fail(varnel::ErrInfo failure) { m_fault = std::move(failure); }
  // Called before each write with its text; may raise.
  std::function<void(StringView)> onWrite;

  void Write(StringView text) override;

 private:
  void WriteText(const String& text) { Write(text); }

  TracePtr m_trace;
  String m_text;
  std::vector<String> m_writes;
  Fault m_fault;
};

// Values by keys that ignore case; a key that isn't set gives Empty.
class FakeValues : public Object {
 public:
  FakeValues(StringView name, TracePtr trace) : m_name(name), m_trace(std::move(trace)) {}

  void Set(StringView key, Variant value);
  void Remove(StringView key);
  // How often `key` was read.
  int Reads(StringView key) const;
  // Called before each read with the key; may raise.
  std::function<void(StringView)> onRead;

 protected:
  Variant Read(StringView key);

 private:
  String m_name;
  TracePtr m_trace;
  std::map<String, Variant> m_values;  // by folded key
  std::map<String, int> m_reads;
};

class FakeSession : public FakeValues, public varnel::host::ISession {
 public:
  explicit FakeSession(TracePtr trace) : FakeValues(u"Session", std::move(trace)) {}
  const ClassInfo& Class() const override;
  void SetLCID(Long lcid) { m_lcid = lcid; }

  Variant Value(StringView key) override { return Read(key); }
  Long LCID() override { return m_lcid; }

 private:
  Variant ValueByName(const String& key) { return Read(key); }

  Long m_lcid = 1033;
};

class FakeApplication : public FakeValues, public varnel::host::IApplication {
 public:
  explicit FakeApplication(TracePtr trace) : FakeValues(u"Application", std::move(trace)) {}
  const ClassInfo& Class() const override;

  Variant Value(StringView key) override { return Read(key); }

 private:
  Variant ValueByName(const String& key) { return Read(key); }
};

class FakeServer : public Object, public varnel::host::IServer {
 public:
  const ClassInfo& Class() const override;

  String URLEncode(StringView text) override;
  String HTMLEncode(StringView text) override;

 private:
  String URLEncodeText(const String& text) { return URLEncode(text); }
  String HTMLEncodeText(const String& text) { return HTMLEncode(text); }
};

}  // namespace hostfake
