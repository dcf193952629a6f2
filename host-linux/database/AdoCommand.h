// ADODB.Command: a statement with parameters. "?" in its text takes the values in their order, ":name" takes the one
// of that name. Values travel to the engine beside the text and never become a part of it.
#pragma once

#include "host-linux/database/AdoConnection.h"
#include "host-linux/database/AdoParameters.h"

namespace hostlinux {

class AdoCommand : public varnel::Object {
 public:
  explicit AdoCommand(std::shared_ptr<AdoDatabase> database);
  const varnel::ClassInfo& Class() const override;
  void LetGo() noexcept override;

  varnel::Variant ActiveConnection() { return varnel::ObjectPtr(m_connection); }
  // A text makes a connection of the command's own. Raises 3001 for another object than a connection.
  void SetActiveConnection(const varnel::Variant& connection);
  varnel::String CommandText() { return m_text; }
  void SetCommandText(const varnel::String& text) { m_text = text; }
  // 1 a statement, 2 the name of a table whose rows are wanted, 8 the same as 1. Raises 3001 for another one.
  varnel::Long CommandType() { return m_type; }
  void SetCommandType(varnel::Long type);
  // Seconds; 0 waits without end, up to the site's cap.
  varnel::Long CommandTimeout() { return m_timeout; }
  void SetCommandTimeout(varnel::Long seconds) { m_timeout = seconds; }
  // Kept and given back: the engine keeps its prepared statements anyway.
  bool Prepared() { return m_prepared; }
  void SetPrepared(bool prepared) { m_prepared = prepared; }
  std::shared_ptr<AdoParameters> Parameters() { return m_parameters; }

  // A new parameter, which isn't one of the command before it is appended. Raises as its setters do. A left-out
  // value is none yet.
  std::shared_ptr<AdoParameter> CreateParameter(const varnel::String& name, varnel::Long type,
                                                varnel::Long direction, varnel::Long size,
                                                const varnel::Variant& value);
  // Runs the statement; `affected` becomes the number of rows that it changed, -1 for a query. `values`, an array
  // or a single value, takes the place of the first parameters' values in this run. Raises 3709 without an open
  // connection, 3421 for a value that isn't of its parameter's type, and the provider's error.
  std::shared_ptr<AdoRecordset> Execute(varnel::Variant& affected, const varnel::Variant& values,
                                        varnel::Long options);

  // For a recordset that opens the command.
  varnel::String Statement() const;
  varnel::host::StatementParameters Values() const;

 private:
  varnel::host::StatementParameters ValuesWith(const varnel::Variant& values) const;

  std::shared_ptr<AdoDatabase> m_database;
  std::shared_ptr<AdoConnection> m_connection;
  std::shared_ptr<AdoParameters> m_parameters = std::make_shared<AdoParameters>();
  varnel::String m_text;
  varnel::Long m_type = 8;
  varnel::Long m_timeout = 30;
  bool m_prepared = false;
};

}  // namespace hostlinux
