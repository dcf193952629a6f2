// What page scripts and tests find, for editors. Made from the member tables; it does nothing by itself.

declare namespace Varnel {
  /** The context of one request; made by `Server.CreateObject("Varnel.Page")`. It owns the connection, makes the other components and writes them into the response. */
  interface Page {
    /** Opens the connection whose text stands in the application's value `name` + `_ConnectionString`. The same name again keeps the open one. */
    OpenDatabaseConnection(name: any): any;
    /** Tables and grids made from now on take the style keys that begin with `EndUser`. */
    SetEndUserStyle(): any;
    /** A new recordset on the page's connection. Error -1 where none is open. */
    DRecordset(): DRecordset;
    /** A new table in the page's style. */
    Table(): Table;
    /** A new grid over a recordset. Form-based it navigates by form fields instead of links; `table` is one to draw into. */
    DGrid(recordset: any, title: any, formBased?: any, table?: any): DGrid;
    /** Writes a table, a grid or a list into the response. Anything else writes an error line. */
    Add(component: any): any;
    /** The same as `Server.URLEncode`. */
    URLEncode(text: any): any;
    /** A link inside this site with up to six parameters, encoded: `/shop/y.asp?a=1+2`. */
    URL(file: any, name1?: any, value1?: any, name2?: any, value2?: any, name3?: any, value3?: any, name4?: any, value4?: any, name5?: any, value5?: any, name6?: any, value6?: any): any;
    /** The text of a key in the visitor's language, from `messages/`. */
    I18N(key: any): any;
    /** Recordsets of this page that are given no state look for it in the posted form from now on, not in the address. */
    SetDGridViaPost(): any;
    /** Whether `SetDGridViaPost` was called. */
    GetDGridViaPost(): any;
    /** Asks for a page jump of at most `pages` page numbers, 15 at most; below 1 turns it off. */
    ShowPageJump(pages: any): any;
    /** Stores what `ShowPageJump` was told into two `ByRef`. */
    GetPageJump(pages: any, wanted: any): any;
    /** Lets links sort every recordset of this request by exactly this text, expressions included. Needed with `[lists] links = "columns"`, before `OpenRS`. */
    AllowSort(sort: any): any;
    /** The state text with the seal that recordset `"R_1"` of page `"list.asp"` takes; the text itself where links aren't sealed. */
    SealState(state: any, file: any, recordset: any): any;
    /** Takes states that were sealed for page `"list.asp"` too. */
    AcceptStatesOf(file: any): any;
    /** A new list of the query's rows, on the page's connection: [lists that do it all](list.md). `keys` are the columns that together tell a row. Error -1 where no connection is open. */
    List(title: any, query: any, keys: any): List;
    [Symbol.iterator](): Iterator<any>;
  }

  /** Absolute links and small pieces of HTML; made by `Server.CreateObject("Varnel.PageUtil")`. The application values `NONSECUREHOSTNAME`, `SECUREHOSTNAME` and `APPLICATIONDIRECTORY` make the addresses; `CommonParam_SSLMode` makes all links secure (`all`) or none (`none`). */
  interface PageUtil {
    /** The whole address of a page on the plain host, with any number of parameters, encoded: `http://host/directory/y.asp?a=1+2`. */
    URL(file: any, ...namesAndValues: any[]): any;
    /** The same on the secure host. */
    SURL(file: any, ...namesAndValues: any[]): any;
    /** The parameters alone: `a=1+2&b=3`. */
    URLArgs(...namesAndValues: any[]): any;
    /** The opening tag of an option, selected if both are the same text. The value isn't encoded. */
    GetOption(value: any, state: any): any;
    /** The same as `Server.HTMLEncode`. */
    HTMLEncode(text: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** One page of a sorted query, and the links to its other pages; made by `page.DRecordset()`. Set it up, open it, walk its rows. Error -1 for what an open recordset doesn't allow, -2 for what a closed one doesn't. */
  interface DRecordset {
    /** Binds a recordset by hand; `page.DRecordset()` has done it. */
    Initialize(page: any, number: any, connection: any): any;
    /** Opens a connection of its own. */
    SetConnection(connectionString: any): any;
    /** The state text to read by; empty: the first page. Only while closed. */
    SetState(state: any): any;
    /** Whether the default sort is read the other way around. */
    SetDefaultSortReversed(reversed: any): any;
    /** The state text of the read that was done. Only while open. */
    GetState(): any;
    /** 1 if the page is sorted by these columns, -1 if reversed, else 0. */
    GetCurrentSortOrder(sortFields: any): any;
    /** The state text of the first page in that sort, reversed if it is the present one. */
    GetStateSorted(sortFields: any): any;
    /** The state text of the first page; empty where there is nothing before this one. */
    GetStateFirst(): any;
    /** The state text of the previous page; empty where there is none. */
    GetStatePrev(): any;
    /** The state text of the next page; empty where there is none. A short last page that was reached by it has itself. */
    GetStateNext(): any;
    /** The state text of the last page; empty where there is nothing behind this one. */
    GetStateLast(): any;
    /** As `GetStateSorted`, as a link to this page. */
    GetUrlSorted(sortFields: any): any;
    /** As `GetStateFirst`, as a link to this page. */
    GetUrlFirst(): any;
    /** As `GetStatePrev`, as a link to this page. */
    GetUrlPrev(): any;
    /** As `GetStateNext`, as a link to this page. */
    GetUrlNext(): any;
    /** As `GetStateLast`, as a link to this page. */
    GetUrlLast(): any;
    /** Rows of a page, 10 at first. Only while closed. */
    SetPageSize(rows: any): any;
    /** Rows of a page. */
    GetPageSize(): any;
    /** The rows of the whole query are counted, once; the links carry the number on. */
    SetRecCountON(): any;
    /** The rows aren't counted, as at first. */
    SetRecCountOFF(): any;
    /** Whether rows are counted. */
    GetIsRecCountON(): any;
    /** Rows of the whole query; -1 while unknown, a lower bound where they aren't counted. */
    GetTotalNumberOfRecords(): any;
    /** The number of the first row shown, from 1. */
    GetRecordNumberForFirstRecordOnPage(): any;
    /** The number of the last row shown. */
    GetRecordNumberForLastRecordOnPage(): any;
    /** Whether `OpenRS` has run. */
    IsOpen(): any;
    /** The sort of a first visit, as `name DESC, id`. Only while closed. */
    SetDefaultSortFields(sortFields: any): any;
    /** The sort of a first visit. */
    GetDefaultSortFields(): any;
    /** Reads one page. The key columns together are unique; they and the sort columns stand in the select list. */
    OpenRS(query: any, keyFields: any): any;
    /** The field of that name, or at that position from 0. Error -1 where no row was read. */
    GetDefault(nameOrPosition: any): DField;
    (nameOrPosition: any): DField;
    /** All fields (`DFields`); `null` where no row was read. */
    readonly Fields: DFields;
    /** Whether there is no row any more. */
    readonly EOF: any;
    /** Goes to the next row. */
    MoveNext(): any;
    /** Goes back to the first row; the fields show it after the next `MoveNext`. */
    MoveFirst(): any;
    /** The name of the state's parameter: `R_1` for the first recordset of a page. */
    GetRecordsetName(): any;
    /** Fills a closed `ADODB.Recordset`, handed over in a `ByRef`, with the page's rows as texts. */
    GetDataAsRecordSet(recordset: any): any;
    /** The number of the page shown, from 1. */
    m_lDisplayPage: any;
    /** How many pages there are; with page jump only. */
    m_lTotalPages: any;
    /** The first page number of the row of page links. */
    m_leftPageNumber: any;
    /** The last page number of the row of page links. */
    m_rightPageNumber: any;
    /** Keeps page numbers, in a row of `pages` numbers. Nothing checks when: call it before `OpenRS`. */
    SetPageJump(wanted: any, pages: any): any;
    /** Whether page numbers are kept. */
    GetPageJump(): any;
    /** A state text and the number of the page to go to from there. Only while closed. */
    SetPageState(state: any, position: any): any;
    /** The text that a link to a page on the left begins with. */
    GetStatePrevPage(): any;
    /** The text that a link to a page on the right begins with. */
    GetStateNextPage(): any;
    /** The link to that page; a negative number is a page on the left. */
    GetUrlForPage(position: any): any;
    /** The state text that reads this page again. */
    GetCurrentState(): any;
    /** The value of `:name` in the query of `OpenRS`. It never becomes SQL. */
    SetParameter(name: any, value: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The fields of a recordset: `rs.Fields`. A for-each walks them. */
  interface DFields {
    /** Made by the recordset; pages have no use for it. */
    Initialize(collection: any): any;
    /** How many fields there are. */
    readonly Count: any;
    /** The field of that name (`[Price]`, `p.Price` and `price` are one), or at that position from 0. */
    Item(nameOrPosition: any): DField;
    (nameOrPosition: any): DField;
    /** The enumerator of the fields, which a for-each over `rs.Fields` asks for by itself. */
    readonly NewEnum: any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** One column of the current row: `rs("NAME")`. */
  interface DField {
    /** The position of the column, from 0. */
    Hidden_Data_Index_: any;
    /** The type, as ADO numbers them; 135 is a date with time. */
    Type_: any;
    /** The column's name. */
    Name: any;
    /** The value of the current row; `null` for Null. */
    Value: any;
    /** The value: a field used as a value is its value. */
    GetDefault(): any;
    (): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** A whole list: sorted, searched, filtered, paged and written by itself; made by `page.List(title, query, keys)` and handed to `page.Add`: [lists that do it all](list.md). What it doesn't declare is refused. */
  interface List {
    /** The next column, a `ListColumn`: a field of the query as its select list names it, and the title above it. */
    Column(name: any, title?: any): ListColumn;
    /** The order of the first visit, such as `"PRICE DESC, TITLE"`; without it the keys sort. */
    Sort(sortFields: any): any;
    /** At most so many columns sort together, 3 at first. */
    MostSorts(columns: any): any;
    /** Offers a search in these fields, texts all of them: each word must be in one of them, in any case of letters. */
    Search(...fields: any[]): any;
    /** Offers a filter. `values` is an array of what it may be, each alone or as `[value, label]`; without it what the rows have. */
    Filter(field: any, values?: any, label?: any): any;
    /** How many rows a page has, 1 to 1000. Of several the visitor chooses; the first is what he gets without. */
    PageSizes(...sizes: any[]): any;
    /** At most so many page numbers, 0 to 30; 7 at first. */
    PageNumbers(count: any): any;
    /** `"exact"`, `"capped"` at `most` rows (10000), `"estimated"` or `"none"`. */
    Total(kind: any, most?: any): any;
    /** The value of `:name` in the query. */
    Parameter(name: any, value: any): any;
    /** The locale whose words and numbers the list writes; the session's at first. */
    Locale(lcid: any): any;
    /** A word of the list's, such as `"search"`, in place of its language's. */
    Text(name: any, text: any): any;
    /** A check box in each row, for at most `most` rows (200), kept from page to page. */
    Selectable(most?: any): any;
    /** The selected rows: an array of their keys as texts. */
    Selected(): any;
    /** Offers all rows of the visitor's choice as files: `"csv"`, `"json"`, `"jsonl"`. */
    Export(...kinds: any[]): any;
    /** A file has at most so many rows, 100000 at first. */
    ExportLimit(rows: any): any;
    /** Whether CSV begins with the mark by which spreadsheets know UTF-8. */
    ExportMark(hasMark: any): any;
    /** Answers a page of the list as JSON where the request asks for that. */
    Json(): any;
    /** A button in each row that posts the row's value of `field` to a page, with the form token. */
    Action(label: any, file: any, field: any, parameter?: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** A column of a list; made by `list.Column`. Each operation gives the column again: `list.Column("PRICE", "Price").Format("number", 2).Sortable(false)`. */
  interface ListColumn {
    /** The cell leads to page `file`, which gets the row's value of `field` as `parameter`, or by the field's own name. */
    Link(file: any, field: any, parameter?: any): ListColumn;
    /** `"number"` with `decimals` (0 to 9), `"date"`, `"datetime"` or `"text"`, in the visitor's locale. */
    Format(kind: any, decimals?: any): ListColumn;
    /** `"start"`, `"center"` or `"end"`. Numbers stand at the end by themselves. */
    Align(side: any): ListColumn;
    /** Whether visitors may sort by it, as they may at first. */
    Sortable(isSortable: any): ListColumn;
    /** Visitors who sort by this column sort by that one of the select list. */
    SortBy(name: any): ListColumn;
    /** What conditions compare where the name is only one of the select list: `"P.PRICE * 1.19"`. */
    Expression(expression: any): ListColumn;
    /** `function (row, value)` gives the cell's HTML; `row("FIELD")` is a value of the row. */
    Template(function_: any): ListColumn;
    [Symbol.iterator](): Iterator<any>;
  }

  /** A row of a list, as templates of columns see it. */
  interface ListRow {
    /** The value of that column of the query. */
    Item(name: any): any;
    (name: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** A titled, sortable, pageable grid; made by `page.DGrid(rs, title)`. Declare columns, open the recordset, give a value for each cell, and hand it to `page.Add`. */
  interface DGrid {
    /** The next column. With `sortFields` its head sorts, and the first such column is the default sort. Width in percent, 0 for none. */
    Col(title: any, sortFields?: any, width?: any, align?: any, vAlign?: any, colSpan?: any): any;
    /** Leaves the next cell free. */
    SkipCell(): any;
    /** The next cell: HTML as it stands, or a table. A row ends when every column has its cell. */
    Cell(data: any): any;
    /** Shows page numbers, at most the smaller of the two counts. `formName` names the page's form in a form-based grid. */
    ShowPageJump(pages: any, mostPages: any, formName: any): any;
    /** Shows the page numbers that the recordset was told of by `SetPageJump`. */
    ShowPageJumpFromDRecordset(formName: any): any;
    /** Rows in two colours. Before the first cell. */
    ShowAlternateColors(): any;
    /** The state text that reads this page again. Error -2 while the recordset is closed. */
    GetCurrentState(): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** Cells that become an HTML table; made by `page.Table()`. Cells are HTML as it stands. Rows and columns count from 1. */
  interface Table {
    /** No border, no colours. */
    SetTableTypePlain(): any;
    /** No border, no space between cells. */
    SetTableTypeWizard(): any;
    /** As `site.toml` says; a new table is of this type. */
    SetTableTypeProperty(): any;
    /** All cells in the title's colours and border. */
    SetTableTypeTitle(): any;
    /** Leaves that many cells free. */
    SkipCell(count?: any): any;
    /** A cell with HTML, a table or a grid. Error -1 where its span meets a taken cell. */
    Cell(data: any): any;
    /** A cell at a place; -1 is the cursor's row or column. */
    CellAt(row: any, column: any, data: any): any;
    /** A cell in the heading's font and colours. */
    HeaderCell(data: any): any;
    /** The same at a place. */
    HeaderCellAt(row: any, column: any, data: any): any;
    /** A cell in the title's font and colours. */
    TitleCell(data: any): any;
    /** A row of its own with a title in it. */
    Title(data: any): any;
    /** Opens a cell whose contents the page writes itself. From then on the table is written into the response piece by piece as it is filled. */
    Deprecated_TableCellBegin(): any;
    /** Closes that cell. */
    Deprecated_TableCellEnd(): any;
    /** Begins the next row. */
    NewRow(): any;
    /** The table's background image. */
    SetTableBgImage(address: any): any;
    /** The table's height, as it shall stand in the tag. */
    SetTableHeight(height: any): any;
    /** The table's width, 100 at first; 0 for none. */
    SetTableWidth(percent: any): any;
    /** Makes the title's font one size larger. */
    IncreaseTitleFontSize(): any;
    /** How many columns the next cell spans; -1: to the last one. */
    SetNextCellColSpan(columns: any): any;
    /** How many rows the next cell spans; -1: to the last one. */
    SetNextCellRowSpan(rows: any): any;
    /** The next cell's background image. */
    SetNextCellBgImage(address: any): any;
    /** The next cell's background. */
    SetNextCellBgColor(color: any): any;
    /** `AlignLeft`, `AlignCenter`, `AlignRight` or `AlignDefault`. */
    SetNextCellAlign(align: any): any;
    /** `VAlignTop`, `VAlignMiddle`, `VAlignBottom` or `VAlignDefault`. */
    SetNextCellVAlign(vAlign: any): any;
    /** The next cell's text isn't broken into lines. */
    SetNextCellNoWrap(): any;
    /** The next cell's height: above 0 percent, below 0 pixels. */
    SetNextCellHeight(height: any): any;
    /** The width of a column; below 1 for none. */
    SetColWidth(column: any, percent: any): any;
    /** The align of a column's cells that have none of their own. */
    SetColAlign(column: any, align: any): any;
    /** The vertical align of a column's cells that have none of their own. */
    SetColVAlign(column: any, vAlign: any): any;
    /** Whether cells grow over free places at their right and below, as they do at first. */
    SetAutoCellExtending(wanted: any): any;
    /** Whether rows have two colours: `TableRowBgColor` and `TableRowBgColor2`. */
    SetAlternateColor(wanted: any): any;
    /** A cell in the row's font and first colour. */
    HeaderCellInNormalCell(data: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The fields and files of a form that was sent as `multipart/form-data`; made by `Server.CreateObject("Varnel.Upload")`. The body is read by the first operation; two fields of one name fail with 457, a broken body with 5. A name that isn't there gives an empty result. */
  interface Upload {
    /** The bytes of a file, by the name of its field or by the number of the part, from 1. */
    GetFileBinary(field: any): any;
    /** The file as text: UTF-16 behind its mark, any other by the system's code page. */
    GetFileAsString(field: any): any;
    /** Writes the file into a folder below `[files] roots`, under its own name without any path. 80040001 (hexadecimal) for an empty or missing file, 52 for a name that can't be used, 61 for a full disk, 70 where it may not be written, 76 for a missing parent folder. */
    WriteFileToFileSystem(field: any, folder: any): any;
    /** The content type that the client named. */
    GetFileContentType(field: any): any;
    /** The value of a field; of a file the name that the client sent. On a form of another kind the same as `Request.Form`. */
    GetFormVar(field: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** Values as SQL and LDAP literals. Every page has one under the name `Utilities`; `Server.CreateObject("Varnel.Utilities")` makes another. */
  interface Utilities {
    /** `N'...'` with each quote doubled: `O'Brien` gives `N'O''Brien'`. */
    SQLEncodeStr(text: any): any;
    /** The same as `SQLEncodeStr`. */
    SQLEncodeStrForWHERE(text: any): any;
    /** The same as `SQLEncodeStr`. */
    SQLEncodeStrForJOIN(text: any): any;
    /** A pattern for `LIKE` in which only `*` is a wildcard: `50%*` gives `N'50[%]%'`. */
    SQLEncodeStrForLIKE(pattern: any): any;
    /** A whole number as it stands: `-5`. */
    SQLEncodeLng(number: any): any;
    /** A number with `.` in every locale, with a blank in front where it isn't negative: ` 1.5`. */
    SQLEncodeDbl(number: any): any;
    /** A number of 0 to 255 as it stands. */
    SQLEncodeByte(number: any): any;
    /** `{d '2024-03-05'}`. */
    SQLEncodeDate(date: any): any;
    /** A value in an LDAP filter that stands for itself: `a*` gives `a\2a`. */
    LDAPEncodeStr(text: any): any;
    /** The same with `*` as a wildcard. */
    LDAPEncodeStrForSearch(pattern: any): any;
    /** `{ts '2024-03-05 07:08:09'}`. */
    SQLEncodeDateTime(date: any): any;
    /** Sorts an array of at most 32,768 elements, or a `Uint8Array`, in place: numbers before texts, texts without regard to case. 94 where two Nulls meet. */
    QuickSort(array: any): any;
    /** The same from position `lower` to `upper`, from 0. */
    QuickSortPart(array: any, lower: any, upper: any): any;
    /** Stores what follows `pattern`, such as `b=`, in a raw form text into a `ByRef`, decoded by the system's code page; tells whether it is anything but blanks. */
    RetrieveElementFromRequestFormCollection(text: any, pattern: any, result: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The questions of a product catalogue, on the tables of its schema. Lists come as an open `DRecordset`: with a page on its connection `QuenbyConnection`, with `null` on the section `Quenby` of `[configuration]` at the given state. The others come as an `ADODB.Recordset` on a connection of its own; close both. User ids, search texts, catalogue lists and groups stand in the SQL as they are: encode or check them. `WarehouseFavorite` and `DefaultFavorite` are global names. */
  interface CatalogQuery {
    /** The products of a category on a day, with the user's mark in `PRESENT`. */
    GetCatalogProducts(page: any, state: any, pageSize: any, category: any, user: any, date: any): any;
    /** A user's favourites, by description. `catalogs` are ids with commas, `"-1"` for all; `type` -1 is both kinds. */
    GetFavoriteProducts(page: any, state: any, pageSize: any, user: any, date: any, catalogs?: any, type?: any): any;
    /** The products of catalogues, by description; `*` in the part number is a wildcard. */
    GetQuickOrderProducts(page: any, state: any, pageSize: any, date: any, partNumber?: any, catalogs?: any): any;
    /** Deletes the favourites whose product no catalogue of the list reaches, if there are at least `threshold` (-1: 4). Returns how many went. */
    CleanupFavorites(user: any, catalogs?: any, type?: any, threshold?: any): any;
    /** One row with everything on a product. `ATTACHEDID`, `ALTERNATIVEID` and `PROPVALUEID` are null where it has no such rows. */
    GetProductData(product: any): any;
    /** Its properties. */
    GetProductPropertyData(product: any): any;
    /** Its attached files with their icons. */
    GetProductAttachmentData(product: any): any;
    /** The products that can stand in for it; with a `stockItem` other than -1 those of that stock flag only. */
    GetAlternativeProducts(product: any, stockItem?: any): any;
    /** Whether one of them is enabled and in its period on that day. */
    AlternativeProductsPresent(product: any, date: any, stockItem?: any): any;
    /** The category of a catalogue's node, -1 where there is none. */
    GetCategoryIDForNode(node: any): any;
    /** All products of a supplier, by the buyer's part number; with a field and a value those that match (`*` is a wildcard). */
    GetSupplierProducts(page: any, state: any, pageSize: any, supplier: any, field?: any, value?: any): any;
    /** All periods of a product's prices of the group with the empty name. */
    GetProductProcurementPrices(page: any, state: any, pageSize: any, product: any): any;
    /** Its property values, by property id. */
    GetProductPropertyValues(page: any, state: any, pageSize: any, product: any): any;
    /** Its prices of that day, of the group with the empty name. */
    GetProductPriceInfo(product: any, date: any): any;
    /** The same favourites of one folder; 0 is a folder too. */
    GetFavoriteProductsEx(page: any, state: any, pageSize: any, user: any, date: any, catalogs?: any, type?: any, folder?: any): any;
    /** All periods of its prices of a group. */
    GetProductProcurementPricesEx(page: any, state: any, pageSize: any, product: any, group: any): any;
    /** Its prices of that day, of a group. */
    GetProductPriceInfoEx(product: any, date: any, group: any): any;
    /** Its properties; `true`: those that its property group shows in the sheet, in the group's order. */
    GetProductPropertyDataEx(product: any, inSheet?: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** Numbers and dates in the locale that each call names by its number, and back. What fails gives `null`, or False from the `Validate` operations; nothing is raised. */
  interface DataFunctions {
    /** The date of a text in the locale's short order and with its separator, without a time; `null` where it is none. */
    ConvertDateString(text: any, locale: any): any;
    /** The number of a text with the locale's separators; `null` where it is none. */
    ConvertFloatString(text: any, locale: any): any;
    /** The same as a whole number, a half rounded to the even neighbour. */
    ConvertNumberString(text: any, locale: any): any;
    /** The short date without blanks; with the time behind it if asked. An unknown locale gives the empty text. */
    DateTime(date: any, locale: any, withTime?: any): any;
    /** The short date of three numbers, the month counted from 0. */
    DateFromJava(year: any, month: any, day: any, locale: any): any;
    /** The number with the locale's decimals, groups and negative form. */
    Float(number: any, locale: any): any;
    /** The number with 0 to 9 decimals, in groups of the locale's first size. */
    FloatEx(number: any, locale: any, decimals?: any): any;
    /** The whole number in the locale's groups. */
    Number(number: any, locale: any): any;
    /** Whether the value converts to a date within the bounds, which belong to the range. */
    ValidateDateTime(date: any, lowest?: any, highest?: any): any;
    /** Whether the value is a number within the bounds; a text is none. */
    ValidateFloat(number: any, lowest?: any, highest?: any): any;
    /** Whether the value is of a whole type and within the bounds. */
    ValidateNumber(number: any, lowest?: any, highest?: any): any;
    /** The currency's sign. */
    GetCurrencySymbol(locale: any): any;
    /** The sign of the euro. */
    GetEuroSymbol(): any;
    /** What stands between the numbers of a date. */
    GetDateSeparator(locale: any): any;
    /** 0: month, day, year; 1: day, month, year; 2: year, month, day. Error 13 for an unknown locale. */
    GetShortDateFormatOrdering(locale: any): any;
    /** What stands between groups of digits. */
    GetThousandSeparator(locale: any): any;
    /** What stands before the decimals; 0 is the site's own locale. */
    GetDecimalSeparator(locale: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** What the visitor has sent: the global `Request`. `Request("x")` looks into query, form, cookies and server variables, in this order. */
  interface Request {
    /** The parameters behind the `?`. */
    readonly QueryString: RequestCollection;
    /** The fields of a posted form; empty for a multipart body. */
    readonly Form: RequestCollection;
    /** The visitor's cookies. */
    readonly Cookies: RequestCollection;
    /** `URL`, `REQUEST_METHOD`, `QUERY_STRING`, `CONTENT_TYPE`, `REMOTE_ADDR`, `SERVER_NAME`, `HTTPS`, `HTTP_*` and others. */
    readonly ServerVariables: RequestCollection;
    /** The values of that key, wherever it is found first. */
    Item(key: any): RequestValue;
    (key: any): RequestValue;
    /** The length of the body. */
    readonly TotalBytes: any;
    /** The next `count` bytes of the body, as a `Uint8Array`. */
    BinaryRead(count: any): any;
    /** The parameter of that name in the query, or else in the form, as a text; `otherwise` where it is missing. */
    Text(name: any, otherwise?: any): string;
    /** The same as a number of the visitor's locale, read strictly; `null` where it is missing or none. */
    Number(name: any): number | null;
    /** The same as a date of the visitor's locale, or as browsers' own fields send it; `null` where it is missing or none. */
    Date(name: any): Date | null;
    [Symbol.iterator](): Iterator<any>;
  }

  /** `Request.QueryString` and its like. Keys ignore case; a for-each walks them. */
  interface RequestCollection {
    /** The values of a key, or at a position from 1; left out, the text as it was sent. */
    Item(keyOrPosition?: any): RequestValue;
    (keyOrPosition?: any): RequestValue;
    /** How many keys there are. */
    readonly Count: any;
    /** The key at that position, from 1. */
    Key(position: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The values of one key. As a value it is all of them joined with ", "; it is an object for a missing key too, with a `Count` of 0. */
  interface RequestValue {
    /** The value at that position, from 1; left out, all joined. */
    Item(position?: any): any;
    (position?: any): any;
    /** How many values there are. */
    readonly Count: any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** What the visitor gets: the global `Response`. The text is UTF-8. */
  interface Response {
    /** Writes a value as text; nothing for `null` and `undefined`. */
    Write(value: any): any;
    /** Writes a `Uint8Array` as it is. */
    BinaryWrite(bytes: any): any;
    /** Sends the browser elsewhere and ends the page. */
    Redirect(url: any): any;
    /** Ends the page with what it has written. */
    End(): any;
    /** Throws away what isn't sent yet. */
    Clear(): any;
    /** Sends what was written so far; the head can't be changed then. */
    Flush(): any;
    /** Adds a header. */
    AddHeader(name: any, value: any): any;
    /** True at first: the page is sent when it has ended. False sends each write. */
    Buffer: any;
    /** Such as `404 Not Found`. */
    Status: any;
    /** `text/html` at first. */
    ContentType: any;
    /** Always utf-8. */
    Charset: any;
    /** Minutes from now that the page stays fresh. */
    Expires: any;
    /** `private` at first. */
    CacheControl: any;
    /** The cookies to set: `Response.Cookies["name"] = value`. */
    readonly Cookies: ResponseCookies;
    /** Whether the visitor is still there. */
    readonly IsClientConnected: any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The cookies that a page sets: `Response.Cookies`. */
  interface ResponseCookies {
    /** The cookie of that name, which this makes where it wasn't set. */
    Item(name: any): ResponseCookie;
    (name: any): ResponseCookie;
    /** How many cookies are set. */
    readonly Count: any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** One cookie to set: `Response.Cookies("name")`. */
  interface ResponseCookie {
    /** Its text. */
    Value: any;
    (): any;
    /** A date; without one the cookie goes when the browser ends. */
    Expires: any;
    /** The site's root at first. */
    Path: any;
    /** None at first. */
    Domain: any;
    /** Whether it goes over https only. */
    Secure: any;
    /** True at first: scripts in the browser don't see it. */
    HttpOnly: any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** A visitor's values, kept from request to request: the global `Session`. Read by `Session("a")`, written by `Session.Contents["a"] = v`. */
  interface Session {
    /** The value of a key; `undefined` where it isn't set. */
    Value(key: any): any;
    (key: any): any;
    /** The values, to read and write. */
    readonly Contents: Contents;
    /** The session's number; looking at it begins the session. */
    readonly SessionID: any;
    /** A secret text of the session for its forms: a post that doesn't bear it comes from elsewhere. Looking at it begins the session. */
    readonly FormToken: any;
    /** The visitor's locale. */
    LCID: any;
    /** Always 65001, UTF-8. */
    CodePage: any;
    /** Minutes without a request after which the session ends, 1 to 1440. */
    Timeout: any;
    /** Keeps other requests, of all web processes, from locking the same session until `Unlock` or the end of this one; what they have stored is seen from here on. Begins the session. */
    Lock(): any;
    /** Stores what was changed so far, and lets others lock. */
    Unlock(): any;
    /** Another id, cookie and form token with the same values; the old ones are dead at once. For sign-in, before anything is sent. */
    Renew(): any;
    /** The next request finds the session gone. */
    Abandon(): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** Values that all requests share: the global `Application`. They begin as `site.toml` says. */
  interface Application {
    /** The value of a key; `undefined` where it isn't set. */
    Value(key: any): any;
    (key: any): any;
    /** The values, to read and write: `Application.Contents["a"] = v`. */
    readonly Contents: Contents;
    /** Keeps other requests from writing until `Unlock` or the end of this one. */
    Lock(): any;
    /** Lets other requests write again. */
    Unlock(): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** `Session.Contents` and `Application.Contents`. `contents["a"] = v` writes; a for-each walks the keys. */
  interface Contents {
    /** The value of a key, or at a position from 1. */
    Item(keyOrPosition: any): any;
    (keyOrPosition: any): any;
    /** How many values there are. */
    readonly Count: any;
    /** The key at that position, from 1. */
    Key(position: any): any;
    /** Takes a value away. */
    Remove(keyOrPosition: any): any;
    /** Takes all values away. */
    RemoveAll(): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** What the server does for a page: the global `Server`. */
  interface Server {
    /** For a URL: letters and digits stay, a blank becomes `+`, every other byte %XX. */
    URLEncode(text: any): string;
    /** For HTML: `&`, `<`, `>` and `"` become names. */
    HTMLEncode(text: any): string;
    /** The file behind a path of the site or one relative to the page. */
    MapPath(path: any): string;
    /** A new object of that class, such as `Varnel.Page` or `ADODB.Connection`. */
    CreateObject(progID: any): any;
    /** Runs another page here, and goes on. */
    Execute(path: any): any;
    /** Runs another page instead of the rest of this one. */
    Transfer(path: any): any;
    /** Seconds that the page may run from its start. */
    ScriptTimeout: any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** Users who sign in, with the passwords and roles of `site.toml`: `Server.CreateObject("Host.Accounts")`. */
  interface HostAccounts {
    /** Whether this is the user's password. False, too, where it wasn't looked at. */
    Check(name: any, password: any): any;
    /** After a `Check` that was false: 0 for a wrong name or password; else nothing was looked at, and an attempt after so many seconds may be. */
    readonly RetryAfter: any;
    /** The user's role; empty where he has none, or there is no such user. */
    RoleOf(name: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** A database connection; made by `Server.CreateObject("ADODB.Connection")`. */
  interface ADODBConnection {
    /** Seconds to wait for a connection. */
    ConnectionTimeout: any;
    /** Seconds that a statement may take, and each later read of its rows; at most `statement_timeout`. */
    CommandTimeout: any;
    /** 2 server, 3 client. */
    CursorLocation: any;
    /** Kept and given back. */
    IsolationLevel: any;
    /** 1 opens read-only. */
    Mode: any;
    /** The text that `Open` takes where it has none. */
    ConnectionString: any;
    /** 1 open, 0 closed. */
    readonly State: any;
    /** Opens the connection. Error 3705 where it is open. */
    Open(connectionString?: any, user?: any, password?: any, options?: any): any;
    /** Runs a statement; gives a recordset, and the number of changed rows in a `ByRef`. */
    Execute(sql: any, affected?: any, options?: any): ADODBRecordset;
    /** Closes the connection, after a rollback. */
    Close(): any;
    /** Begins a transaction. */
    BeginTrans(): any;
    /** Keeps what the transaction has changed. */
    CommitTrans(): any;
    /** Takes it back. */
    RollbackTrans(): any;
    /** The errors of the last operation that failed. */
    readonly Errors: ADODBErrors;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The errors of a connection. A for-each walks them. */
  interface ADODBErrors {
    /** How many errors there are. */
    readonly Count: any;
    /** The error at that position, from 0. */
    Item(position: any): ADODBError;
    (position: any): ADODBError;
    /** Forgets them. */
    Clear(): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** One error of a database. */
  interface ADODBError {
    /** Its number. */
    readonly Number: any;
    /** Who has raised it. */
    readonly Source: any;
    /** What went wrong. */
    readonly Description: any;
    (): any;
    /** The database's own number. */
    readonly NativeError: any;
    /** The five characters of the SQL standard. */
    readonly SQLState: any;
    /** Always empty. */
    readonly HelpFile: any;
    /** Always 0. */
    readonly HelpContext: any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** A statement with [parameters](parameters.md); made by `Server.CreateObject("ADODB.Command")`. */
  interface ADODBCommand {
    /** An open connection, or the text of one. */
    ActiveConnection: any;
    /** The statement, with `?` or `:name` where its values go. */
    CommandText: any;
    /** 1 or 8 a statement, 2 the name of a table. */
    CommandType: any;
    /** Seconds that the statement may take; at most `statement_timeout`. */
    CommandTimeout: any;
    /** Kept and given back. */
    Prepared: any;
    /** The values. */
    readonly Parameters: any;
    /** A new parameter, for `Parameters.Append`. */
    CreateParameter(name?: any, type?: any, direction?: any, size?: any, value?: any): any;
    /** Runs the statement; gives a recordset, and the number of changed rows in a `ByRef`. An array of values takes the place of the first parameters' values. */
    Execute(affected?: any, values?: any, options?: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The parameters of a command, in the order of the question marks. They can be walked. */
  interface ADODBParameters {
    /** Their number. */
    readonly Count: any;
    /** One of them; positions count from 0. */
    Item(nameOrPosition: any): any;
    (nameOrPosition: any): any;
    /** Adds one. Error 3367 for a name that is taken. */
    Append(parameter: any): any;
    /** Takes one away. */
    Delete(nameOrPosition: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** One value of a command. */
  interface ADODBParameter {
    /** What `:name` in the text means. */
    Name: any;
    /** 0 as it is; 3 whole number, 5 number, 7 or 135 date with time, 133 day, 11 boolean, 202 text, 205 bytes, and the other codes of these. */
    Type: any;
    /** 1, into the statement. */
    Direction: any;
    /** The longest text; 0 is any. */
    Size: any;
    /** The value. */
    Value: any;
    (): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The rows of a statement, or rows made by hand; made by `Server.CreateObject("ADODB.Recordset")`. */
  interface ADODBRecordset {
    /** 0 forward only, 1 keyset, 2 dynamic, 3 static. A forward-only recordset lets go of the rows that it has left behind. */
    CursorType: any;
    /** 2 server, 3 client. */
    CursorLocation: any;
    /** Kept and given back. */
    LockType: any;
    /** The most rows that are read; 0 for all. */
    MaxRecords: any;
    /** Kept and given back. */
    CacheSize: any;
    /** The connection; `null` takes the recordset off it, after all its rows were read. */
    ActiveConnection: any;
    /** 1 open, 0 closed. */
    readonly State: any;
    /** Runs a statement. Without source and connection, opens a recordset whose fields were appended. */
    Open(source?: any, connection?: any, cursorType?: any, lockType?: any, options?: any): any;
    /** Whether the place is behind the last row. */
    readonly EOF: any;
    /** Whether the place is before the first row. */
    readonly BOF: any;
    /** The fields. */
    readonly Fields: ADODBFields;
    /** The field of that name, or at that position from 0. */
    Item(nameOrPosition: any): any;
    (nameOrPosition: any): any;
    /** An array of columns, each an array of its values; -1: all rows. */
    GetRows(count?: any): any;
    /** Goes to the next row. */
    MoveNext(): any;
    /** Goes to the row before. Error 3219 in a forward-only recordset. */
    MovePrevious(): any;
    /** Goes to the first row; a forward-only recordset of many rows runs its statement again for that. */
    MoveFirst(): any;
    /** Goes to the last row. */
    MoveLast(): any;
    /** How many rows there are, those too that weren't read yet; -1 for a forward-only recordset. */
    readonly RecordCount: any;
    /** Closes the recordset. */
    Close(): any;
    /** A new row, in a recordset made by hand. */
    AddNew(): any;
    /** Ends the new row. */
    Update(): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** The fields of an `ADODB.Recordset`. A for-each walks them. */
  interface ADODBFields {
    /** How many fields there are. */
    readonly Count: any;
    /** The field of that name, or at that position from 0. */
    Item(nameOrPosition: any): ADODBField;
    (nameOrPosition: any): ADODBField;
    /** A new field, in a recordset made by hand. */
    Append(name: any, type: any, size?: any, attributes?: any): any;
    [Symbol.iterator](): Iterator<any>;
  }

  /** One column of the current row. */
  interface ADODBField {
    /** Its name. */
    readonly Name: any;
    /** Its type, as ADO numbers them. */
    readonly Type: any;
    /** Its declared size. */
    readonly DefinedSize: any;
    /** The value of the current row; written in a recordset made by hand only. */
    Value: any;
    (): any;
    [Symbol.iterator](): Iterator<any>;
  }

}

declare const TableTypePlain: number;
declare const TableTypeDataGrid: number;
declare const TableTypeProperty: number;
declare const TableTypeTitle: number;
declare const TableTypeWizard: number;
declare const AlignDefault: number;
declare const AlignLeft: number;
declare const AlignCenter: number;
declare const AlignRight: number;
declare const VAlignDefault: number;
declare const VAlignTop: number;
declare const VAlignMiddle: number;
declare const VAlignBottom: number;
declare const DefaultFavorite: number;
declare const WarehouseFavorite: number;

declare const Request: Varnel.Request & ((key: string) => Varnel.RequestValue);
declare const Response: Varnel.Response;
declare const Session: Varnel.Session;
declare const Application: Varnel.Application;
declare const Utilities: Varnel.Utilities;
declare const Server: Varnel.Server & {
  CreateObject(progID: "Varnel.Page"): Varnel.Page;
  CreateObject(progID: "Varnel.PageUtil"): Varnel.PageUtil;
  CreateObject(progID: "Varnel.DataFunctions"): Varnel.DataFunctions;
  CreateObject(progID: "Varnel.CatalogQuery"): Varnel.CatalogQuery;
  CreateObject(progID: "Host.Accounts"): Varnel.HostAccounts;
  CreateObject(progID: "ADODB.Connection"): Varnel.ADODBConnection;
  CreateObject(progID: "ADODB.Recordset"): Varnel.ADODBRecordset;
};

/** The text that a posted form bears in its field FormToken. */
declare function FormToken(): string;

declare class ByRef<T = any> { constructor(value?: T); value: T; }
declare class Enumerator { constructor(collection: any); atEnd(): boolean; item(): any; moveNext(): void; moveFirst(): void; }
declare function CInt(value: any): number;
declare function CLng(value: any): number;
declare function CDbl(value: any): number;
declare function CByte(value: any): number;
declare function CDate(value: any): Date;
declare function CStr(value: any): string;
declare function CBool(value: any): boolean;

/** Writes into the site's log, with page and line. */
declare const console: {
  debug(...values: any[]): void; log(...values: any[]): void; info(...values: any[]): void;
  warn(...values: any[]): void; error(...values: any[]): void;
};

declare class URLSearchParams {
  constructor(init?: string | Iterable<[string, any]> | Record<string, any>);
  readonly size: number;
  append(name: string, value: any): void; delete(name: string, value?: any): void;
  get(name: string): string | null; getAll(name: string): string[]; has(name: string, value?: any): boolean;
  set(name: string, value: any): void; sort(): void; toString(): string;
  forEach(body: (value: string, name: string, params: URLSearchParams) => void): void;
  entries(): IterableIterator<[string, string]>; keys(): IterableIterator<string>; values(): IterableIterator<string>;
  [Symbol.iterator](): IterableIterator<[string, string]>;
}
declare class URL {
  constructor(address: string | URL, base?: string | URL);
  static canParse(address: string, base?: string): boolean;
  href: string; protocol: string; username: string; password: string; host: string; hostname: string; port: string;
  pathname: string; search: string; hash: string;
  readonly origin: string; readonly searchParams: URLSearchParams;
  toString(): string; toJSON(): string;
}
declare class TextEncoder { readonly encoding: string; encode(text?: string): Uint8Array; }
declare class TextDecoder {
  constructor(label?: string, options?: { fatal?: boolean; ignoreBOM?: boolean });
  readonly encoding: string; decode(bytes?: ArrayBuffer | ArrayBufferView): string;
}
type HashAlgorithm = "sha256" | "sha512";
type HashText = "hex" | "base64" | "base64url";
declare const crypto: {
  getRandomValues<T extends ArrayBufferView>(array: T): T;
  randomUUID(): string;
  hash(algorithm: HashAlgorithm, data: string | Uint8Array, as?: HashText): string;
  hash(algorithm: HashAlgorithm, data: string | Uint8Array, as: "bytes"): Uint8Array;
  hmac(algorithm: HashAlgorithm, key: string | Uint8Array, data: string | Uint8Array, as?: HashText): string;
  hmac(algorithm: HashAlgorithm, key: string | Uint8Array, data: string | Uint8Array, as: "bytes"): Uint8Array;
  areEqual(a: string | Uint8Array, b: string | Uint8Array): boolean;
  hashPassword(password: string): string;
  isPassword(password: string, hash: string): boolean;
};

interface FetchOptions { method?: string; headers?: Record<string, string>; body?: string | Uint8Array | URLSearchParams; }
interface FetchHeaders extends Iterable<[string, string]> { get(name: string): string | null; has(name: string): boolean; }
/** Asks a server that [fetch] addresses of site.toml names; the page waits. */
declare function fetchNow(address: string | URL, options?: FetchOptions): {
  readonly url: string; readonly status: number; readonly ok: boolean; readonly headers: FetchHeaders;
  text(): string; json(): any; bytes(): Uint8Array;
};
declare function fetch(address: string | URL, options?: FetchOptions): Promise<{
  readonly url: string; readonly status: number; readonly ok: boolean; readonly headers: FetchHeaders;
  text(): Promise<string>; json(): Promise<any>; bytes(): Promise<Uint8Array>; arrayBuffer(): Promise<ArrayBuffer>;
}>;

// --- In tests/*.js, run by varnel test

interface TestForm {
  readonly values: [string, any][];
  fill(values: Record<string, any>): TestForm;
  submit(button?: string): TestPage;
}
interface TestPage {
  readonly address: string; readonly status: number; readonly headers: Record<string, string>;
  readonly html: string; readonly text: string; readonly title: string;
  rows(): string[][];
  links(): { text: string; href: string }[];
  click(name: string): TestPage;
  form(field?: string): TestForm;
  fill(values: Record<string, any>): TestForm;
}
declare const site: {
  readonly root: string;
  get(address: string, headers?: Record<string, any>): TestPage;
  post(address: string, fields?: Record<string, any>, headers?: Record<string, any>): TestPage;
  log(): string[];
  forget(): void;
};
declare function test(name: string, body: (s: typeof site) => void | Promise<void>): void;
declare const assert: {
  (value: any, message?: string): void;
  equal(is: any, expected: any, message?: string): void;
  contains(whole: any, part: any, message?: string): void;
  matches(text: string, pattern: RegExp, message?: string): void;
  throws(body: () => void, message?: string): any;
};
