// What `Page` knows of the components that it makes. Table, DRecordset, DGrid and List implement these, so that
// `page` includes none of them.
#pragma once

#include <memory>

#include "varnel/automation/Object.h"
#include "varnel/host/Ado.h"
#include "varnel/host/Intrinsics.h"

namespace varnel {

class Page;

class ITable {
 public:
  virtual ~ITable() = default;
  // Binds a new table to its page and loads its style.
  virtual void InitFromPage(const std::shared_ptr<Page>& iPage) = 0;
  // The finished HTML of the table.
  virtual String GetHTML() = 0;
  // The same inside of `iDepth` other tables.
  virtual String GetNestedHTML(int /*iDepth*/) { return GetHTML(); }
};

class IDRecordset {
 public:
  virtual ~IDRecordset() = default;
  // `iRecordsetID` counts the recordsets of the page from 1; its character names the recordset ("R_1").
  virtual void Initialize(const std::shared_ptr<Page>& iPage, Integer iRecordsetID,
                          const std::shared_ptr<host::IConnection>& iConnection) = 0;
};

class IDGrid {
 public:
  virtual ~IDGrid() = default;
  // Binds a new grid to what it draws and what it draws into; `iTable` is null for a table of its own.
  virtual void BindFromPage(const std::shared_ptr<Page>& iPage,
                            const std::shared_ptr<IDRecordset>& iRecordset, const String& iTitle,
                            bool iFormBased, const ObjectPtr& iTable) = 0;
  // The finished HTML of the grid.
  virtual String GetFinishedHTML() = 0;
};

// What a page gives a list that it makes.
struct ListBinding {
  std::shared_ptr<Page> page;
  Integer number = 0;  // counts the lists of the page from 1, and names the list ("L1")
  std::shared_ptr<host::IConnection> connection;
  String title;
  String query;
  String keys;
};

class IList {
 public:
  virtual ~IList() = default;
  // Binds a new list to what it reads.
  virtual void BindFromPage(const ListBinding& binding) = 0;
  // Reads the list and writes it; may write another answer in the page's place, and end the page.
  virtual void WriteInto(host::IResponse& response) = 0;
};

}  // namespace varnel
