#include "tests/command/ForgedStates.h"

#include <array>

namespace hosttest {

namespace {

constexpr int kReads = 5;

// Of any length: a text of 1000 characters and more can't be read back.
std::string LongStateText(const std::string& text) {
  std::string body;
  for (const char c : text)
    body += (body.empty() ? "" : "+") + std::to_string(static_cast<int>(static_cast<unsigned char>(c)));
  const std::string length = std::to_string(body.size());
  return std::string(length.size() < 3 ? 3 - length.size() : 0, ' ') + length + body;
}

const std::vector<std::string>& Sorts() {
  static const std::vector<std::string> sorts = {
      // Other tables, the schema, the engine
      "0 UNION SELECT * FROM vault WHERE 'z' AS PRODUCTID",
      "0 UNION SELECT secret FROM(SELECT secret FROM vault) WHERE 'z' AS PRODUCTID",
      "(SELECT secret FROM vault)", "(SELECT secret FROM vault) AS PRODUCTID",
      "(SELECT sql FROM sqlite_master LIMIT 1) AS PRODUCTID",
      "(SELECT file FROM pragma_database_list) AS PRODUCTID",
      "(SELECT sql FROM sqlite_stmt LIMIT 1) AS PRODUCTID",
      "(SELECT group_concat(hex(data)) FROM dbstat) AS PRODUCTID", "vault.secret", "secret",
      "sqlite_version() AS PRODUCTID",
      // The quoting inside out: a key becomes SQL
      "' AS PRODUCTID", "'", "\"", "`", "[", "N'", "x' AS y",
      // Columns that the list doesn't show
      "P.BUYFROMPARTNUMBER AS PARTNUMBER", "BUYFROMPARTNUMBER", "P.DISABLED DESC", "rowid", "P.rowid",
      "_rowid_", "M.PRODUCTID", "PRODUCT.BUYFROMPARTNUMBER", "main.vault.secret",
      // The engine's weak places
      "hex(fts3_tokenizer('simple')) AS PRODUCTID", "fts3_tokenizer('simple'\t x'4141414141414141')",
      "load_extension('x')", "instr(zeroblob(6e7)\t zeroblob(3e7))", "randomblob(1e9)",
      "zeroblob(1000000000)",
      "(WITH RECURSIVE c(x) AS(SELECT 1 UNION ALL SELECT x+1 FROM c)SELECT count(*)FROM c) AS PRODUCTID",
      "replace(hex(zeroblob(1e6)) 'a' 'b')", "printf('%.99999999c' 'a')", "1 LIKE '%%%%%%%%%%%%%%%%a'",
      // Expressions, directions and remains
      "1", "2 DESC", "-1", "(1)", "1; DROP TABLE vault", "PRODUCTID; --", "PRODUCTID -- ", "PRODUCTID /* */",
      "PRODUCTID COLLATE NOCASE", "PRODUCTID ASC DESC", "PRODUCTID SIDEWAYS", "PRODUCTID NULLS FIRST",
      "PRODUCTID,", ",PRODUCTID", ",", "CASE WHEN 1 THEN PRODUCTID END", "upper(PRODUCTID)", "PRODUCTID+0",
      "PRODUCTID||''", "?1", ":a", "@a", "$a", "{d '2001-01-01'}", "[a AS b]", "[PRODUCTID AS x]",
      "[PRODUCTID", "PRODUCTID]", "[]", "[P.x]", "P.", ".PRODUCTID", "P..PRODUCTID", "*", "P.*",
      "PRODUCTID\t", "\nPRODUCTID", "PRODUCTID\x01", "\xC2\xA0PRODUCTID", "\xEF\xBC\xB0RODUCTID", "NULL",
      "random()", "EXISTS(SELECT 1 FROM vault)"};
  return sorts;
}

const std::vector<std::string>& Keys() {
  static const std::vector<std::string> keys = {"' OR 1=1 --",
                                                "'' OR ''=''",
                                                "x' UNION SELECT secret FROM vault --",
                                                "] UNION SELECT secret FROM vault --",
                                                "abc",
                                                "-1",
                                                "1e999",
                                                "9999999999999999999999",
                                                "0x10",
                                                "2024-02-30 00:00:00",
                                                "{d '2001-01-01'}",
                                                std::string("1\0 OR 1", 7),
                                                "\xED\xA0\x80",
                                                "\xFF\xFF",
                                                "%",
                                                "N'x'",
                                                "?1",
                                                "\\'",
                                                "\r\n; DROP TABLE vault",
                                                "",
                                                std::string(249, 'k')};
  return keys;
}

std::string Read(std::size_t i) { return std::to_string(i % kReads); }

void AddSorts(std::vector<Forged>& all) {
  for (const std::string& sort : Sorts()) {
    const std::string key = "|| (SELECT secret FROM vault) --";
    all.push_back({ForgedKind::Sort, "sort " + sort,
                   WrittenState({.read = Read(all.size()), .sort = sort, .keys = {key, key}})});
  }
  std::string many = "secret";
  for (int i = 0; i < 30; ++i) many += ",secret";
  all.push_back({ForgedKind::Sort, "sort many", WrittenState({.sort = many})});
}

void AddKeys(std::vector<Forged>& all, const std::string& sort) {
  for (const std::string& key : Keys()) {
    for (const char* read : {"1", "2"}) {
      all.push_back(
          {ForgedKind::Key, "key " + key, WrittenState({.read = read, .sort = sort, .keys = {key, key}})});
    }
  }
}

void AddNumbers(std::vector<Forged>& all, const std::string& sort) {
  const std::string highest = "2147483647";
  const std::string lowest = "z2147483648";
  const StateFields plain{.read = "1", .sort = sort, .keys = {"1", "1"}};
  const auto add = [&](const char* what, auto change) {
    StateFields fields = plain;
    change(fields);
    all.push_back({ForgedKind::Number, std::string("number ") + what, WrittenState(fields)});
  };
  for (const char* read : {"z1", "4", "5", "7", "z32768", "32767"})
    add(read, [&](auto& f) { f.read = read; });
  add("a high total", [&](auto& f) { f.total = highest; });
  add("a low total", [&](auto& f) { f.total = lowest, f.read = "3"; });
  add("a high record", [&](auto& f) { f.first = highest; });
  add("a low record", [&](auto& f) { f.first = lowest, f.read = "2"; });
  add("a high page", [&](auto& f) { f.page = highest; });
  add("a low page", [&](auto& f) { f.page = lowest, f.read = "2"; });
  add("a wide window", [&](auto& f) { f.left = lowest, f.right = highest; });
  add("a window of a million", [&](auto& f) { f.right = "1000000"; });
  add("a window turned round", [&](auto& f) { f.left = highest, f.right = lowest; });
  add("a high jump", [&](auto& f) { f.jump = highest; });
  add("a far jump",
      [&](auto& f) { f.jump = "2000000000", f.total = highest, f.right = highest, f.left = highest; });
  add("an overflowing jump",
      [&](auto& f) { f.jump = "3", f.page = "300000000", f.total = highest, f.left = "1", f.right = "4"; });
  add("a low jump", [&](auto& f) { f.jump = lowest; });
  add("reversed by 7", [&](auto& f) { f.reversed = "7"; });
}

void AddDamage(std::vector<Forged>& all, const std::string& sort) {
  const auto add = [&](const std::string& what, const std::string& state) {
    all.push_back({ForgedKind::Damage, "damage " + what, state});
  };
  const std::string whole = WrittenState({.read = "1", .sort = sort, .keys = {"1", "1"}});
  for (const std::size_t part : {2U, 3U, 4U, 5U}) add("cut short", whole.substr(0, whole.size() / part));
  add("letters", "ax" + whole);
  add("a blank", " ");
  add("a word", "PRODUCTID");
  add("a high read", WrittenState({.read = "40000", .sort = sort}));
  add("a high total", WrittenState({.total = "99999999999", .sort = sort}));
  add("a page of letters", WrittenState({.sort = sort, .page = "two"}));
  add("no key", "1x57x1x" + StateText(sort) + "0xz2x1x1x3x");
  add("thirty thousand keys", "1x57x1x" + StateText(sort) + "0x29999x  11");
  add("too many keys", WrittenState({.read = "1", .sort = sort, .keys = {"1", "1", "1", "1", "1"}}));
  add("one key", WrittenState({.read = "2", .sort = sort, .keys = {"1"}}));
  add("a negative length", "0x57x1xz120x1x1x3x");
  add("a sort of Null", "0x57x1x z10x1x1x3x");
  add("a character that is none", "0x57x1x  5999990x1x1x3x");
  add("a sort too long", WrittenState({.sort = std::string(400, 'a')}));
  add("a long text", std::string(6000, '1'));
  add("letters of others", "\xD9\xA1x\xD9\xA2x");
}

}  // namespace

std::string WrittenState(const StateFields& fields) {
  std::string text = fields.read + "x" + fields.total + "x" + fields.first + "x" +
                     LongStateText(fields.sort) + fields.reversed + "x";
  if (fields.read == "1" || fields.read == "2") {
    text += std::to_string(fields.keys.size() - 1) + "x";
    for (const std::string& key : fields.keys) text += LongStateText(key);
  }
  text += fields.page + "x" + fields.left + "x" + fields.right + "x";
  return fields.jump.empty() ? text : text + fields.jump + "x";
}

std::vector<Forged> ForgedStates(const std::string& sort) {
  std::vector<Forged> all;
  AddSorts(all);
  AddKeys(all, sort);
  AddNumbers(all, sort);
  AddDamage(all, sort);
  return all;
}

std::string FormWith(const std::string& state, int road) {
  static constexpr std::array<const char*, 8> kButtons = {"R_10", "R_11", "R_12", "R_13",
                                                          "R_14", "R_15", "R_16", "R_17"};
  const std::string text = Encoded(state);
  if (road < static_cast<int>(kButtons.size())) {
    const std::string name = kButtons[static_cast<std::size_t>(road)];
    return name + ".x=3&" + name + ".y=4&" + name + "d=" + text;
  }
  if (road == 8) return "R_1_jv=2&R_1_jp=0&R_1_jn=" + text;
  if (road == 9) return "R_1_jv=-2&R_1_jn=0&R_1_jp=" + text;
  return "CHOWC=1&CTATEC=" + text;
}

}  // namespace hosttest
