// The catalogue as the shop has it: all devices of the lists that are installed, loaded once for the program.
#pragma once

#include <sqlite3.h>

#include "host-linux/database/sqlite/SqliteEngine.h"
#include "site/loader/Catalogue.h"
#include "site/loader/DatabaseWriter.h"
#include "tests/catalog/LiveCatalog.h"

namespace varnel {

// The loaded file, "test.db" in a folder of its own.
class LoadedFile {
 public:
  LoadedFile() {
    std::string pattern = (std::filesystem::temp_directory_path() / "varnel-loaded-XXXXXX").string();
    m_folder = mkdtemp(pattern.data());
    const shop::Keywords keywords =
        shop::Keywords::Parse(TextOf(VARNEL_SOURCE_DIR "/site/loader/keywords.tsv"));
    shop::WriteDatabase(shop::BuildCatalogue({{"PCI", shop::ParseIds(TextOf("/usr/share/misc/pci.ids"))},
                                              {"USB", shop::ParseIds(TextOf("/usr/share/misc/usb.ids"))}},
                                             keywords),
                        m_folder / "test.db");
  }
  LoadedFile(const LoadedFile&) = delete;
  LoadedFile& operator=(const LoadedFile&) = delete;
  ~LoadedFile() { std::filesystem::remove_all(m_folder); }

  const std::filesystem::path& Folder() const { return m_folder; }

 private:
  static std::string TextOf(const char* path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.good()) << path;
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::filesystem::path m_folder;
};

// Expected rows come from the engine itself: neither the ADO objects nor the dialect have a part in them.
class PlainDatabase {
 public:
  explicit PlainDatabase(const std::filesystem::path& path) {
    EXPECT_EQ(sqlite3_open_v2(path.c_str(), &m_handle, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  }
  PlainDatabase(const PlainDatabase&) = delete;
  PlainDatabase& operator=(const PlainDatabase&) = delete;
  ~PlainDatabase() { sqlite3_close(m_handle); }

  // The values of each row joined by ",", NULL as "-".
  std::vector<std::string> Rows(const std::string& sql) const {
    std::vector<std::string> rows;
    const auto add = [](void* out, int count, char** values, char**) {
      std::string row;
      for (int i = 0; i < count; ++i) row += (i > 0 ? "," : "") + std::string(values[i] ? values[i] : "-");
      static_cast<std::vector<std::string>*>(out)->push_back(row);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(m_handle, sql.c_str(), add, &rows, nullptr), SQLITE_OK)
        << sqlite3_errmsg(m_handle) << ": " << sql;
    return rows;
  }

  Long Number(const std::string& sql) const {
    const auto rows = Rows(sql);
    EXPECT_EQ(rows.size(), 1U) << sql;
    return rows.empty() ? 0 : static_cast<Long>(std::stol(rows.front()));
  }

 private:
  sqlite3* m_handle = nullptr;
};

class LoadedCatalogue : public testing::Test {
 protected:
  static const LoadedFile& File() {
    static const LoadedFile file;
    return file;
  }

  LoadedCatalogue() : m_plain(File().Folder() / "test.db") {
    hostlinux::AdoOptions options;
    options.engines = {std::make_shared<hostlinux::SqliteEngine>()};
    options.folder = File().Folder();
    m_database = hostlinux::AdoDatabase::Make(std::move(options));
  }

  std::unique_ptr<LiveHost> NewHost() const { return std::make_unique<LiveHost>(m_database); }

  // When the newest list that may be installed has been in effect for long.
  static Date Day() { return MakeDate({2090, 1, 1}); }

  // As the engine's text of a value: dates in their stored form.
  static std::string TextOf(const Variant& value) {
    if (value.IsNull()) return "-";
    if (!value.Is<Date>()) return ToUtf8(ToText(value));
    const DateParts at = SplitDate(ToDate(value));
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", at.year, at.month, at.day, at.hour,
                  at.minute, at.second);
    return text;
  }

  // The rows of a plain recordset with these columns; it and its connection are closed.
  static std::vector<std::string> Take(const ObjectPtr& answer, const std::vector<StringView>& columns) {
    const auto recordset = CastObject<hostlinux::AdoRecordset>(answer);
    std::vector<std::string> rows;
    for (; !recordset->IsEOF(); recordset->MoveNext()) {
      std::string row;
      for (std::size_t i = 0; i < columns.size(); ++i)
        row += (i == 0 ? "" : ",") + TextOf(ToPlain(answer->CallWith(u"Item", columns[i])));
      rows.push_back(row);
    }
    const auto connection = recordset->GetActiveConnection();
    recordset->Close();
    connection->Close();
    return rows;
  }

  PlainDatabase m_plain;
  std::shared_ptr<hostlinux::AdoDatabase> m_database;
  CatalogQuery m_catalog;
};

}  // namespace varnel
