// A database as pages have it, whatever engine or host is behind it.
#pragma once

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/host/Ado.h"

class DatabaseUnderTest {
 public:
  using ConnectionPtr = std::shared_ptr<varnel::host::IConnection>;
  using RecordsetPtr = std::shared_ptr<varnel::host::IRecordset>;

  DatabaseUnderTest() = default;
  DatabaseUnderTest(const DatabaseUnderTest&) = delete;
  DatabaseUnderTest& operator=(const DatabaseUnderTest&) = delete;
  virtual ~DatabaseUnderTest() = default;

  // Closed ones.
  virtual ConnectionPtr NewConnection() = 0;
  virtual RecordsetPtr NewRecordset() = 0;
  // Its connection string with `more` keys.
  varnel::String Text(const varnel::String& more = {}) const {
    return Base() + (more.empty() ? u"" : u";" + more);
  }

  ConnectionPtr Connect(const varnel::String& more = {}) {
    auto connection = NewConnection();
    connection->Open(Text(more), u"", u"", -1);
    return connection;
  }
  // A connection that stays open, and what is done on it.
  const ConnectionPtr& Connection() {
    if (m_connection == nullptr) m_connection = Connect();
    return m_connection;
  }
  void Run(const varnel::String& sql) { Connection()->Execute(sql, -1); }
  RecordsetPtr Query(const varnel::String& sql) {
    auto recordset = NewRecordset();
    recordset->Open(sql, Connection(), varnel::host::ado::kOpenStatic, varnel::host::ado::kLockReadOnly, -1);
    return recordset;
  }
  std::string Rows(const varnel::String& sql) { return RowsOf(*Query(sql)); }

  // Rows from the current one on, their values as text: rows with ";" and columns with "," between, Null as "-".
  static std::string RowsOf(varnel::host::IRecordset& recordset) {
    std::string text;
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      if (!text.empty()) text += ";";
      for (varnel::Long i = 0; i < recordset.FieldCount(); ++i)
        text += (i == 0 ? "" : ",") + TextOf(recordset.FieldValue(i));
    }
    return text;
  }
  static std::string TextOf(const varnel::Variant& value) {
    return value.IsNull() ? std::string("-") : varnel::ToUtf8(varnel::ToText(value));
  }

  // As scripts begin and end one; the library never does.
  static void BeginTrans(const ConnectionPtr& connection) { Call(connection, u"BeginTrans"); }
  static void CommitTrans(const ConnectionPtr& connection) { Call(connection, u"CommitTrans"); }
  static void RollbackTrans(const ConnectionPtr& connection) { Call(connection, u"RollbackTrans"); }

 protected:
  // To be called before what is behind it goes.
  void LetGo() { m_connection = nullptr; }

 private:
  virtual varnel::String Base() const = 0;
  static void Call(const ConnectionPtr& connection, varnel::StringView method) {
    dynamic_cast<varnel::Object&>(*connection).CallWith(method);
  }

  ConnectionPtr m_connection;
};
