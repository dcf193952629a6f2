#include "varnel/table/Table.h"

#include <algorithm>

#include "varnel/automation/Members.h"

namespace varnel {

namespace {

// What isn't configured adds nothing to a sum.
int ConfiguredOrZero(Integer iValue) { return iValue == -1 ? 0 : iValue; }

}  // namespace

const ClassInfo& Table::Class() const {
  static const ClassInfo info{
      u"Table",
      {
          Method<&Table::SetTableTypePlain>(u"SetTableTypePlain"),
          Method<&Table::SetTableTypeWizard>(u"SetTableTypeWizard"),
          Method<&Table::SetTableTypeProperty>(u"SetTableTypeProperty"),
          Method<&Table::SetTableTypeTitle>(u"SetTableTypeTitle"),
          Method<&Table::SkipCell>(u"SkipCell", {Integer{1}}).Taking(u"iNum"),
          Method<&Table::Cell>(u"Cell").Taking(u"iData"),
          Method<&Table::CellAt>(u"CellAt").Taking(u"iRow, iCol, iData"),
          Method<&Table::HeaderCell>(u"HeaderCell").Taking(u"iData"),
          Method<&Table::HeaderCellAt>(u"HeaderCellAt").Taking(u"iRow, iCol, iData"),
          Method<&Table::TitleCell>(u"TitleCell").Taking(u"iData"),
          Method<&Table::Title>(u"Title").Taking(u"iData"),
          Method<&Table::Deprecated_TableCellBegin>(u"Deprecated_TableCellBegin"),
          Method<&Table::Deprecated_TableCellEnd>(u"Deprecated_TableCellEnd"),
          Method<&Table::NewRow>(u"NewRow"),
          Method<&Table::SetTableBgImage>(u"SetTableBgImage").Taking(u"iBgImage"),
          Method<&Table::SetTableHeight>(u"SetTableHeight").Taking(u"iHeight"),
          Method<&Table::SetTableWidth>(u"SetTableWidth").Taking(u"iWidth"),
          Method<&Table::IncreaseTitleFontSize>(u"IncreaseTitleFontSize"),
          Method<&Table::SetNextCellColSpan>(u"SetNextCellColSpan").Taking(u"iColSpan"),
          Method<&Table::SetNextCellRowSpan>(u"SetNextCellRowSpan").Taking(u"iRowSpan"),
          Method<&Table::SetNextCellBgImage>(u"SetNextCellBgImage").Taking(u"iBgImage"),
          Method<&Table::SetNextCellBgColor>(u"SetNextCellBgColor").Taking(u"iBgColor"),
          Method<&Table::SetNextCellAlign>(u"SetNextCellAlign").Taking(u"iAlign"),
          Method<&Table::SetNextCellVAlign>(u"SetNextCellVAlign").Taking(u"iVAlign"),
          Method<&Table::SetNextCellNoWrap>(u"SetNextCellNoWrap"),
          Method<&Table::SetNextCellHeight>(u"SetNextCellHeight").Taking(u"iCellHeight"),
          Method<&Table::SetColWidth>(u"SetColWidth").Taking(u"iCol, iWidth"),
          Method<&Table::SetColAlign>(u"SetColAlign").Taking(u"iCol, iAlign"),
          Method<&Table::SetColVAlign>(u"SetColVAlign").Taking(u"iCol, iVAlign"),
          Method<&Table::SetAutoCellExtending>(u"SetAutoCellExtending").Taking(u"iAutoCellExtending"),
          Method<&Table::SetAlternateColor>(u"SetAlternateColor").Taking(u"i_bAlternateColor"),
          Method<&Table::HeaderCellInNormalCell>(u"HeaderCellInNormalCell").Taking(u"iData"),
      }};
  return info;
}

ObjectPtr MakeTable() { return std::make_shared<Table>(); }

void Table::InitFromPage(const std::shared_ptr<Page>& iPage) {
  m_Page = iPage;
  m_ObjectContext = host::GetObjectContext();
  if (m_ObjectContext == nullptr) {
    RaiseRuntimeError(runtime_error::kObjectNotSet, u"there is no object context");
  }
  m_Application = host::RequiredIntrinsic<host::IApplication>(*m_ObjectContext, u"Application");
  m_Response = host::RequiredIntrinsic<host::IResponse>(*m_ObjectContext, u"Response");
  m_aCells.Dimension();
  m_iLastRow = -1;
  m_iLastCol = -1;
  m_aColumns.Dimension();
  ResetNextCell();
  m_sBgImage.clear();
  m_sHeight.clear();
  m_iCurCol = 1;
  m_iCurRow = 1;
  m_Style = LoadTableStyle(*m_Application);
  m_iTableWidth = 100;
  m_bAutoCellExtending = true;
  m_bDirectMode = false;
  SetTableTypeProperty();
  m_bAlternateColor = false;
}

void Table::LetGo() noexcept {
  m_Page = nullptr;
  m_ObjectContext = nullptr;
  m_aCells = TableCells();
  m_iLastRow = -1;
  m_iLastCol = -1;
}

void Table::SetTableTypePlain() {
  m_eTableType = TableTypePlain;
  m_Style.BorderWidth = 0;
  m_Style.TitleFont.Color = m_Style.RowFont.Color;
  m_Style.HeadingFont.Color = m_Style.RowFont.Color;
  m_Style.TitleBgColor.clear();
  m_Style.HeadingBgColor.clear();
  m_Style.RowBgColor.clear();
  m_Style.RowBgColor2.clear();
  m_Style.RowBorderColor.clear();
  m_Style.TitleBorderWidth = -1;
}

void Table::SetTableTypeWizard() {
  m_eTableType = TableTypeWizard;
  m_Style.BorderWidth = 0;
  m_Style.CellSpacing = 0;
}

void Table::SetTableTypeProperty() { m_eTableType = TableTypeProperty; }

void Table::SetTableTypeTitle() {
  m_eTableType = TableTypeTitle;
  m_Style.BorderWidth = m_Style.TitleBorderWidth;
  m_Style.CellPadding =
      static_cast<Integer>(ConfiguredOrZero(m_Style.CellSpacing) + ConfiguredOrZero(m_Style.CellPadding));
  m_Style.CellSpacing = 0;
  m_Style.HeadingBgColor = m_Style.TitleBgColor;
  m_Style.RowBgColor = m_Style.TitleBgColor;
  m_Style.HeadingFont.Color = m_Style.TitleFont.Color;
  m_Style.RowFont.Color = m_Style.TitleFont.Color;
  m_iTableWidth = 100;
}

void Table::IncreaseTitleFontSize() {
  m_Style.TitleFont.Size = NumberText(ParseNumber(m_Style.TitleFont.Size) + 1);
}

void Table::SetTableBgImage(const String& iBgImage) { m_sBgImage = iBgImage; }
void Table::SetTableHeight(const String& iHeight) { m_sHeight = iHeight; }
void Table::SetTableWidth(Integer iWidth) { m_iTableWidth = iWidth; }
void Table::SetAutoCellExtending(bool iAutoCellExtending) { m_bAutoCellExtending = iAutoCellExtending; }
void Table::SetAlternateColor(bool& i_bAlternateColor) { m_bAlternateColor = i_bAlternateColor; }

void Table::SetNextCellColSpan(Integer iColSpan) { m_iNextColSpan = iColSpan; }
void Table::SetNextCellRowSpan(Integer iRowSpan) { m_iNextRowSpan = iRowSpan; }
void Table::SetNextCellBgImage(const String& iBgImage) { m_sNextBgImage = iBgImage; }
void Table::SetNextCellBgColor(const String& iBgColor) { m_sNextBgColor = iBgColor; }
void Table::SetNextCellAlign(Integer iAlign) { m_iNextAlign = iAlign; }
void Table::SetNextCellVAlign(Integer iVAlign) { m_iNextVAlign = iVAlign; }
void Table::SetNextCellNoWrap() { m_iNextFlags |= CellNoWrap; }
void Table::SetNextCellHeight(Integer iCellHeight) { m_iNextHeight = iCellHeight; }

TableColumn& Table::ColumnToSet(Integer iCol) {
  const int col = iCol - 1;
  m_aColumns.Ensure(col);
  return m_aColumns.At(col);
}

void Table::SetColWidth(Integer iCol, Integer iWidth) { ColumnToSet(iCol).Width = iWidth; }
void Table::SetColAlign(Integer iCol, Integer iAlign) { ColumnToSet(iCol).Align = iAlign + kAlignOffset; }
void Table::SetColVAlign(Integer iCol, Integer iVAlign) { ColumnToSet(iCol).VAlign = iVAlign + kAlignOffset; }

}  // namespace varnel
