#include "site/loader/DatabaseWriter.h"

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "site/loader/BuiltIn.h"
#include "site/loader/Details.h"

namespace shop {
namespace {

struct CloseConnection {
  void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
};
struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

class Connection {
 public:
  explicit Connection(const std::filesystem::path& path) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open(path.c_str(), &handle);
    m_handle.reset(handle);
    Check(result, path.string());
  }

  void Execute(const char* sql) { Check(sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr), sql); }

  void Check(int result, std::string_view what) const {
    if (result == SQLITE_OK || result == SQLITE_DONE) return;
    throw std::runtime_error(std::string(sqlite3_errmsg(m_handle.get())) + " (" +
                             std::string(what.substr(0, 80)) + ")");
  }

  sqlite3* Handle() const { return m_handle.get(); }

 private:
  std::unique_ptr<sqlite3, CloseConnection> m_handle;
};

// Goes in as NULL where it is empty.
struct TextOrNull {
  std::string_view text;
};

// One INSERT, run once a row.
class Insert {
 public:
  Insert(Connection& connection, const char* sql) : m_connection(connection), m_sql(sql) {
    sqlite3_stmt* handle = nullptr;
    const int result = sqlite3_prepare_v2(connection.Handle(), sql, -1, &handle, nullptr);
    m_handle.reset(handle);
    m_connection.Check(result, m_sql);
  }

  // The texts must outlive the call; they are not copied.
  template <typename... Values>
  void Row(const Values&... values) {
    int position = 0;
    (Bind(++position, values), ...);
    m_connection.Check(sqlite3_step(m_handle.get()), m_sql);
    m_connection.Check(sqlite3_reset(m_handle.get()), m_sql);
  }

 private:
  void Bind(int position, int value) {
    m_connection.Check(sqlite3_bind_int(m_handle.get(), position, value), m_sql);
  }

  void Bind(int position, std::string_view value) {
    m_connection.Check(sqlite3_bind_text(m_handle.get(), position, value.data(),
                                         static_cast<int>(value.size()), SQLITE_STATIC),
                       m_sql);
  }

  void Bind(int position, TextOrNull value) {
    if (!value.text.empty()) return Bind(position, value.text);
    m_connection.Check(sqlite3_bind_null(m_handle.get(), position), m_sql);
  }

  Connection& m_connection;
  const char* m_sql;
  std::unique_ptr<sqlite3_stmt, FinalizeStatement> m_handle;
};

constexpr char kDeviceUnit[] = "PCE";
constexpr char kBoardUnit[] = "BRD";

void WriteManufacturers(Connection& connection, const Catalogue& catalogue) {
  Insert insert(
      connection,
      "INSERT INTO MANUFACTURER (MANUFACTURERID, MANUFACTURERNAME, MANUFACTURERCODE) VALUES (?, ?, ?)");
  for (const Manufacturer& maker : catalogue.manufacturers) insert.Row(maker.id, maker.name, maker.code);
}

void WriteCategories(Connection& connection, const Catalogue& catalogue) {
  Insert catalog(connection, "INSERT INTO CATALOG (CATALOGID, CATALOGNAME) VALUES (?, ?)");
  for (std::size_t i = 0; i < catalogue.buses.size(); ++i)
    catalog.Row(static_cast<int>(i) + 1, catalogue.buses[i]);

  Insert category(connection, "INSERT INTO CATEGORY (CATEGORYID, CATEGORYNAME) VALUES (?, ?)");
  Insert node(connection, "INSERT INTO CATALOGNODE (NODEID, CATALOGID, CATEGORYID) VALUES (?, ?, ?)");
  for (const Category& each : catalogue.categories) {
    category.Row(each.id, each.name);
    node.Row(each.id, each.catalogId, each.id);
  }
}

void WriteUnits(Connection& connection) {
  Insert insert(connection, "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES (?, ?)");
  insert.Row(kDeviceUnit, "Piece");
  insert.Row(kBoardUnit, "Board");
}

void WriteProperties(Connection& connection) {
  Insert property(connection, "INSERT INTO PROPERTY (PROPERTYID, PROPERTYNAME, DATATYPE) VALUES (?, ?, ?)");
  for (const PropertyFacts& each : AllProperties())
    property.Row(static_cast<int>(each.id), each.name, each.dataType);

  Insert entry(connection,
               "INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID, SHOWINPRODUCTSHEET, SEQUENCE) "
               "VALUES (?, ?, ?, ?)");
  for (const GroupEntry& each : PropertiesOfGroups())
    entry.Row(static_cast<int>(each.group), static_cast<int>(each.property), each.inSheet ? 1 : 0,
              each.sequence);
}

void WriteIcons(Connection& connection) {
  Insert insert(connection, "INSERT INTO ICON (ICONID, ICONFILENAME) VALUES (?, ?)");
  int id = 0;
  for (const std::string& file : IconFiles()) insert.Row(++id, file);
}

void WriteProducts(Connection& connection, const Catalogue& catalogue) {
  Insert insert(
      connection,
      "INSERT INTO PRODUCT (PRODUCTID, PROPERTYGROUPID, MANUFACTURERID, NUMBER, UNITCODE, BUSINESSPARTNERID, "
      "PRODUCTDESCRIPTION, PRODUCTREMARK, PARTNUMBER, BUYFROMPARTNUMBER, PRODUCTEFFECTIVITYDATE, "
      "PRODUCTEXPIRYDATE, CLASSIFICATION, DATEUPDATED, STOCKITEM, MFRPARTNUMBER, CLASSCODE, VERSION, "
      "SUPPLIERCATALOGID) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  Insert place(connection,
               "INSERT INTO PRODUCTSBYCATEGORY (CATEGORYID, PRODUCTID, SEQUENCE) VALUES (?, ?, ?)");
  for (const Product& product : catalogue.products) {
    const std::string number = std::to_string(product.id);
    const std::string& bus = catalogue.buses[static_cast<std::size_t>(product.catalogId) - 1];
    const std::string category =
        product.categoryId == 0 ? bus + " withdrawn devices"
                                : catalogue.categories[static_cast<std::size_t>(product.categoryId) - 1].name;
    insert.Row(product.id, static_cast<int>(GroupOf(product)), product.manufacturerId, number,
               product.numbers.IsBoard() ? kBoardUnit : kDeviceUnit, product.supplierId, product.name,
               product.remark, product.partNumber, product.orderNumber, product.date,
               TextOrNull{product.withdrawn ? product.date : ""}, category, product.date,
               product.numbers.boards > 0 ? 0 : 1, product.makersNumber, bus, TextOrNull{product.revision},
               product.catalogId);
    if (product.categoryId != 0) place.Row(product.categoryId, product.id, product.sequence);
  }
}

void WriteDetails(Connection& connection, const Catalogue& catalogue) {
  Insert property(connection,
                  "INSERT INTO PRODUCTPROPVALUE (PRODUCTID, PROPERTYID, PROPERTYVALUE) VALUES (?, ?, ?)");
  Insert file(connection,
              "INSERT INTO ATTACHEDFILE (ATTACHEDFILEID, PRODUCTID, ICONID, FILENAME, DESCRIPTION) "
              "VALUES (?, ?, ?, ?, ?)");
  Insert price(
      connection,
      "INSERT INTO CATALOGPRODUCTPRICE (PRODUCTID, GROUPBY, PRICEEFFECTIVEDATE, PRICEEXPIRYDATE, PRICE, "
      "CURRENCYCODE) VALUES (?, ?, ?, ?, ? / 100.0, 'EUR')");
  int fileId = 0;
  for (const Product& product : catalogue.products) {
    for (const PropertyValue& each : PropertiesOf(catalogue, product))
      property.Row(product.id, static_cast<int>(each.property), each.value);
    for (const Attachment& each : AttachmentsOf(catalogue, product))
      file.Row(++fileId, product.id, each.icon, each.url, each.description);
    for (const Price& each : PricesOf(product))
      price.Row(product.id, each.group, each.from, TextOrNull{each.until}, each.amount);
  }
}

void WriteAlternatives(Connection& connection, const Catalogue& catalogue) {
  Insert insert(
      connection,
      "INSERT INTO ALTERNATIVEPRODUCTS (ORIGINALPRODUCT, ALTERNATIVEPRODUCT, SEQUENCE) VALUES (?, ?, ?)");
  int sequence = 0;
  int original = 0;
  for (const auto& [product, alternative] : AlternativesOf(catalogue)) {
    sequence = product == original ? sequence + 1 : 1;
    original = product;
    insert.Row(product, alternative, sequence);
  }
}

void WriteFavourites(Connection& connection, const Catalogue& catalogue) {
  Insert insert(connection,
                "INSERT INTO FAVORITES (USERID, PRODUCTID, PRESENT, FOLDERID, WAREHOUSEFAVORITE) "
                "VALUES (?, ?, ?, ?, ?)");
  for (const Favourite& each : DemoFavourites(catalogue))
    insert.Row(each.user, each.productId, each.present ? 1 : 0, each.folder, each.warehouse ? 1 : 0);
}

// What the engine takes a category's size for. ANALYZE writes the mean, but most products are in the few
// large categories: told the size of the category of an average product, the engine walks a list of a whole
// catalogue in its order and stops when the page is full, where else it would read and sort the catalogue for
// each page.
constexpr char kWeighCategories[] =
    "UPDATE sqlite_stat1 SET stat = (SELECT SUM(N) || ' ' || (SUM(N * N) / SUM(N)) FROM "
    "(SELECT COUNT(*) AS N FROM PRODUCTSBYCATEGORY GROUP BY CATEGORYID)) || "
    "CASE idx WHEN 'PRODUCTSBYCATEGORY_BY_SEQUENCE' THEN ' 1 1' ELSE ' 1' END "
    "WHERE idx IN ('PRODUCTSBYCATEGORY_BY_SEQUENCE', 'sqlite_autoindex_PRODUCTSBYCATEGORY_1')";

void Fill(const std::filesystem::path& path, const Catalogue& catalogue) {
  Connection connection(path);
  // Nobody else sees this file, and a broken one is never renamed: no journal is needed.
  connection.Execute("PRAGMA journal_mode = OFF");
  connection.Execute("PRAGMA synchronous = OFF");
  connection.Execute("BEGIN");
  connection.Execute(kTablesSql);
  WriteUnits(connection);
  WriteManufacturers(connection, catalogue);
  WriteCategories(connection, catalogue);
  WriteProperties(connection);
  WriteIcons(connection);
  WriteProducts(connection, catalogue);
  WriteDetails(connection, catalogue);
  WriteAlternatives(connection, catalogue);
  WriteFavourites(connection, catalogue);
  connection.Execute(kIndexesSql);
  connection.Execute("COMMIT");
  connection.Execute("ANALYZE");
  connection.Execute(kWeighCategories);
}

}  // namespace

void WriteDatabase(const Catalogue& catalogue, const std::filesystem::path& path) {
  std::filesystem::path unfinished = path;
  unfinished += ".new";
  std::filesystem::remove(unfinished);
  try {
    Fill(unfinished, catalogue);
    std::filesystem::rename(unfinished, path);
  } catch (...) {
    std::error_code ignored;
    std::filesystem::remove(unfinished, ignored);
    throw;
  }
}

}  // namespace shop
