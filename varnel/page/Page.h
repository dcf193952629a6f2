// The per-request context: binds the host's objects, owns the connection, makes the components and writes
// finished ones to the response.
#pragma once

#include <memory>

#include "varnel/automation/Object.h"
#include "varnel/host/IObjectControl.h"
#include "varnel/host/Intrinsics.h"
#include "varnel/host/Platform.h"
#include "varnel/page/Contracts.h"

namespace varnel {

// ProgID "Varnel.Page". One page serves one request, on that request's thread.
class Page : public Object, public host::IObjectControl {
 public:
  Page();
  ~Page() override;

  const ClassInfo& Class() const override;
  void LetGo() noexcept override;

  // Binds the host's objects of the running request, in place of the ones bound before, and puts the style
  // back to the plain one. Runs at construction; a second call does no harm.
  void Activate() override;
  void Deactivate() override;

  // Opens the connection whose text stands in Application(iConnectionName & "_ConnectionString"). The same
  // name again, compared exactly, keeps the connection that is open. Raises what the database raises; the
  // page then keeps the connection it had.
  void OpenDatabaseConnection(const String& iConnectionName);

  // Tables and grids made from now on use the style keys that begin with "EndUser".
  void SetEndUserStyle();

  // A new recordset on the page's connection; they are numbered 1, 2, 3. Raises -1 where no connection is
  // open.
  ObjectPtr DRecordset();
  // A new table in this page's style.
  ObjectPtr Table();
  // A new grid over `iRecordset`. `iTable` is the table to draw into; left out, or anything but a table, the
  // grid makes its own.
  ObjectPtr DGrid(const std::shared_ptr<IDRecordset>& iRecordset, const String& iTitle, bool iFormBased,
                  const Variant& iTable);

  // A new list of the rows of `iQuery` on the page's connection, titled `iTitle`; `iKeys` are the columns that together
  // tell a row, separated by commas. Lists are numbered 1, 2, 3. Raises -1 where no connection is open, 5 without a query
  // or a key.
  ObjectPtr List(const String& iTitle, const String& iQuery, const String& iKeys);

  // Writes a table, a grid or a list to the response, whole, with one write. Anything else writes an error line into
  // the page and raises nothing.
  void Add(const Variant& iPageComponent);

  // The host's URL encoding of `iValue`.
  String URLEncode(const String& iValue);

  // A link inside this site: the first segment of the running page's path, `iFileName` as it stands, and up
  // to six names and values, encoded. The last pair with a name ends the list. Raises 9 where the page's URL
  // has no slash. Example: for a page at /shop/list.asp, URL("y.asp", "a", "1 2") is "/shop/y.asp?a=1+2".
  String URL(const String& iFileName, const String& iPar1, const String& iVal1, const String& iPar2,
             const String& iVal2, const String& iPar3, const String& iVal3, const String& iPar4,
             const String& iVal4, const String& iPar5, const String& iVal5, const String& iPar6,
             const String& iVal6);

  // The text of `iKey` in the user's language; `iKey` & "-" & the language where the message manager has
  // none.
  String I18N(const String& iKey);

  // Recordsets without a state look for it in the form from now on; nothing sets it back.
  void SetDGridViaPost();
  bool GetDGridViaPost() const;

  // Asks for a page jump of at most `lMaxallowedpages` pages, 15 at most; below 1 turns it off.
  Variant ShowPageJump(Integer lMaxallowedpages);
  // Stores the count and the wish of `ShowPageJump` into the arguments.
  Variant GetPageJump(Integer& o_lMaxallowedpages, bool& o_bPageRequired);

  // What follows concerns sites that guard their lists (host::IStateGuard); elsewhere nothing happens, and
  // `SealState` gives its text back.
  //
  // Recordsets of this request may be sorted by exactly the text `iSortFields`, which may hold expressions.
  // Columns that the query shows need no leave, nor do the sorts of `DGrid.Col` and `SetDefaultSortFields`.
  void AllowSort(const String& iSortFields);
  // The state text `iState` as recordset `iRecordsetName` of page `iFile` takes it; the path begins below the
  // site's pages: "list.asp". Raises 5 for a text or a path that can't be one.
  // Example: page.SealState(rs.GetState(), "print.asp", "R_1").
  String SealState(const String& iState, const String& iFile, const String& iRecordsetName);
  // States that were made for page `iFile` are good here too. Raises 5 for a path that can't be one.
  void AcceptStatesOf(const String& iFile);

 private:
  ObjectPtr GetMessageManager();
  void BindUser();

  std::shared_ptr<host::IConnection> m_Connection;
  String m_sConnectionName;
  std::shared_ptr<host::IObjectContext> m_ObjectContext;
  std::shared_ptr<host::IServer> m_Server;
  std::shared_ptr<host::ISession> m_Session;
  std::shared_ptr<host::IApplication> m_Application;
  std::shared_ptr<host::IRequest> m_Request;
  std::shared_ptr<host::IResponse> m_Response;
  String m_sVirtualRoot;
  ObjectPtr m_MessageManager;
  String m_sLanguageID;
  bool m_bDGridViaPost = false;
  bool m_bShowPageJump = false;
  Integer m_iMaxAllowedPages = 0;
  Integer m_iLastRecordsetID = 0;
  Integer m_iLastListID = 0;
};

}  // namespace varnel
