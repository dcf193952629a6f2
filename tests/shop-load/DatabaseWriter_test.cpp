#include "site/loader/DatabaseWriter.h"

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace shop {
namespace {

namespace fs = std::filesystem;

// A folder of this test's own, gone at its end.
class DatabaseWriter : public testing::Test {
 protected:
  void SetUp() override {
    m_folder = fs::temp_directory_path() / ("shop-load-test-" + std::to_string(getpid()));
    fs::create_directories(m_folder);
  }
  void TearDown() override { fs::remove_all(m_folder); }

  fs::path Path() const { return m_folder / "shop.db"; }

  // The rows of `sql`, the values of each joined by "|".
  std::vector<std::string> Rows(const char* sql) const {
    sqlite3* connection = nullptr;
    EXPECT_EQ(sqlite3_open_v2(Path().c_str(), &connection, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    std::vector<std::string> rows;
    const auto addRow = [](void* out, int count, char** values, char**) {
      std::string row;
      for (int i = 0; i < count; ++i) row += (i > 0 ? "|" : "") + std::string(values[i] ? values[i] : "NULL");
      static_cast<std::vector<std::string>*>(out)->push_back(row);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(connection, sql, addRow, &rows, nullptr), SQLITE_OK) << sqlite3_errmsg(connection);
    sqlite3_close(connection);
    return rows;
  }

  fs::path m_folder;
};

Catalogue Small() {
  const IdsFile pci =
      ParseIds("# Date: 2023-04-10 20:08:02\n8086  Intel\n\t1533  Ethernet\n\t\t8086 0001  Caf\xE9 'x'\n");
  const IdsFile usb = ParseIds("046d  Logitech\n\tc077  Mouse\n");
  return BuildCatalogue({{"PCI", pci}, {"USB", usb}}, Keywords::Parse("network adapters\tethernet\n"));
}

using Texts = std::vector<std::string>;

TEST_F(DatabaseWriter, WritesProductsWithTheirMakersAndCategories) {
  WriteDatabase(Small(), Path());
  EXPECT_EQ(
      Rows("SELECT P.PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, MANUFACTURERNAME, CLASSIFICATION, "
           "DATEUPDATED, "
           "UNITDESCRIPTION FROM PRODUCT P JOIN MANUFACTURER M ON M.MANUFACTURERID = P.MANUFACTURERID "
           "JOIN UNIT U ON U.UNITCODE = P.UNITCODE ORDER BY 1"),
      (Texts{"1|8086:1533|Ethernet|Intel|PCI network adapters|2023-04-10 20:08:02|Piece",
             "2|8086:1533/8086:0001|Caf\xC3\xA9 'x'|Intel|PCI network adapters|2023-04-10 20:08:02|Board",
             "3|046d:c077|Mouse|Logitech|USB other devices|2000-01-01 00:00:00|Piece"}));
}

TEST_F(DatabaseWriter, EveryProductStandsOnANodeOfItsBus) {
  WriteDatabase(Small(), Path());
  EXPECT_EQ(
      Rows("SELECT CATALOGNAME, CATEGORYNAME, PBC.PRODUCTID, SEQUENCE FROM CATALOG C JOIN CATALOGNODE N ON "
           "N.CATALOGID = C.CATALOGID JOIN CATEGORY K ON K.CATEGORYID = N.CATEGORYID JOIN PRODUCTSBYCATEGORY "
           "PBC "
           "ON PBC.CATEGORYID = N.CATEGORYID ORDER BY NODEID, SEQUENCE"),
      (Texts{"PCI|PCI network adapters|2|1", "PCI|PCI network adapters|1|2", "USB|USB other devices|3|1"}));
}

TEST_F(DatabaseWriter, WritesWhatAProductSheetShows) {
  WriteDatabase(Small(), Path());
  EXPECT_EQ(
      Rows("SELECT PROPERTYNAME, PROPERTYVALUE FROM PRODUCTPROPVALUE V JOIN PROPERTY P ON P.PROPERTYID = "
           "V.PROPERTYID WHERE PRODUCTID = 3 ORDER BY V.PROPERTYID"),
      (Texts{"Bus|USB", "Vendor id|046d", "Device id|c077", "Class|other devices"}));
  EXPECT_EQ(Rows("SELECT ICONFILENAME, FILENAME FROM ATTACHEDFILE A JOIN ICON I ON I.ICONID = A.ICONID WHERE "
                 "PRODUCTID = 3"),
            Texts{"IconDevice.svg|https://usb-ids.gowdy.us/read/UD/046d/c077"});
  EXPECT_EQ(Rows("SELECT COUNT(*), COUNT(PRICEEXPIRYDATE) FROM CATALOGPRODUCTPRICE WHERE PRODUCTID = 3"),
            Texts{"6|4"});
  EXPECT_EQ(
      Rows("SELECT typeof(PRICE), PRICE * 100 = CAST(PRICE * 100 AS INT) FROM CATALOGPRODUCTPRICE LIMIT 1"),
      Texts{"real|1"});
}

// Enough rows that sorting them would be dearer than walking an index.
Catalogue Large() {
  std::string list;
  for (const char* vendor : {"0001", "0002"}) {
    list += std::string(vendor) + "  Maker " + vendor + "\n";
    for (int id = 1000; id < 2500; ++id)
      list += "\t" + std::to_string(id) + "  Device " + std::to_string(id % 97) + "\n";
  }
  return BuildCatalogue({{"PCI", ParseIds(list)}}, Keywords::Parse(""));
}

TEST_F(DatabaseWriter, EveryOrderOfTheListIsServedByAnIndex) {
  WriteDatabase(Large(), Path());
  for (const std::string order : {"PRODUCTDESCRIPTION", "PARTNUMBER", "P.MANUFACTURERID, PRODUCTDESCRIPTION",
                                  "CLASSIFICATION, PRODUCTDESCRIPTION"}) {
    const std::string sql =
        "EXPLAIN QUERY PLAN SELECT PRODUCTID, PARTNUMBER, PRODUCTDESCRIPTION, P.MANUFACTURERID, "
        "MANUFACTURERNAME, "
        "CLASSIFICATION FROM PRODUCT P LEFT JOIN MANUFACTURER M ON M.MANUFACTURERID = P.MANUFACTURERID ORDER "
        "BY " +
        order + ", PRODUCTID LIMIT 20";
    for (const std::string& step : Rows(sql.c_str()))
      EXPECT_EQ(step.find("TEMP B-TREE"), std::string::npos) << order;
  }
}

TEST_F(DatabaseWriter, IsAnalysed) {
  WriteDatabase(Small(), Path());
  EXPECT_EQ(Rows("SELECT COUNT(*) > 0 FROM sqlite_stat1 WHERE tbl = 'PRODUCT'"), Texts{"1"});
}

// Two products in one category, one in another: an average product is in a category of (2 * 2 + 1 * 1) / 3.
TEST_F(DatabaseWriter, CountsLargeCategoriesByTheirProducts) {
  WriteDatabase(Small(), Path());
  EXPECT_EQ(Rows("SELECT idx, stat FROM sqlite_stat1 WHERE tbl = 'PRODUCTSBYCATEGORY' ORDER BY idx"),
            (Texts{"PRODUCTSBYCATEGORY_BY_PRODUCT|3 1 1", "PRODUCTSBYCATEGORY_BY_SEQUENCE|3 1 1 1",
                   "sqlite_autoindex_PRODUCTSBYCATEGORY_1|3 1 1"}));
}

TEST_F(DatabaseWriter, WritesNoSizeOfCategoriesThatArentThere) {
  WriteDatabase(BuildCatalogue({{"PCI", {}}}, Keywords::Parse("network adapters\tethernet\n")), Path());
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM sqlite_stat1 WHERE tbl = 'PRODUCTSBYCATEGORY'"), Texts{"0"});
}

std::string BytesOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(DatabaseWriter, TheSameListsGiveTheSameBytesAndReplaceTheOldFile) {
  WriteDatabase(Small(), Path());
  const std::string first = BytesOf(Path());
  WriteDatabase(Small(), Path());
  EXPECT_FALSE(first.empty());
  EXPECT_EQ(BytesOf(Path()), first);
  EXPECT_FALSE(fs::exists(Path().string() + ".new"));
}

TEST_F(DatabaseWriter, AFailureLeavesTheOldFileAlone) {
  std::ofstream(Path()) << "old";
  Catalogue broken = Small();
  broken.products[1].id = 1;
  EXPECT_THROW(WriteDatabase(broken, Path()), std::runtime_error);
  EXPECT_EQ(BytesOf(Path()), "old");
  EXPECT_FALSE(fs::exists(Path().string() + ".new"));
}

}  // namespace
}  // namespace shop
