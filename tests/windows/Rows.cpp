#include "tests/windows/Rows.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "varnel/automation/Collection.h"
#include "varnel/automation/Error.h"
#include "varnel/automation/Members.h"
#include "varnel/component/AutomationValues.h"
#include "varnel/component/ClassIds.h"
#include "varnel/component/ObjectWrappers.h"

namespace scripthost {

using varnel::Long;
using varnel::Method;
using varnel::Missing;
using varnel::Object;
using varnel::ObjectPtr;
using varnel::ReadOnly;
using varnel::String;
using varnel::Variant;
namespace com = varnel::com;

namespace {

Results& AllResults() {
  static Results results;
  return results;
}

std::string Unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      plain += text[i];
      continue;
    }
    const char c = text[++i];
    plain += c == 't' ? '\t' : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
  }
  return plain;
}

std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream parts(line);
  for (std::string part; std::getline(parts, part, '\t');) fields.push_back(part);
  return fields;
}

Variant ValueOf(const std::string& field) {
  const std::string text = field.substr(1);
  switch (field[0]) {
    case 't':
      return varnel::FromUtf8(Unescaped(text));
    case 'i':
      return static_cast<varnel::Integer>(std::stoi(text));
    case 'l':
      return static_cast<Long>(std::stol(text));
    case 'y':
      return static_cast<varnel::Byte>(std::stoi(text));
    case 'r':
      return std::strtod(text.c_str(), nullptr);
    case 'd':
      return varnel::Date{std::strtod(text.c_str(), nullptr)};
    case 'b':
      return text == "1";
    default:
      return varnel::Null();
  }
}

std::shared_ptr<const Result> Find(const String& sql) {
  const auto found = AllResults().find(sql);
  if (found != AllResults().end()) return found->second;
  std::string line = varnel::ToUtf8(sql);
  line = varnel::ToUtf8(varnel::Replace(varnel::Replace(sql, u"\r", u"\\r"), u"\n", u"\\n"));
  std::fprintf(stderr, "MISSING\t%s\n", line.c_str());
  throw varnel::Error({static_cast<Long>(0x80040E14), u"Recorded rows", u"Nobody has recorded this", u"", 0});
}

struct Field : Object {
  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{
        u"Field",
        {varnel::DataMember<&Field::name>(u"Name"), varnel::DataMember<&Field::type>(u"Type"),
         varnel::Property<&Field::Value, &Field::SetValue>(u"Value")}};
    return info;
  }
  Variant Value() { return value; }
  void SetValue(const Variant& now) {
    value = now;
    if (place != nullptr) *place = now;
  }
  String name;
  Long type = 0;
  Variant value;
  Variant* place = nullptr;  // in a recordset that is being filled
};

// A statement with values for its "?".
class Command : public Object {
 public:
  Variant connection;
  String text;
  Long type = 0;

  const varnel::ClassInfo& Class() const override {
    using C = Command;
    static const varnel::ClassInfo info{
        u"Command",
        {varnel::DataMember<&C::connection>(u"ActiveConnection"),
         varnel::DataMember<&C::text>(u"CommandText"), varnel::DataMember<&C::type>(u"CommandType"),
         Method<&C::CreateParameter>(u"CreateParameter"), ReadOnly<&C::Parameters>(u"Parameters")}};
    return info;
  }
  ObjectPtr CreateParameter(const String& name, Long adoType, Long, Long, const Variant& value) {
    const auto parameter = std::make_shared<Field>();
    parameter->name = name;
    parameter->type = adoType;
    parameter->value = value;
    return parameter;
  }
  ObjectPtr Parameters() { return m_parameters; }

  // With the values in it, as somebody has recorded it.
  String Statement() const {
    String statement;
    std::size_t next = 0;
    for (const char16_t c : text) {
      if (c != u'?') {
        statement += c;
      } else {
        statement += LiteralOf(m_parameters->list.at(next++)->value);
      }
    }
    return statement;
  }

 private:
  struct List : Object {
    const varnel::ClassInfo& Class() const override {
      static const varnel::ClassInfo info{u"Parameters", {Method<&List::Append>(u"Append")}};
      return info;
    }
    void Append(const std::shared_ptr<Field>& parameter) { list.push_back(parameter); }
    std::vector<std::shared_ptr<Field>> list;
  };

  static String LiteralOf(const Variant& value) {
    const String literal = varnel::ToText(value);
    return value.IsText() ? u"'" + varnel::Replace(literal, u"'", u"''") + u"'" : literal;
  }

  std::shared_ptr<List> m_parameters = std::make_shared<List>();
};

class Recordset : public Object {
 public:
  Variant connection;
  Long cursorType = 0;
  Long cursorLocation = 2;
  Long lockType = 1;
  Long maxRecords = 0;
  Long cacheSize = 1;

  const varnel::ClassInfo& Class() const override {
    using R = Recordset;
    using varnel::DataMember;
    static const varnel::ClassInfo info{
        u"Recordset",
        {DataMember<&R::connection>(u"ActiveConnection"), DataMember<&R::cursorType>(u"CursorType"),
         DataMember<&R::cursorLocation>(u"CursorLocation"), DataMember<&R::lockType>(u"LockType"),
         DataMember<&R::maxRecords>(u"MaxRecords"), DataMember<&R::cacheSize>(u"CacheSize"),
         Method<&R::Open>(u"Open", {Missing(), Missing(), Missing(), Missing(), Missing()}),
         ReadOnly<&R::Eof>(u"EOF"), ReadOnly<&R::FieldList>(u"Fields"), Method<&R::MoveNext>(u"MoveNext"),
         ReadOnly<&R::RecordCount>(u"RecordCount"), Method<&R::AddNew>(u"AddNew"),
         Method<&R::Update>(u"Update"), Method<&R::MoveFirst>(u"MoveFirst"), Method<&R::Close>(u"Close"),
         Method<&R::NoRows>(u"GetRows")}};
    return info;
  }

  void Open(const Variant& source, const Variant& on, const Variant&, const Variant&, const Variant&) {
    m_isOpen = true;
    m_row = 0;
    if (source.IsMissing()) return;
    connection = on;
    if (source.As<ObjectPtr>() == nullptr) {
      m_result = Find(varnel::ToText(source));
      return;
    }
    const auto command = varnel::CastObject<Command>(varnel::ToObject(source));
    if (command == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch);
    connection = command->connection;
    m_result = Find(command->Statement());
  }
  void Show(std::shared_ptr<const Result> result) {
    m_result = std::move(result);
    m_isOpen = true;
  }
  std::size_t Rows() const {
    const std::size_t all = m_result == nullptr ? 0 : m_result->rows.size();
    return maxRecords > 0 ? std::min(all, static_cast<std::size_t>(maxRecords)) : all;
  }
  bool Eof() {
    Require();
    return m_row >= Rows();
  }
  ObjectPtr FieldList() {
    const auto list = std::make_shared<Columns>();
    for (std::size_t i = 0; m_result != nullptr && i < m_result->columns.size(); ++i) {
      const auto field = std::make_shared<Field>();
      field->name = m_result->columns[i].first;
      field->type = m_result->columns[i].second;
      if (m_row < Rows()) field->value = m_result->rows[m_row][i];
      if (m_row < Rows() && m_own != nullptr) field->place = &m_own->rows[m_row][i];
      list->fields.push_back(field);
    }
    if (!m_isOpen) list->recordset = varnel::SharedFrom(*this);
    return list;
  }
  void MoveNext() {
    Require();
    ++m_row;
  }
  void MoveFirst() { m_row = 0; }
  Long RecordCount() {
    Require();
    return static_cast<Long>(Rows());
  }
  // Of a recordset that a caller has made columns for.
  void AddNew() {
    if (m_own == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument);
    m_own->rows.emplace_back(m_own->columns.size(), varnel::Null());
    m_row = m_own->rows.size() - 1;
  }
  void AppendColumn(const String& name, Long type) {
    if (m_own == nullptr) m_result = m_own = std::make_shared<Result>();
    m_own->columns.emplace_back(name, type);
  }
  void Update() {}
  void Close() {
    Require();
    m_isOpen = false;
    m_result = nullptr;
    m_own = nullptr;
  }
  Variant NoRows() { return {}; }

  // The rows from the current one on, as ADO gives them: fields by rows.
  HRESULT GetRows(VARIANT& result) {
    if (!m_isOpen || m_row >= Rows()) return static_cast<HRESULT>(0x800A0BCD);
    SAFEARRAYBOUND bounds[2] = {{static_cast<ULONG>(m_result->columns.size()), 0},
                                {static_cast<ULONG>(Rows() - m_row), 0}};
    result.parray = ::SafeArrayCreate(VT_VARIANT, 2, bounds);
    result.vt = VT_ARRAY | VT_VARIANT;
    for (LONG row = 0; m_row < Rows(); ++row, ++m_row) {
      for (LONG column = 0; column < static_cast<LONG>(m_result->columns.size()); ++column) {
        com::OwnedVariant value;
        com::ToAutomation(m_result->rows[m_row][static_cast<std::size_t>(column)], value.Get());
        LONG place[2] = {column, row};
        ::SafeArrayPutElement(result.parray, place, &value.Get());
      }
    }
    return S_OK;
  }

 private:
  struct Columns : Object {
    const varnel::ClassInfo& Class() const override {
      static const varnel::ClassInfo info{
          u"Fields",
          {ReadOnly<&Columns::Item>(u"Item").AsDefault(), ReadOnly<&Columns::Count>(u"Count"),
           Method<&Columns::Append>(u"Append", {Missing(), Missing()})}};
      return info;
    }
    ObjectPtr Item(const Variant& key) {
      if (!key.IsText()) return fields.at(static_cast<std::size_t>(varnel::ToLong(key)));
      for (const auto& field : fields) {
        if (varnel::EqualsNoCase(field->name, varnel::ToText(key))) return field;
      }
      varnel::RaiseRuntimeError(5, varnel::ToText(key));
    }
    Long Count() { return static_cast<Long>(fields.size()); }
    void Append(const String& name, Long type, const Variant&, const Variant&) {
      if (recordset == nullptr) varnel::RaiseRuntimeError(varnel::runtime_error::kInvalidArgument);
      recordset->AppendColumn(name, type);
    }
    std::vector<std::shared_ptr<Field>> fields;
    std::shared_ptr<Recordset> recordset;  // while it is closed
  };

  void Require() const {
    if (!m_isOpen)
      throw varnel::Error(
          {static_cast<Long>(0x800A0E78), u"Recorded rows", u"The recordset is closed", u"", 0});
  }

  std::shared_ptr<const Result> m_result;
  std::shared_ptr<Result> m_own;  // the same, where a caller fills it
  std::size_t m_row = 0;
  bool m_isOpen = false;
};

class Connection : public Object {
 public:
  Long connectionTimeout = 15;
  Long commandTimeout = 30;
  Long cursorLocation = 2;
  Long isolationLevel = 4096;

  const varnel::ClassInfo& Class() const override {
    using C = Connection;
    using varnel::DataMember;
    static const varnel::ClassInfo info{
        u"Connection",
        {DataMember<&C::connectionTimeout>(u"ConnectionTimeout"),
         DataMember<&C::commandTimeout>(u"CommandTimeout"), DataMember<&C::cursorLocation>(u"CursorLocation"),
         DataMember<&C::isolationLevel>(u"IsolationLevel"), Method<&C::Open>(u"Open"),
         Method<&C::Execute>(u"Execute", {Missing(), Missing()}), Method<&C::Close>(u"Close"),
         ReadOnly<&C::Errors>(u"Errors")}};
    return info;
  }
  void Open(const String&, const String&, const String&, Long) {}
  ObjectPtr Execute(const String& sql, Variant& affected, const Variant&) {
    const auto rows = std::make_shared<Recordset>();
    if (sql.starts_with(u"set ")) return rows;
    if (sql.starts_with(u"DELETE ")) {
      // As many as the recorded question that is asked before it has found.
      affected = static_cast<Long>(Find(u"SELECT PRODUCTID " + sql.substr(7))->rows.size());
      return rows;
    }
    rows->Show(Find(sql));
    return rows;
  }
  void Close() {}
  ObjectPtr Errors() { return std::make_shared<varnel::Collection>(); }
};

// A recordset whose rows come in a block of two dimensions, which the library's own objects have no value for.
class RecordsetDispatch final : public IDispatch {
 public:
  RecordsetDispatch() : m_object(std::make_shared<Recordset>()), m_inner(com::WrapObject(m_object)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = com::SameId(id, com::kUnknownId) || com::SameId(id, com::kDispatchId) ? this : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    return m_inner->GetTypeInfoCount(count);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override {
    return m_inner->GetTypeInfo(index, locale, info);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID id, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override {
    const HRESULT answer = m_inner->GetIDsOfNames(id, names, count, locale, ids);
    if (SUCCEEDED(answer) && varnel::EqualsNoCase(com::TextUpToNul(names[0]), u"GetRows")) m_rowsId = ids[0];
    return answer;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* error,
                                   UINT* badArgument) override {
    if (id != m_rowsId || result == nullptr)
      return m_inner->Invoke(id, reserved, locale, flags, parameters, result, error, badArgument);
    return m_object->GetRows(*result);
  }

 private:
  std::shared_ptr<Recordset> m_object;
  com::ComPointer<com::IDispatch> m_inner;
  DISPID m_rowsId = 30000;
  ULONG m_references = 1;
};

template <typename Make>
class Factory final : public IClassFactory {
 public:
  explicit Factory(Make make) : m_make(make) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = com::SameId(id, com::kUnknownId) || com::SameId(id, com::kClassFactoryId) ? this : nullptr;
    return *object != nullptr ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID id, void** object) override {
    const auto made = m_make();
    return made->QueryInterface(id, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  Make m_make;
};

CLSID ClassOf(const wchar_t* progID, const CLSID& otherwise) {
  CLSID id;
  if (SUCCEEDED(::CLSIDFromProgID(progID, &id))) return id;
  const std::wstring key = std::wstring(progID) + L"\\CLSID";
  const String text = com::IdText(otherwise);
  ::RegSetValueW(HKEY_CLASSES_ROOT, key.c_str(), REG_SZ, reinterpret_cast<const wchar_t*>(text.c_str()), 0);
  return otherwise;
}

template <typename Make>
void Provide(const wchar_t* progID, const CLSID& otherwise, Make make) {
  DWORD cookie = 0;
  static Factory<Make> factory(make);
  ::CoRegisterClassObject(ClassOf(progID, otherwise), &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                          &cookie);
}

}  // namespace

Results LoadRows(const std::string& text) {
  Results results;
  std::shared_ptr<Result> result;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const std::string rest = line.size() > 2 ? line.substr(2) : "";
    if (line[0] == 'Q') {
      result = std::make_shared<Result>();
      results[varnel::FromUtf8(Unescaped(rest))] = result;
    } else if (line[0] == 'C') {
      const auto fields = Fields(rest);
      result->columns.push_back({varnel::FromUtf8(fields[0]), static_cast<Long>(std::stol(fields[1]))});
    } else if (line[0] == 'R') {
      std::vector<Variant> row;
      for (const std::string& field : Fields(rest)) row.push_back(ValueOf(field));
      result->rows.push_back(std::move(row));
    }
  }
  return results;
}

void ProvideAdo(Results results) {
  constexpr CLSID kConnection = {
      0xE580B641, 0x6630, 0x4222, {0xAA, 0x00, 0x43, 0xCF, 0x6B, 0x36, 0x5E, 0x3C}};
  constexpr CLSID kRecordset = {0x7BFDCBE2, 0x0126, 0x44C3, {0x96, 0x52, 0xA9, 0xA8, 0x07, 0x60, 0x5D, 0xD9}};
  constexpr CLSID kCommand = {0x2D4A8E60, 0x9C31, 0x4C5F, {0xB1, 0x0D, 0x67, 0x33, 0x5B, 0x90, 0x4E, 0xC2}};
  AllResults() = std::move(results);
  Provide(L"ADODB.Command", kCommand, [] { return com::WrapObject(std::make_shared<Command>()); });
  Provide(L"ADODB.Connection", kConnection, [] { return com::WrapObject(std::make_shared<Connection>()); });
  Provide(L"ADODB.Recordset", kRecordset,
          [] { return com::ComPointer<IDispatch>::Taking(new RecordsetDispatch); });
}

}  // namespace scripthost
