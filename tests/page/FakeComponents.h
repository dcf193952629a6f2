// Stand-ins for the components that a page makes: they remember what the page hands to them.
#pragma once

#include <algorithm>

#include "host-fake/FakeHost.h"
#include "varnel/page/Contracts.h"
#include "varnel/page/Page.h"

namespace varnel::test {

class TableStandIn : public Object, public ITable {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Table", {}};
    return info;
  }
  void InitFromPage(const std::shared_ptr<Page>& iPage) override { page = iPage; }
  String GetHTML() override { return u"<table " + DecimalText(++htmlMade) + u">"; }

  std::shared_ptr<Page> page;
  int htmlMade = 0;
};

class RecordsetStandIn : public Object, public IDRecordset {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"DRecordset", {}};
    return info;
  }
  void Initialize(const std::shared_ptr<Page>& iPage, Integer iRecordsetID,
                  const std::shared_ptr<host::IConnection>& iConnection) override {
    page = iPage;
    id = iRecordsetID;
    connection = iConnection;
  }

  std::shared_ptr<Page> page;
  Integer id = 0;
  std::shared_ptr<host::IConnection> connection;
};

class GridStandIn : public Object, public IDGrid {
 public:
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"DGrid", {}};
    return info;
  }
  void BindFromPage(const std::shared_ptr<Page>& iPage, const std::shared_ptr<IDRecordset>& iRecordset,
                    const String& iTitle, bool iFormBased, const ObjectPtr& iTable) override {
    page = iPage;
    recordset = std::dynamic_pointer_cast<Object>(iRecordset);
    title = iTitle;
    formBased = iFormBased;
    table = iTable;
  }
  String GetFinishedHTML() override { return u"<grid>"; }

  std::shared_ptr<Page> page;
  ObjectPtr recordset;
  String title;
  bool formBased = false;
  ObjectPtr table;
};

// A host whose page makes these stand-ins.
struct PageHost : hostfake::FakeHost {
  PageHost() {
    Register(u"Varnel.Table", [] { return std::make_shared<TableStandIn>(); });
    Register(u"Varnel.DRecordset", [] { return std::make_shared<RecordsetStandIn>(); });
    Register(u"Varnel.DGrid", [] { return std::make_shared<GridStandIn>(); });
  }

  std::shared_ptr<varnel::Page> NewPage() { return Create<varnel::Page>(u"Varnel.Page"); }

  // How often the trace has exactly this line.
  std::ptrdiff_t Asked(const std::string& line) {
    const auto& lines = Trace().Lines();
    return std::count(lines.begin(), lines.end(), line);
  }
};

}  // namespace varnel::test
