// ADODB.Recordset. Rows are read in batches: the first when it is opened, the others when they are needed, by
// the member that needs them. Up to the last one the statement stands open in the database, as long as the
// recordset is open. A forward-only recordset lets go of the rows that it has left behind, all others keep
// theirs. A client-side one with MaxRecords is read whole at once.
#pragma once

#include "host-linux/database/AdoConnection.h"
#include "host-linux/database/AdoFields.h"

namespace hostlinux {

class AdoRecordset : public varnel::Object,
                     public varnel::host::IRecordset,
                     public varnel::host::IPageRecordset {
 public:
  explicit AdoRecordset(std::shared_ptr<AdoDatabase> database);
  AdoRecordset(const AdoRecordset&) = delete;
  AdoRecordset& operator=(const AdoRecordset&) = delete;
  ~AdoRecordset() override { m_rowset->EndReading(); }
  const varnel::ClassInfo& Class() const override;
  void LetGo() noexcept override;

  // 0 forward only, 1 keyset, 2 dynamic, 3 static.
  void SetCursorType(varnel::Long type) override { m_cursorType = type; }
  varnel::Long CursorType() const override { return m_cursorType; }
  varnel::Long CursorLocation() { return m_cursorLocation; }
  void SetCursorLocation(varnel::Long location) override { m_cursorLocation = location; }
  varnel::Long LockType() { return m_lockType; }
  void SetLockType(varnel::Long type) override { m_lockType = type; }
  // The most rows that a statement gives, 0 for all. A negative number, which a 16-bit sum may have become,
  // counts by its absolute value.
  void SetMaxRecords(varnel::Long count) override;
  varnel::Long MaxRecords() const override { return m_maxRecords; }
  // Kept and given back, 1 instead of 0; a negative number as above.
  void SetCacheSize(varnel::Long count) override;
  varnel::Long CacheSize() { return m_cacheSize; }
  varnel::Long State() { return m_rowset->IsOpen() ? 1 : 0; }
  void SetParameters(const varnel::host::StatementParameters& parameters) override {
    m_parameters = parameters;
  }

  // Raises 3705 when open, 3709 without an open connection, and the provider's error. The recordset is closed
  // again when the statement returns no rows.
  void Open(const varnel::String& sql, const std::shared_ptr<varnel::host::IConnection>& connection,
            varnel::Long cursorType, varnel::Long lockType, varnel::Long options) override;
  void OpenPage(const varnel::String& sql, const varnel::host::PageSpec& page,
                const std::shared_ptr<varnel::host::IConnection>& connection) override;
  varnel::Long CountRows(const varnel::String& sql,
                         const std::shared_ptr<varnel::host::IConnection>& connection) override;
  std::optional<varnel::Long> EstimateRows(
      const varnel::String& sql, const std::shared_ptr<varnel::host::IConnection>& connection) override;
  // For scripts: every argument may be left out. Without source and connection, a recordset with appended
  // fields opens empty. A text as connection makes a connection of its own. A Command as source gives its text,
  // its parameters and its connection.
  void OpenWith(const varnel::Variant& source, const varnel::Variant& connection, varnel::Long cursorType,
                varnel::Long lockType, varnel::Long options);
  // Takes over what a statement returned.
  void TakeResult(const varnel::String& sql, StatementResult result,
                  std::shared_ptr<AdoConnection> connection);

  varnel::Variant ActiveConnection();
  // All rows are read before an open recordset changes its connection.
  void SetActiveConnection(const varnel::Variant& connection);
  std::shared_ptr<varnel::host::IConnection> GetActiveConnection() const override { return m_connection; }
  // Rows that are counted are counted now; they go on being read when they are needed.
  void DetachConnection() override;

  bool IsEOF() const override;
  bool IsBOF();
  varnel::Long FieldCount() const override;
  varnel::String FieldName(varnel::Long position) const override;
  varnel::Integer FieldType(varnel::Long position) const override;
  varnel::Variant FieldValue(varnel::Long position) const override;
  std::shared_ptr<AdoFields> Fields();
  std::shared_ptr<AdoField> Item(const varnel::Variant& key) { return Fields()->Item(key); }

  varnel::host::RowBlock GetRows() override;
  // An array of columns, each an array of its values, of at most `count` rows (-1: all). Raises 3021 at the
  // end.
  varnel::Variant GetRowArrays(varnel::Long count);
  void MoveNext() override;
  // 3219 in a forward-only recordset.
  void MovePrevious();
  // A forward-only recordset that has let go of its first rows runs its statement again; 3219 where it has no
  // open connection any more.
  void MoveFirst();
  void MoveLast();
  // Exact for keyset, static, client-side and made recordsets, else -1. Where rows are still to be read, the
  // engine counts; it reads them only where it can't count without.
  varnel::Long RecordCount() const override;
  // A made recordset loses its rows and keeps no fields. Raises 3704 when closed.
  void Close() override;

  // Recordsets made by hand only: 3251 otherwise.
  void AddNew();
  void Update();

 private:
  void Require(bool open) const;
  void RequireCurrent() const;
  void RequireMade() const;
  void Replace(Rowset rowset);
  bool IsForwardOnly() const;
  bool IsCounted() const;
  // All rows at once where that isn't much: a client-side recordset with MaxRecords.
  StatementResult RunSource(AdoConnection& connection, const varnel::host::PageSpec* page = nullptr) const;
  void RunAgain();
  const ResultColumn& Column(varnel::Long position) const;
  std::shared_ptr<AdoConnection> ConnectionFrom(const varnel::Variant& value);
  static std::shared_ptr<AdoConnection> OpenConnection(
      const std::shared_ptr<varnel::host::IConnection>& connection);

  std::shared_ptr<AdoDatabase> m_database;
  std::shared_ptr<AdoConnection> m_connection;
  std::shared_ptr<Rowset> m_rowset;
  std::shared_ptr<AdoFields> m_fields;  // of m_rowset; made when first asked for
  varnel::String m_source;
  varnel::host::StatementParameters m_parameters;
  varnel::Long m_cursorType = varnel::host::ado::kOpenForwardOnly;
  varnel::Long m_cursorLocation = varnel::host::ado::kUseServer;
  varnel::Long m_lockType = varnel::host::ado::kLockReadOnly;
  varnel::Long m_maxRecords = 0;
  varnel::Long m_cacheSize = 1;
};

}  // namespace hostlinux
