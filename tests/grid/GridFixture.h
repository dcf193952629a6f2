// What the grid tests share: a page over a table of numbered rows, texts in words, and no style but the
// borders off.
#pragma once

#include <gmock/gmock.h>

#include "tests/recordset/RecordsetFixture.h"
#include "varnel/grid/DGrid.h"
#include "varnel/table/TableTypes.h"

namespace varnel {

using hostfake::ErrorOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// What stands around the rows of the grid's own table, and of the tables in its head.
inline const std::string kOpen =
    "\r\n<!-- Begin Varnel.Table Object -->\r\n<table  width=\"100%\"  border=\"0\" >\r\n";
inline const std::string kHeadOpen =
    "\r\n<!-- Begin Varnel.Table Object -->\r\n"
    "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"0\" border=\"0\" >\r\n";
inline const std::string kClose = "\r\n</table>\r\n<!--End Varnel.Table Object -->\r\n";

class GridTest : public RecordsetTest {
 protected:
  GridTest() {
    m_host.Application().Set(u"TableBorderWidth", u"0");
    m_host.Application().Set(u"TableTitleBorderWidth", u"0");
    m_host.InstallMessageManager();
    SetText(u"SLBGE0015", u"Records");
    SetText(u"SLBGE0016", u"[%CurrentRecord%] of [%RecordCount%]");
    SetText(u"SLBGE0017", u"No records");
    SetText(u"SLBGE0018", u"First");
    SetText(u"SLBGE0019", u"Previous");
    SetText(u"SLBGE0020", u"Next");
    SetText(u"SLBGE0021", u"Last");
    SetText(u"SLBGE0032", u"Sort");
    SetText(u"SLBGE0034", u"Up");
    SetText(u"SLBGE0035", u"Down");
    FillTable(5);
  }

  void SetText(StringView key, StringView text) { m_host.MessageManager().SetMessage(key, u"1033", text); }

  // Two rows a page, counting.
  std::shared_ptr<DRecordset> NewCounting(Integer pageSize = 2) {
    auto recordset = New(pageSize);
    recordset->SetRecCountON();
    return recordset;
  }

  std::shared_ptr<DGrid> Bind(const std::shared_ptr<DRecordset>& recordset, StringView title = u"Products",
                              bool formBased = false, const Variant& table = Missing()) {
    return CastObject<DGrid>(m_page->DGrid(recordset, String(title), formBased, table));
  }

  static void Col(DGrid& grid, StringView title, StringView sort = u"", Integer align = AlignDefault,
                  Integer valign = VAlignDefault, Integer span = 1) {
    grid.Col(String(title), String(sort), 0, align, valign, span);
  }

  static void Open(DRecordset& recordset) { recordset.OpenRS(String(kListQuery), u"id"); }

  static void FillRows(DGrid& grid, DRecordset& recordset) {
    for (; !recordset.IsEOF(); recordset.MoveNext()) {
      for (const StringView name : {u"id", u"name"}) {
        Variant key{String(name)};
        grid.Cell(recordset.GetDefault(key)->Value);
      }
    }
  }

  static std::string HtmlOf(DGrid& grid) { return ToUtf8(grid.GetFinishedHTML()); }

  void Post(StringView field, StringView value) {
    m_host.Request().Variables().Set(u"REQUEST_METHOD", u"POST");
    m_host.Request().Fields().Set(field, value);
  }

  // An image button that was clicked, with the state in the field beside it.
  void Press(StringView button, StringView state) {
    Post(String(button) + u".x", u"7");
    Post(String(button) + u".y", u"3");
    Post(String(button) + u"d", state);
  }
};

}  // namespace varnel
