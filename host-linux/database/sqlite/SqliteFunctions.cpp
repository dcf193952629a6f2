#include "host-linux/database/sqlite/SqliteFunctions.h"

#include <cstring>
#include <new>
#include <unordered_set>
#include <vector>

#include "host-linux/database/dialect/CalculatingFunctions.h"
#include "host-linux/database/dialect/LikePattern.h"
#include "host-linux/database/sqlite/SqliteErrors.h"

namespace hostlinux {
namespace {

// Comparisons between two looks at the clock.
constexpr std::size_t kStepsBetweenLooks = 1 << 16;
// Bytes. So short a part is compared at each place; a longer one must not be.
constexpr std::size_t kShortPart = 16;

const SqliteTimeLimit& TimeLimitOf(sqlite3_context* context) {
  return *static_cast<const SqliteTimeLimit*>(sqlite3_user_data(context));
}

// Null where the value is one, or memory has gone.
const char* Text(sqlite3_value* value) { return reinterpret_cast<const char*>(sqlite3_value_text(value)); }

// After Text: reading it may have changed its length.
std::string_view TextOf(sqlite3_value* value, const char* text) {
  return {text, static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

// A blob stays one: reading it as a text would change the value for others who have it.
std::string_view BytesOf(sqlite3_value* value, int type) {
  const void* bytes = type == SQLITE_BLOB ? sqlite3_value_blob(value) : sqlite3_value_text(value);
  if (bytes == nullptr) return {};
  return {static_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// From `from` on; npos where there is none. `part` isn't empty.
std::size_t Find(std::string_view text, std::string_view part, std::size_t from) {
  if (part.size() <= kShortPart || from > text.size()) return text.find(part, from);
  const void* found = memmem(text.data() + from, text.size() - from, part.data(), part.size());
  return found == nullptr ? std::string_view::npos
                          : static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

void Interrupted(sqlite3_context* context) {
  sqlite3_result_error(context, "interrupted", -1);
  sqlite3_result_error_code(context, SQLITE_INTERRUPT);
}

// --- regexp

void Regexp(sqlite3_context* context, int, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL || sqlite3_value_type(values[1]) == SQLITE_NULL) {
    return sqlite3_result_null(context);
  }
  const char* pattern = Text(values[0]);
  const char* text = Text(values[1]);
  if (pattern == nullptr || text == nullptr) return sqlite3_result_error_nomem(context);
  const SqliteTimeLimit& limit = TimeLimitOf(context);
  try {
    const std::optional<bool> matches = MatchesPatternInTime(varnel::FromUtf8(TextOf(values[1], text)),
                                                             varnel::FromUtf8(TextOf(values[0], pattern)),
                                                             [&limit] { return !limit.IsOver(); });
    if (!matches) return Interrupted(context);
    sqlite3_result_int(context, *matches ? 1 : 0);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  }
}

// --- instr

int PlaceInBytes(std::string_view text, std::string_view part) {
  const std::size_t found = Find(text, part, 0);
  return found == std::string_view::npos ? 0 : static_cast<int>(found) + 1;
}

// In characters. A part is looked for where characters begin: a byte inside one begins a part only if it is
// the text's first.
int PlaceInCharacters(std::string_view text, std::string_view part) {
  if (IsContinuation(part.front())) return text.starts_with(part) ? 1 : 0;
  const std::size_t found = Find(text, part, 0);
  if (found == std::string_view::npos) return 0;
  int place = 1;
  for (std::size_t i = 1; i <= found; ++i) place += IsContinuation(text[i]) ? 0 : 1;
  return place;
}

void Instr(sqlite3_context* context, int, sqlite3_value** values) {
  const int textType = sqlite3_value_type(values[0]);
  const int partType = sqlite3_value_type(values[1]);
  if (textType == SQLITE_NULL || partType == SQLITE_NULL) return;
  const std::string_view text = BytesOf(values[0], textType);
  const std::string_view part = BytesOf(values[1], partType);
  if (part.empty()) return sqlite3_result_int(context, 1);
  const bool inBytes = textType == SQLITE_BLOB && partType == SQLITE_BLOB;
  sqlite3_result_int(context, inBytes ? PlaceInBytes(text, part) : PlaceInCharacters(text, part));
}

// --- replace

// The number of places where `part` stands, one behind the other.
std::size_t Count(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = Find(text, part, 0); at != std::string_view::npos;
       at = Find(text, part, at + part.size()))
    ++count;
  return count;
}

std::string Replaced(std::string_view text, std::string_view part, std::string_view by, std::size_t length) {
  std::string replaced;
  replaced.reserve(length);
  std::size_t from = 0;
  for (std::size_t at = Find(text, part, 0); at != std::string_view::npos; at = Find(text, part, from)) {
    replaced.append(text.substr(from, at - from)).append(by);
    from = at + part.size();
  }
  return replaced.append(text.substr(from));
}

void Replace(sqlite3_context* context, int, sqlite3_value** values) {
  const char* text = Text(values[0]);
  const char* part = text == nullptr ? nullptr : Text(values[1]);
  if (part == nullptr) return;
  if (*part == '\0') return sqlite3_result_value(context, values[0]);
  const char* by = Text(values[2]);
  if (by == nullptr) return;
  const std::string_view textView = TextOf(values[0], text);
  const std::string_view partView = TextOf(values[1], part);
  const std::string_view byView = TextOf(values[2], by);
  const std::size_t count = Count(textView, partView);
  const std::size_t length = textView.size() - count * partView.size() + count * byView.size();
  const int most = sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LENGTH, -1);
  if (length > static_cast<std::size_t>(most)) return sqlite3_result_error_toobig(context);
  try {
    const std::string replaced = Replaced(textView, partView, byView, length);
    sqlite3_result_text64(context, replaced.data(), replaced.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  }
}

// --- trim

// Up to the first NUL. A leading byte takes all continuation bytes that follow it; every other byte stands
// alone.
std::vector<std::string_view> Characters(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  std::vector<std::string_view> characters;
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t end = begin + 1;
    if (static_cast<unsigned char>(text[begin]) >= 0xC0) {
      while (end < text.size() && IsContinuation(text[end])) ++end;
    }
    characters.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return characters;
}

// Takes characters off the ends of a text.
class Trimmer {
 public:
  Trimmer(std::string_view text, const std::vector<std::string_view>& characters,
          const SqliteTimeLimit& limit)
      : m_text(text), m_characters(characters), m_limit(limit) {}

  void TrimLeft() {
    while (const std::size_t length = First([&](std::string_view c) { return m_text.starts_with(c); }))
      m_text.remove_prefix(length);
  }
  void TrimRight() {
    while (const std::size_t length = First([&](std::string_view c) { return m_text.ends_with(c); }))
      m_text.remove_suffix(length);
  }
  // None where the time was over.
  std::optional<std::string_view> Result() const { return m_isOver ? std::nullopt : std::optional(m_text); }

 private:
  // The length of the first character that `matches`, or 0.
  template <typename Matches>
  std::size_t First(Matches matches) {
    for (const std::string_view character : m_characters) {
      if (++m_steps % kStepsBetweenLooks == 0 && m_limit.IsOver()) m_isOver = true;
      if (m_isOver) return 0;
      if (matches(character)) return character.size();
    }
    return 0;
  }

  std::string_view m_text;
  const std::vector<std::string_view>& m_characters;
  const SqliteTimeLimit& m_limit;
  std::size_t m_steps = 0;
  bool m_isOver = false;
};

template <bool left, bool right>
void Trim(sqlite3_context* context, int, sqlite3_value** values) {
  if (sqlite3_value_type(values[0]) == SQLITE_NULL) return;
  const char* text = Text(values[0]);
  const char* characters = text == nullptr ? nullptr : Text(values[1]);
  if (characters == nullptr) return;
  try {
    const std::vector<std::string_view> split = Characters(TextOf(values[1], characters));
    Trimmer trimmer(TextOf(values[0], text), split, TimeLimitOf(context));
    if (left) trimmer.TrimLeft();
    if (right) trimmer.TrimRight();
    const std::optional<std::string_view> trimmed = trimmer.Result();
    if (!trimmed) return Interrupted(context);
    sqlite3_result_text64(context, trimmed->data(), trimmed->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  }
}

struct OwnFunction {
  const char* name;
  int arguments;
  void (*run)(sqlite3_context*, int, sqlite3_value**);
};

constexpr OwnFunction kOwnFunctions[] = {
    {"regexp", 2, &Regexp},           {"instr", 2, &Instr},
    {"replace", 3, &Replace},         {"trim", 2, &Trim<true, true>},
    {"ltrim", 2, &Trim<true, false>}, {"rtrim", 2, &Trim<false, true>},
};

}  // namespace

void RegisterSqliteFunctions(sqlite3* database, const SqliteTimeLimit& timeLimit) {
  const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
  for (const OwnFunction& function : kOwnFunctions) {
    const int result = sqlite3_create_function_v2(database, function.name, function.arguments, flags,
                                                  const_cast<SqliteTimeLimit*>(&timeLimit), function.run,
                                                  nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) RaiseSqlite(database);
  }
}

bool IsSteadyFunction(const std::string& name) {
  static const std::unordered_set<std::string> others = {
      "current_date", "current_time", "current_timestamp", "date",      "datetime", "julianday", "random",
      "strftime",     "time",         "timediff",          "unixepoch",
  };
  return IsCalculating(name) && !others.contains(name);
}

}  // namespace hostlinux
