// Reads exactly one page of any sorted SQL query by keyset paging, and makes the texts and URLs that lead to
// its other pages. No server cursor and nothing kept on the server: the position travels as a state text
// (docs/formats/state-text.md).
//
// Order of use: Initialize; SetPageSize, SetDefaultSortFields, SetRecCountON, SetPageJump, SetState as
// wanted; OpenRS; then the rows and the navigation. A recordset serves one request and is opened once.
//
// Where the host guards its lists (varnel/host/IStateGuard.h), a state text that came from outside is judged
// before it is used, a bad one ends the page, and every state that leaves may carry a seal.
//
// Failures of its own have the source "Varnel.DRecordset" and the operation's name in front of the text:
// number -1 where an operation isn't allowed on an open recordset, -2 where it is allowed on an open one
// only.
#pragma once

#include "varnel/host/Intrinsics.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Page.h"
#include "varnel/recordset/DFields.h"
#include "varnel/recordset/NavigationStates.h"
#include "varnel/recordset/PageQuery.h"
#include "varnel/recordset/PageWindow.h"
#include "varnel/recordset/ReadMending.h"

namespace varnel {

// The fields that `Initialize` sets back.
struct DRecordsetFields {
  std::shared_ptr<Page> m_oPage;
  std::shared_ptr<host::IObjectContext> m_oContext;
  std::shared_ptr<host::IServer> m_oServer;
  std::shared_ptr<host::IRequest> m_oRequest;
  bool m_bOpen = false;
  String m_sName;
  std::shared_ptr<host::IConnection> m_oConnection;
  Integer m_iPageSize = 0;
  bool m_bPageJump = false;
  Integer m_iDisplayablePages = 0;
  WindowMove m_Jump;          // the window must move to the left, to the right
  bool m_bPageState = false;  // SetPageState has run
  bool m_bDoubleTop = false;  // this read used the nested form
  std::shared_ptr<DFields> m_oFields;
  std::vector<std::shared_ptr<DField>> m_vFields;  // the same, in column order
  host::RowBlock m_vRows;
  Integer m_iLastRow = 0;
  Integer m_iCurrentRow = 0;
  PersistedState m_State;
  String m_sDefaultSortFields;
  bool m_bRecCount = false;
  NavigationTexts m_Texts;
  bool m_bStateFromUrl = false;
  String m_sBaseUrl;
  bool m_bDefaultSortReversed = false;
  String m_sOutsideState;                // the text that m_State was read from; empty for a state made here
  std::vector<String> m_vDeclaredSorts;  // sort texts that the page itself has named
  host::StatementParameters m_Parameters;
};

// ProgID "Varnel.DRecordset". Without `Initialize` every field is zero, empty or Nothing, the page size too,
// and no state is looked for in the request.
class DRecordset : public Object, public IDRecordset, private DRecordsetFields {
 public:
  DRecordset();
  const ClassInfo& Class() const override;
  void LetGo() noexcept override;

  // Binds the recordset to its page, which may be Nothing, and to the running request. The name, "R_" and the
  // character 48 + `iRecordsetID`, is the URL parameter of its state. Raises 91 outside of a request.
  void Initialize(const std::shared_ptr<Page>& iPage, Integer iRecordsetID,
                  const std::shared_ptr<host::IConnection>& iConnection) override;
  // Opens a connection of its own. Raises what the database raises; the one it had then stays.
  void SetConnection(const String& i_sConnectionString);

  // The state for the next `OpenRS`; empty: the first page in the default order. Raises what a damaged text
  // raises (StateText.h), and keeps the earlier state then. Only while closed.
  void SetState(const String& iPersistedStateInfo);
  // The default sort, where it applies, is read the other way around.
  void SetDefaultSortReversed(bool iSortReversed);
  // The state of the read that was done, as mended. Only while open.
  String GetState();

  // A sort text that the page itself offers: a state may ask for it, whatever it says.
  void DeclareSort(const String& iSortFields);
  // Ends the page where its state came from outside and somebody guards the list; returns otherwise.
  void RefuseState(const String& iReason) const;

  // 0 if the page isn't sorted by `iSortFields` (in any case of letters), -1 if reversed, else 1.
  Integer GetCurrentSortOrder(const String& iSortFields);
  // The first page sorted by `iSortFields`; reversed if the page already is sorted so, and not reversed.
  String GetStateSorted(const String& iSortFields);
  // State texts of the neighbouring pages; empty where there is none.
  String GetStateFirst();
  String GetStatePrev();
  String GetStateNext();
  String GetStateLast();
  // The same as URLs of the running page. They need a page: 91 without one.
  String GetUrlSorted(const String& iSortFields);
  String GetUrlFirst();
  String GetUrlPrev();
  String GetUrlNext();
  String GetUrlLast();

  // Rows per page, 10 at first. Any number is taken; only while closed.
  void SetPageSize(Integer iPageSize);
  Integer GetPageSize();
  // Whether `OpenRS` counts the query's rows where the state doesn't know their number.
  void SetRecCountON();
  void SetRecCountOFF();
  bool GetIsRecCountON();
  // -1 while unknown; a lower bound while counting is off.
  Long GetTotalNumberOfRecords();
  Long GetRecordNumberForFirstRecordOnPage();
  Long GetRecordNumberForLastRecordOnPage();
  bool IsOpen();
  // The sort of a state that has none, as "name DESC, id". Setting it only while closed.
  void SetDefaultSortFields(const String& iSortFields);
  String GetDefaultSortFields();

  // The value of `:iName` in the query, for its count and all its reads; a second one takes the first one's place.
  // It travels beside the text: what it says never becomes SQL. Names are of letters, digits and "_", in any case
  // of letters. Raises 5 for another name, and for what is no value (host::ToParameterValue). Only while closed.
  void SetParameter(const String& iName, const Variant& iValue);

  // Reads one page of `iQuery`. `iPrimaryKeyFields` names the key columns, separated by commas; every sort
  // and key column must be in the query's select list. Without a state the request's is taken. Raises -2
  // without a key field, the database's failures with the SQL text, and the not-found failure of
  // `DFields.Item`; the recordset stays closed then.
  void OpenRS(const String& iQuery, const String& iPrimaryKeyFields);

  // The field of that name or position from 0. Raises -1 where no row was read.
  std::shared_ptr<DField> GetDefault(Variant& iIndexOrKey);
  const ObjectPtr* KeptItem(StringView iName) const override;
  std::shared_ptr<DFields> Fields();  // Nothing where no row was read
  bool IsEOF();
  void MoveNext();
  // Goes to the first row without loading it: the fields keep their values until the next `MoveNext`.
  void MoveFirst();
  Variant GetRecordsetName();
  // Fills the closed recordset object `oRecordset`, by name, with the page's rows as text columns; Nothing
  // goes into it where there is no row.
  void GetDataAsRecordSet(Variant& oRecordset);

  Long m_lDisplayPage = 0;    // number of the page shown, from 1
  Long m_lTotalPages = 0;     // only with page jump
  Long m_leftPageNumber = 0;  // the window of page links, both ends inclusive
  Long m_rightPageNumber = 0;

  // Page numbers are kept, in a window of `lDisplayablePages` numbers.
  void SetPageJump(bool& bPageJump, Integer& lDisplayablePages);
  bool GetPageJump();
  // A state and the number of the page to go to from there. Raises 11 for a page size of 0. Only while
  // closed.
  void SetPageState(const String& iPersistedStateInfo, Long lPosition);
  // Base texts of page links, and the text that repeats this read.
  String GetStatePrevPage();
  String GetStateNextPage();
  // The link to page `lPosition`: negative if it lies to the left of this page; positive afterwards.
  String GetUrlForPage(Long& lPosition);
  String GetCurrentState();

 private:
  void RequireClosed(StringView iOperation) const;
  void RequireOpen(StringView iOperation) const;

  // DRecordset_Guard.cpp
  host::IStateGuard* GuardOfState() const;
  String Leaving(const String& iState) const;
  bool SortIsDeclared() const;
  PersistedState ReadState(const String& iText) const;
  void AdmitState(const std::vector<String>& iBranches, const std::vector<SortField>& iFields);
  void OpenRead(host::IRecordset& ioRecordset, const PageQuery& iQuery,
                const std::vector<SortField>& iFields);

  // DRecordset_State.cpp
  void TakeDefaultState();
  void TakeDefaultSort();
  void ShowPageOfState();
  void JumpTo(Long iPosition);
  void SkipPages();
  void TakeStateFromRequest();
  String StateOfForm();
  String GetSubmittedState();

  // DRecordset_Open.cpp
  std::shared_ptr<host::IRecordset> NewRecordset() const;
  Long GetStoredRecordCount() const;
  void CountAllBranches(const std::vector<String>& iBranches, host::IRecordset& ioRecordset);
  bool ReadPage(std::vector<String>& ioBranches, std::vector<SortField>& ioFields,
                host::IRecordset& ioRecordset);
  PageTop NextTop() const;
  void LimitLastPage(host::IRecordset& ioRecordset) const;
  void TakeRows(host::IRecordset& ioRecordset);
  void MakeFields(const host::IRecordset& iRecordset);
  void NumberRecords();
  void PutRowsInOrder(bool iOneBranch);
  void MovePageNumbers();

  // DRecordset_Navigation.cpp
  PageShown PageJustRead(const std::vector<SortField>& iFields);
  String BuildBaseUrl();
  String StateOf(StringView iOperation, String NavigationTexts::*iText) const;
  String UrlOf(StringView iOperation, String NavigationTexts::*iText);
  String UrlOf(const String& iState);
  String SortedState(const String& iSortFields) const;
  Integer SortOrder(const String& iSortFields) const;

  void LoadRow(Integer iRow);
  const Variant& BufferedValue(Long iColumn, Long iRow) const;
};

// A new recordset, not yet initialised.
ObjectPtr MakeDRecordset();

}  // namespace varnel
