#include "host-linux/database/dialect/PageSeek.h"

#include <algorithm>

#include "host-linux/database/dialect/KeyLiteral.h"
#include "host-linux/database/dialect/SqlRewriter.h"
#include "host-linux/database/dialect/StatementWriter.h"

namespace hostlinux {
namespace {

using std::size_t;
using varnel::host::PageSpec;

// So that looking ahead needs no test.
constexpr size_t kPadding = 4;

enum class Behind { Anything, Greater, Less, Null, NotNull, Nothing };

// Rows that are equal to the anchor in the first `same` keys, and behind it in the next one; `isRow`: in all others, which are
// compared as one row value.
struct Arm {
  size_t same = 0;
  Behind behind = Behind::Anything;
  bool isRow = false;
};

// What the rows of one statement have in a key: values of their own, the same value, NULL.
enum class Held { Free, Equal, Null };

std::u16string NumberText(std::int64_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

// What a key is compared as in a row value: None where only a comparison of its own is right, or where no
// index may be met. SQLite doesn't look a row up by a name of its number, which only an INTEGER can be.
RowPart PartOf(const ColumnFact& column, std::u16string_view literal) {
  if (UpperAscii(column.declaredType) == u"INTEGER") return RowPart::None;
  const LiteralTraits traits = TraitsOf(TextValue(literal));
  const ColumnKind kind = KindOfDeclaredType(column.declaredType);
  if (kind == ColumnKind::Text) return RowPart::Text;
  const bool isWhole = kind == ColumnKind::Integer && traits.isNumeral && traits.isInteger;
  return isWhole ? RowPart::Number : RowPart::None;
}

class Seeker {
 public:
  // All outlive it.
  Seeker(const PageSpec& page, const PageParts& parts, IColumnFacts& facts, const IEngineWords& words)
      : m_page(page), m_parts(parts), m_facts(facts), m_words(words), m_rowBegin(parts.Keys().size()) {}

  std::vector<PageStep> Run() {
    ReadRow();
    const std::vector<Arm> arms = Arms();
    if (IsUnion() && arms.size() < 2) return {};
    for (const Arm& arm : arms) IsUnion() ? WriteUnion(arm) : WriteArm(arm);
    return std::move(m_steps);
  }

 private:
  bool IsUnion() const { return m_parts.IsUnion(); }
  bool IsJump() const { return m_parts.IsJump(); }
  const PageBranch& First() const { return m_parts.First(); }
  const std::vector<PageSortKey>& Keys() const { return m_parts.Keys(); }
  bool IsNeverNull(const PageSortKey& key) const { return m_parts.IsNeverNull(First(), key); }

  // --- a row value

  // The keys at the end of the order that can be compared as one row.
  void ReadRow() {
    if (!m_words.SeeksRows() || IsUnion() || !m_page.behindAnchor || !IsOneTable(First())) return;
    m_rowParts.resize(Keys().size(), RowPart::None);
    while (m_rowBegin > 0 && IsRowPart(m_rowBegin - 1)) {
      --m_rowBegin;
      // Its NULLs lie behind all of the row, so that those of a key behind it would lie within.
      if (MayHaveNullsBehind(Keys()[m_rowBegin])) break;
    }
    if (Keys().size() - m_rowBegin < 2) m_rowBegin = Keys().size();
  }

  bool IsRowPart(size_t i) {
    const PageSortKey& key = Keys()[i];
    if (key.isNull || key.ascending != Keys().back().ascending) return false;
    if (i + 1 == Keys().size() && MayHaveNullsBehind(key)) return false;
    const auto facts = m_parts.FactsOf(First(), key);
    if (!facts || facts->size() != 1) return false;
    m_rowParts[i] = PartOf(facts->front(), key.anchor.text);
    return m_rowParts[i] != RowPart::None;
  }

  bool MayHaveNullsBehind(const PageSortKey& key) const { return !key.ascending && !IsNeverNull(key); }

  // The first `inFront` keys are those of a walk's front.
  void WriteRow(StatementWriter& writer, size_t inFront = 0) const {
    writer.Add(u" (");
    for (size_t i = m_rowBegin; i < Keys().size(); ++i) {
      if (i > m_rowBegin) writer.Add(u",");
      const std::u16string_view gap = i == m_rowBegin ? u"" : u" ";
      if (i < inFront)
        writer.Add(std::u16string(gap) + NameInFront(i));
      else
        writer.CopyBehind(gap, Keys()[i].expression);
    }
    writer.Add(Keys().back().ascending ? u") > (" : u") < (");
    for (size_t i = m_rowBegin; i < Keys().size(); ++i) {
      if (i > m_rowBegin) writer.Add(u",");
      writer.AddAnchor(Keys()[i].anchor, i == m_rowBegin ? u"" : u" ", m_rowParts[i]);
    }
    writer.Add(u")");
  }

  // --- the arms

  std::vector<Arm> Arms() const {
    if (!m_page.behindAnchor) return {Arm{}};
    std::vector<Arm> arms;
    if (m_rowBegin < Keys().size()) AddRowArms(arms);
    for (size_t level = m_rowBegin; level-- > 0;) {
      const PageSortKey& key = Keys()[level];
      if (key.ascending) {
        arms.push_back({level, key.isNull ? Behind::NotNull : Behind::Greater});
      } else if (!key.isNull) {
        arms.push_back({level, Behind::Less});
        if (IsUnion() || !IsNeverNull(key)) arms.push_back({level, Behind::Null});
      }
    }
    // Behind a NULL in all keys that are read downward lies nothing.
    if (arms.empty()) arms.push_back({0, Behind::Nothing});
    return arms;
  }

  void AddRowArms(std::vector<Arm>& o_arms) const {
    const PageSortKey& first = Keys()[m_rowBegin];
    o_arms.push_back({m_rowBegin, first.ascending ? Behind::Greater : Behind::Less, true});
    if (MayHaveNullsBehind(first)) o_arms.push_back({m_rowBegin, Behind::Null});
  }

  std::u16string TextOf(const PageBranch& branch, const PageSortKey& key, Behind behind) const {
    switch (behind) {
      case Behind::Greater:
        return u" > ";
      case Behind::Less:
        return u" < ";
      case Behind::Null:
        return u" is null";
      default: {
        const auto facts = m_parts.FactsOf(branch, key);
        const bool isOne = facts && facts->size() == 1;
        return m_words.PastNulls(isOne ? KindOfDeclaredType(facts->front().declaredType)
                                       : ColumnKind::Unknown);
      }
    }
  }

  void WriteSelect(StatementWriter& writer, const PageBranch& branch, const Arm& arm) const {
    writer.Copy(branch.tokens, {0, branch.end});
    WriteCondition(writer, branch, arm);
  }

  // Behind the branch's own condition, if it has one.
  void WriteCondition(StatementWriter& writer, const PageBranch& branch, const Arm& arm) const {
    if (arm.behind == Behind::Anything) return;
    writer.Add(branch.hasWhere ? u" AND" : u" WHERE");
    if (arm.behind == Behind::Nothing) return writer.Add(u" 0=1");
    for (size_t i = 0; i < arm.same; ++i) {
      writer.CopyBehind(u" ", Keys()[i].expression);
      writer.Add(Keys()[i].isNull ? u" is null" : u" =");
      if (!Keys()[i].isNull) writer.AddAnchor(Keys()[i].anchor, u" ");
      writer.Add(u" and");
    }
    if (arm.isRow) return WriteRow(writer);
    const PageSortKey& key = Keys()[arm.same];
    writer.CopyBehind(u" ", key.expression);
    writer.Add(TextOf(branch, key, arm.behind));
    if (arm.behind == Behind::Greater || arm.behind == Behind::Less) writer.AddAnchor(key.anchor, u" ");
  }

  void WriteArm(const Arm& arm) {
    const SortWork work = IsRandom() ? SortWork::Nothing : WorkOf(arm);
    if (const std::optional<size_t> lead = LeadOf(arm); lead && work == SortWork::Groups)
      return WriteLeads(arm, Keys()[*lead]);
    StatementWriter writer;
    WriteSelect(writer, First(), arm);
    Close(std::move(writer), HeldIn(arm));
    if (work == SortWork::Everything) AddWalk(arm);
  }

  // No two reads are alike.
  bool IsRandom() const { return HasAnyWord(First().tokens, {0, First().end}, {u"RANDOM", u"RANDOMBLOB"}); }

  SortWork WorkOf(const Arm& arm) const {
    if (!LeadOf(arm) && !MayWalk(arm)) return SortWork::Nothing;
    StatementWriter writer;
    WriteSelect(writer, First(), arm);
    WriteEnd(writer);
    return WorkOf(writer.Written());
  }
  SortWork WorkOf(const SqlTokens& tokens) const {
    return m_facts.SortsFor(PrintSql(tokens, 0, tokens.size(), true)).value_or(SortWork::Nothing);
  }

  // The key by which rows are grouped that the engine may sort group by group: keys from there on go both ways.
  std::optional<size_t> LeadOf(const Arm& arm) const {
    const size_t free = arm.behind == Behind::Null ? arm.same + 1 : arm.same;
    if (free >= Keys().size()) return std::nullopt;
    const bool isMixed =
        std::any_of(Keys().begin() + static_cast<std::ptrdiff_t>(free), Keys().end(),
                    [&](const PageSortKey& key) { return key.ascending != Keys()[free].ascending; });
    return isMixed ? std::optional(free) : std::nullopt;
  }

  // The rows of an arm by their value of `lead`: NULLs, which have an order of their own, the nearest value, what lies
  // behind it.
  void WriteLeads(const Arm& arm, const PageSortKey& lead) {
    const bool isOpen = arm.behind == Behind::Anything || arm.behind == Behind::Null;
    const bool mayBeNull = isOpen && !IsNeverNull(lead);
    if (mayBeNull && lead.ascending) WriteNulls(arm, lead);
    WriteNearest(arm, lead, mayBeNull, Held::Equal);
    WriteNearest(arm, lead, mayBeNull, Held::Free);
    if (mayBeNull && !lead.ascending) WriteNulls(arm, lead);
  }

  // What the rows of `arm` have in each key, and `held` in that of `lead`.
  std::vector<Held> HeldIn(const Arm& arm) const {
    std::vector<Held> all(Keys().size(), Held::Free);
    for (size_t i = 0; i < arm.same; ++i) all[i] = Keys()[i].isNull ? Held::Null : Held::Equal;
    if (arm.behind == Behind::Null) all[arm.same] = Held::Null;
    return all;
  }
  std::vector<Held> HeldIn(const Arm& arm, const PageSortKey& lead, Held held) const {
    std::vector<Held> all = HeldIn(arm);
    all[static_cast<size_t>(&lead - Keys().data())] = held;
    return all;
  }

  void WriteNulls(const Arm& arm, const PageSortKey& lead) {
    StatementWriter writer;
    WriteSelect(writer, First(), arm);
    WriteAnd(writer, arm);
    writer.CopyBehind(u" ", lead.expression);
    writer.Add(u" is null");
    Close(std::move(writer), HeldIn(arm, lead, Held::Null));
  }

  // The rows of the nearest value, or those behind it.
  void WriteNearest(const Arm& arm, const PageSortKey& lead, bool mayBeNull, Held held) {
    StatementWriter writer;
    WriteSelect(writer, First(), arm);
    WriteAnd(writer, arm);
    writer.CopyBehind(u" ", lead.expression);
    writer.Add(held == Held::Equal ? u" =" : lead.ascending ? u" >" : u" <");
    writer.Add(u" (SELECT");
    writer.CopyBehind(u" ", lead.expression);
    writer.Copy(First().tokens, {First().from.begin, First().end});
    WriteCondition(writer, First(), arm);
    if (mayBeNull) {
      WriteAnd(writer, arm);
      writer.CopyBehind(u" ", lead.expression);
      writer.Add(TextOf(First(), lead, Behind::NotNull));
    }
    const std::u16string_view way = lead.ascending ? u" ASC" : u" DESC";
    writer.Add(u" ORDER BY");
    WriteNullsAlike(writer, arm, way);
    writer.CopyBehind(u" ", lead.expression);
    writer.Add(way);
    writer.Add(u" LIMIT 1)");
    Close(std::move(writer), HeldIn(arm, lead, held));
  }

  // The keys that are NULL, in front of the one that is sorted by.
  void WriteNullsAlike(StatementWriter& writer, const Arm& arm, std::u16string_view way) const {
    if (m_words.KnowsNullsAlike()) return;
    const std::vector<Held> held = HeldIn(arm);
    for (size_t i = 0; i < held.size(); ++i) {
      if (held[i] != Held::Null) continue;
      writer.CopyBehind(u" ", Keys()[i].expression);
      writer.Add(way);
      writer.Add(u",");
    }
  }

  // Behind the condition of the query and of the arm.
  void WriteAnd(StatementWriter& writer, const Arm& arm) const {
    writer.Add(First().hasWhere || arm.behind != Behind::Anything ? u" and" : u" WHERE");
  }

  // --- a walk through the order

  // Along the first sort column, wherever it begins.
  bool MayWalk(const Arm& arm) const {
    return arm.same == 0 && arm.behind != Behind::Null && arm.behind != Behind::Nothing && First().hasWhere &&
           IsPlainColumn(Keys()[0]);
  }

  // The table of the first sort column, as FROM names it.
  std::optional<FromTable> WalkedTable() const {
    const PageBranch& branch = First();
    const std::u16string name = m_parts.TableOf(Keys()[0]);
    if (name.empty()) return std::nullopt;
    if (HasAnyWord(branch.tokens, branch.from, {u"RIGHT", u"FULL", u"INDEXED"})) return std::nullopt;
    std::optional<FromTable> found;
    for (const FromTable& table : ReadFromTables(branch.tokens, branch.structure, branch.from).tables) {
      if (PlainName(branch.tokens[table.name]) != name) continue;
      if (found) return std::nullopt;  // twice: which one it is, only the engine knows
      if (table.mayBeNull) return std::nullopt;
      found = table;
    }
    return found && m_parts.IsNamedAs(*found, Keys()[0]) ? found : std::nullopt;
  }

  // How many of the keys the table in front has: its columns, up to the first one of another.
  size_t KeysInFront(const FromTable& table) const {
    const std::u16string name = m_parts.TableOf(Keys()[0]);
    size_t count = 1;
    while (count < Keys().size() && IsPlainColumn(Keys()[count]) && m_parts.TableOf(Keys()[count]) == name &&
           m_parts.IsNamedAs(table, Keys()[count]))
      ++count;
    return count;
  }

  static std::u16string NameInFront(size_t key) {
    return key == 0 ? u"\"page key\""
                    : u"\"page key " + NumberText(static_cast<std::int64_t>(key + 1)) + u"\"";
  }

  // The statement is the last one that was written.
  void AddWalk(const Arm& arm) {
    if (!MayWalk(arm)) return;
    const std::optional<FromTable> table = WalkedTable();
    if (!table || (HasBareStar() && !IsOneTable(First()))) return;
    StatementWriter writer;
    WriteWalk(writer, arm, *table);
    if (m_facts.Describe(PrintSql(writer.Written(), 0, writer.Written().size(), true)) &&
        WorkOf(writer.Written()) != SortWork::Everything) {
      m_steps.back().walk = writer.Take();
    }
  }

  bool HasBareStar() const { return std::any_of(First().items.begin(), First().items.end(), IsBareStar); }

  void WriteWalk(StatementWriter& writer, const Arm& arm, const FromTable& table) const {
    const PageBranch& branch = First();
    const PageSortKey& key = Keys()[0];
    const size_t inFront = KeysInFront(table);
    writer.Copy(branch.tokens, {0, branch.list.begin});
    if (HasBareStar()) writer.Add(u" " + table.called + u".");
    writer.Copy(branch.tokens, branch.list);
    writer.Add(u" FROM (SELECT _rowid_ AS \"page row\"");
    for (size_t i = 0; i < inFront; ++i) {
      writer.Add(u",");
      writer.CopyBehind(u" ", {Keys()[i].expression.back()});
      writer.Add(u" AS " + NameInFront(i));
    }
    writer.Add(u" FROM");
    writer.CopyBehind(u" ", {branch.tokens[table.name]});
    writer.Add(u") AS \"page\" CROSS JOIN");
    writer.Copy(branch.tokens, {branch.from.begin + 1, branch.from.end});
    writer.Add(u" WHERE " + table.called + u"._rowid_ = +\"page row\" AND");
    writer.Copy(branch.tokens, {branch.Scope().Clause(SqlClause::Where).begin + 1, branch.end});
    if (arm.isRow) {
      writer.Add(u" AND");
      WriteRow(writer, inFront);
    } else if (arm.behind != Behind::Anything) {
      writer.Add(u" AND \"page key\"" + TextOf(branch, key, arm.behind));
      if (arm.behind == Behind::Greater || arm.behind == Behind::Less) writer.AddAnchor(key.anchor, u" ");
    }
    writer.Add(u" ORDER BY");
    for (size_t i = 0; i < inFront; ++i)
      writer.Add((i == 0 ? u" " : u", ") + NameInFront(i) + (Keys()[i].ascending ? u" ASC" : u" DESC"));
    if (inFront < Keys().size()) {
      writer.Add(u",");
      writer.Copy(m_parts.Order(), m_parts.OrderSpan(inFront));
    }
    WriteLimit(writer);
  }

  void WriteUnion(const Arm& arm) {
    std::u16string order;
    for (size_t i = 0; i < Keys().size(); ++i) {
      order += (i == 0 ? u" ORDER BY " : u",") +
               NumberText(static_cast<std::int64_t>(m_parts.Positions()[i])) +
               (Keys()[i].ascending ? u" ASC" : u" DESC");
    }
    order += u" LIMIT " + NumberText(m_page.rows);
    StatementWriter writer;
    for (const PageBranch& branch : m_parts.Branches()) {
      const std::u16string_view open = m_words.WrapsBranches() ? u"SELECT * FROM (" : u"(";
      writer.Add((&branch == &First() ? u"" : u" UNION ") + std::u16string(open));
      WriteSelect(writer, branch, arm);
      writer.Add(order + u")");
    }
    writer.Add(order);
    m_steps.push_back({writer.Take(), {}});
  }

  void WriteEnd(StatementWriter& writer) const {
    writer.Copy(m_parts.Order(), m_parts.OrderSpan());
    WriteLimit(writer);
  }
  void WriteLimit(StatementWriter& writer) const {
    writer.Add(u" LIMIT " + NumberText(IsJump() ? m_page.way : m_page.rows));
  }
  void Close(StatementWriter writer, const std::vector<Held>& held) {
    StatementWriter turned = writer;
    WriteEnd(writer);
    const std::u16string order = NullsTurned(held);
    if (order.empty() || IsReadInOrder(writer.Written())) return AddStep(std::move(writer));
    turned.Add(order);
    WriteLimit(turned);
    AddStep(std::move(turned));
  }
  void AddStep(StatementWriter writer) { m_steps.push_back({writer.Take(), {}}); }

  // The order in which keys that are NULL go the way of the next one that isn't held, if that is another one.
  std::u16string NullsTurned(const std::vector<Held>& held) const {
    if (m_words.KnowsNullsAlike()) return {};
    std::vector<bool> ways(Keys().size());
    std::optional<bool> next;
    bool isOther = false;
    for (size_t i = Keys().size(); i-- > 0;) {
      ways[i] = held[i] == Held::Null ? next.value_or(Keys()[i].ascending) : Keys()[i].ascending;
      isOther = isOther || ways[i] != Keys()[i].ascending;
      if (held[i] == Held::Free) next = ways[i];
    }
    return isOther ? m_parts.OrderText(ways) : std::u16string();
  }

  // The values of a text's own parameters aren't known here.
  bool IsReadInOrder(SqlTokens tokens) const {
    if (HasAnyKind(tokens, {0, tokens.size()}, {SqlTokenKind::Parameter})) return false;
    tokens.resize(tokens.size() + 1 + kPadding);
    RewriteStatement(tokens, m_facts, m_words, {}, nullptr);
    return m_facts.ReadsInOrder(PrintSql(tokens, 0, tokens.size(), true));
  }

  const PageSpec& m_page;
  const PageParts& m_parts;
  IColumnFacts& m_facts;
  const IEngineWords& m_words;
  size_t m_rowBegin;  // the first one of the keys of the row value; behind the last one: there is none
  std::vector<RowPart> m_rowParts;
  std::vector<PageStep> m_steps;
};

}  // namespace

std::vector<PageStep> SeekPage(const PageSpec& page, PageTokens tokens, IColumnFacts& facts,
                               const IEngineWords& words) {
  const bool isJump = page.way != -1;
  if (page.rows <= 0 || (isJump && (page.way <= 0 || page.branches.size() > 1))) return {};
  const auto parts = PageParts::Read(page, std::move(tokens), facts);
  return parts ? Seeker(page, *parts, facts, words).Run() : std::vector<PageStep>();
}

}  // namespace hostlinux
