#include "varnel/grid/DGrid.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "varnel/automation/Members.h"
#include "varnel/recordset/PostedState.h"
#include "varnel/recordset/Required.h"

namespace varnel {

namespace {

// The index of the next column while the head isn't written: no grid has as many columns.
constexpr Integer kHeadNotWritten = 32767;

constexpr Integer kFirstColumns = 10;
constexpr Integer kButtons = 4;

constexpr Integer kAlignDefault = -2;

String ButtonName(const String& iRecordset, int iNumber) { return iRecordset + DecimalText(iNumber); }

// The number that a text begins with; blanks don't count, and a text that begins with none gives 0. One
// beyond a Double is infinite.
double LeadingNumber(const String& iText) {
  std::string text = ToUtf8(iText);
  std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; });
  if (text.starts_with("+")) text.erase(0, 1);
  const std::size_t digits = text.starts_with("-") ? 1 : 0;
  // Words such as "inf" are numbers to the reader of texts, but not to a form.
  if (text.find_first_of("0123456789.", digits) != digits) return 0;
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  // Only the other reader tells too large from too small.
  return result.ec == std::errc::result_out_of_range ? std::strtod(text.c_str(), nullptr) : value;
}

// A number that no page has is an overflow; where somebody guards the list, it ends the page.
Long PostedPage(const String& iText) {
  try {
    return RoundToLong(LeadingNumber(iText));
  } catch (const Error&) {
    if (host::IStateGuard* guard = host::StateGuard()) guard->Refuse(u"an overflowing page number");
    throw;
  }
}

}  // namespace

ObjectPtr MakeDGrid() { return std::make_shared<DGrid>(); }

const ClassInfo& DGrid::Class() const {
  static const ClassInfo info{
      u"DGrid",
      {
          Method<&DGrid::Col>(u"Col", {u"", Integer{0}, kAlignDefault, kAlignDefault, Integer{1}})
              .Taking(u"iColTitle, iSortFields, iWidth, iAlign, iVAlign, iColSpan"),
          Method<&DGrid::SkipCell>(u"SkipCell"),
          Method<&DGrid::Cell>(u"Cell").Taking(u"iData"),
          Method<&DGrid::ShowPageJump>(u"ShowPageJump")
              .Taking(u"lMaxpagesdisplayed, lMaxallowedpages, i_sFormName"),
          Method<&DGrid::ShowPageJumpFromDRecordset>(u"ShowPageJumpFromDRecordset").Taking(u"i_sFormName"),
          Method<&DGrid::ShowAlternateColors>(u"ShowAlternateColors"),
          Method<&DGrid::GetCurrentState>(u"GetCurrentState"),
      }};
  return info;
}

void DGrid::LetGo() noexcept {
  m_Page = nullptr;
  m_ObjectContext = nullptr;
  m_Recordset = nullptr;
  m_Table = nullptr;
}

void DGrid::BindFromPage(const std::shared_ptr<Page>& iPage, const std::shared_ptr<IDRecordset>& iRecordset,
                         const String& iTitle, bool iFormBased, const ObjectPtr& iTable) {
  m_Page = iPage;
  m_ObjectContext = host::GetObjectContext();
  if (m_ObjectContext == nullptr)
    RaiseRuntimeError(runtime_error::kObjectNotSet, u"there is no object context");
  m_Application = CastObject<host::IApplication>(m_ObjectContext->Item(u"Application"));
  m_Request = CastObject<host::IRequest>(m_ObjectContext->Item(u"Request"));
  m_Recordset = std::dynamic_pointer_cast<DRecordset>(iRecordset);
  m_sRecordsetName = ToText(Required(m_Recordset).GetRecordsetName());
  m_sTitle = iTitle;
  m_Table = CastObject<Table>(iTable == nullptr ? m_Page->Table() : iTable);
  m_Style = LoadGridStyle(Required(m_Application));
  m_bFormBased = iFormBased;
  m_aColumns.assign(kFirstColumns, {});
  m_iColCount = 0;
  m_iCurrentCol = kHeadNotWritten;
  m_bStateTaken = false;
  m_bDefaultSortSet = !m_Recordset->GetDefaultSortFields().empty();
  m_iMaxPages = -1;
  m_bShowPageJump = false;
  m_sFormName.clear();
  m_bAlternateColors = false;
  // A state can't be put into a recordset that is open.
  if (m_bFormBased && !m_Recordset->IsOpen()) TakePostedState();
}

// A pressed button of the bar, or else what the page itself submits, tells the recordset's next read.
void DGrid::TakePostedState() {
  for (int i = 0; i < kButtons; ++i) {
    const String state = GetPostedState(ButtonName(m_sRecordsetName, i));
    if (!state.empty()) return m_Recordset->SetState(state);
  }
  const String state = GetSubmittedState();
  if (!state.empty()) m_Recordset->SetState(state);
}

String DGrid::FormText(const String& iKey) const { return ToText(Required(m_Request).Form().Value(iKey)); }

String DGrid::GetPostedState(const String& iKey) const {
  return PostedState(Required(m_Request).Form(), iKey);
}

// The recordset has a search of the same name, which on a post wants CHOWC to be "1"; here any text will do.
String DGrid::GetSubmittedState() const {
  host::IRequest& request = Required(m_Request);
  const bool posted = request.ServerVariables().Value(u"REQUEST_METHOD") == Variant(u"POST");
  const host::IRequestCollection& fields = posted ? request.Form() : request.QueryString();
  return ToText(fields.Value(u"CHOWC")).empty() ? String() : ToText(fields.Value(u"CTATEC"));
}

void DGrid::EnsureColumnCapacity(Integer iColumn) {
  const int last = static_cast<int>(m_aColumns.size()) - 1;
  if (iColumn > last)
    m_aColumns.resize(m_aColumns.size() + static_cast<std::size_t>((iColumn - last + 9) / 10 * 10));
}

void DGrid::Col(const String& iColTitle, const String& iSortFields, Integer iWidth, Integer iAlign,
                Integer iVAlign, Integer iColSpan) {
  DRecordset& recordset = Required(m_Recordset);
  const Integer i = m_iColCount;
  if (i < 0) RaiseRuntimeError(runtime_error::kSubscript);  // the count of columns has wrapped
  EnsureColumnCapacity(i);
  m_aColumns[static_cast<std::size_t>(i)] = {iColTitle, iSortFields, iColSpan, iAlign};
  if (!iSortFields.empty()) {
    recordset.DeclareSort(iSortFields);
    if (m_bFormBased && !m_bStateTaken) {
      const String state = GetPostedState(ButtonName(m_sRecordsetName, i + kButtons));
      if (!state.empty()) recordset.SetState(state);
    }
    if (!m_bDefaultSortSet) {
      recordset.SetDefaultSortFields(iSortFields);
      m_bDefaultSortSet = true;
    }
  }
  m_iColCount = static_cast<Integer>(i + 1);
  if (iWidth != 0) m_Table->SetColWidth(m_iColCount, iWidth);
  if (iAlign != kAlignDefault) m_Table->SetColAlign(m_iColCount, iAlign);
  // The align goes there: the vertical alignment only decides whether the call is made.
  if (iVAlign != kAlignDefault) m_Table->SetColVAlign(m_iColCount, iAlign);
}

void DGrid::BeginCell() {
  RequireBound();
  if (m_iCurrentCol < m_iColCount) return;
  if (m_iCurrentCol == kHeadNotWritten) WriteGridHead();
  m_Table->NewRow();
  m_iCurrentCol = 0;
}

void DGrid::SkipCell() {
  BeginCell();
  m_Table->SkipCell(m_aColumns[static_cast<std::size_t>(m_iCurrentCol)].ColSpan);
  m_iCurrentCol = static_cast<Integer>(m_iCurrentCol + 1);
}

void DGrid::Cell(const Variant& iData) {
  BeginCell();
  m_Table->SetNextCellColSpan(m_aColumns[static_cast<std::size_t>(m_iCurrentCol)].ColSpan);
  m_Table->Cell(iData);
  m_iCurrentCol = static_cast<Integer>(m_iCurrentCol + 1);
}

void DGrid::ShowAlternateColors() { m_bAlternateColors = true; }

String DGrid::GetCurrentState() { return Required(m_Recordset).GetCurrentState(); }

// A script can make a grid by its class name, but only a page can bind one.
void DGrid::RequireBound() const { Required(m_Table); }

String DGrid::GetFinishedHTML() {
  RequireBound();
  if (m_iCurrentCol == kHeadNotWritten) {
    WriteGridHead();
    m_Table->NewRow();
    m_iCurrentCol = 0;
    Cell(u"");
  }
  return m_Table->GetHTML();
}

void DGrid::ShowPageJump(Integer& lMaxpagesdisplayed, Integer& lMaxallowedpages, const String& i_sFormName) {
  RequireBound();
  m_iMaxPages = -1;
  if (lMaxpagesdisplayed > 0) {
    m_iMaxPages = std::min(lMaxpagesdisplayed, lMaxallowedpages);
    bool wanted = true;
    m_Recordset->SetPageJump(wanted, m_iMaxPages);
    m_bShowPageJump = true;
  }
  m_sFormName = i_sFormName;
  if (!m_bFormBased || m_Recordset->IsOpen()) return;
  const PageJumpRequest request = GetPageJumpRequest(m_sRecordsetName + u"_j");
  if (!request.state.empty()) m_Recordset->SetPageState(request.state, request.position);
}

void DGrid::ShowPageJumpFromDRecordset(const String& i_sFormName) {
  m_bShowPageJump = true;
  m_sFormName = i_sFormName;
}

// The sign of the posted number tells the side of the page it was posted from, and so the state to walk from.
DGrid::PageJumpRequest DGrid::GetPageJumpRequest(const String& iName) const {
  const String posted = Trim(FormText(iName + u"v"));
  if (posted.empty()) return {};
  const Long page = PostedPage(posted);
  return {FormText(iName + (page > 0 ? u"n" : u"p")), RoundToLong(std::fabs(page))};
}

}  // namespace varnel
