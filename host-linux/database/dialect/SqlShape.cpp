#include "host-linux/database/dialect/SqlShape.h"

#include <algorithm>

#include "host-linux/database/dialect/KeyLiteral.h"

namespace hostlinux {
namespace {

// 0 and 1 are flags, of which the engine's planner thinks that they are common. Others have forms of their own where they
// don't fit an integer.
char16_t NumberMark(std::u16string_view text) {
  if (text == u"0" || text == u"1") return static_cast<char16_t>(0x100 | text[0]);
  return IsShortWhole(text) ? u'\x200' : u'\x201';
}

char16_t ValueMark(const LiteralTraits& traits) {
  const bool bits[] = {traits.isNumeral,  traits.isInteger, traits.hasSpread, traits.isDate,
                       traits.isMidnight, traits.isStored,  traits.isTrue,    traits.isFalse};
  unsigned mark = 0;
  for (const bool bit : bits) mark = mark * 2 + (bit ? 1 : 0);
  return static_cast<char16_t>(mark);
}

char16_t TraitsMark(const SqlLiteral& literal) {
  switch (literal.kind) {
    case SqlTokenKind::Number:
      return NumberMark(literal.text);
    case SqlTokenKind::Escape:
      return static_cast<char16_t>(0x300 | ValueMark(TraitsOf(ValueOf(literal.kind, literal.text))));
    default: {
      // Without its quotes; a doubled quote within changes none of the traits.
      const std::size_t open = literal.text.find(u'\'') + 1;
      const std::size_t close = literal.text.size() > open && literal.text.back() == u'\'' ? 1 : 0;
      return ValueMark(TraitsOf(literal.text.substr(open, literal.text.size() - open - close)));
    }
  }
}

// How many literals back the last equal one lies; 0 for none.
char16_t DistanceToEqual(const std::vector<SqlLiteral>& literals) {
  const SqlLiteral& last = literals.back();
  const std::size_t reach = std::min(literals.size() - 1, kLiteralsCompared);
  for (std::size_t back = 1; back <= reach; ++back) {
    const SqlLiteral& other = literals[literals.size() - 1 - back];
    if (other.kind == last.kind && other.text == last.text) return static_cast<char16_t>(back);
  }
  return 0;
}

char16_t ParameterMark(const ParameterFacts& facts) {
  if (!facts.isText) return facts.isFraction ? u'\x401' : u'\x400';
  return static_cast<char16_t>((facts.isPattern ? 0x600 : 0x500) | ValueMark(facts.traits));
}

bool IsOfEngine(SqlTokenKind kind, char16_t first) {
  if (kind == SqlTokenKind::Other) return first == u'\0';
  return kind == SqlTokenKind::Word && (first == u'@' || first == u'$' || first == u'#');
}

}  // namespace

bool IsShortWhole(std::u16string_view number) {
  constexpr std::size_t kDigits = 9;
  return !number.empty() && number.size() <= kDigits &&
         number.find_first_not_of(u"0123456789") == std::u16string_view::npos;
}

SqlShape ShapeOf(std::u16string_view sql, const varnel::host::StatementParameters& parameters) {
  SqlShape shape;
  ShapeParameters own(parameters);
  shape.key.reserve(sql.size() + 16);
  AddToShape(shape, sql, own);
  shape.unbound = own.markers.Fault();
  return shape;
}

void AddToShape(SqlShape& shape, std::u16string_view sql, ShapeParameters& io_parameters) {
  if (sql.find(u'\0') != std::u16string_view::npos) shape.mayLift = false;
  SqlScanner scanner(sql);
  std::size_t copied = 0;
  for (SqlPiece piece = scanner.Next(); piece.kind != SqlTokenKind::End; piece = scanner.Next()) {
    if (IsOfEngine(piece.kind, sql[piece.begin])) shape.mayLift = false;
    if (piece.kind == SqlTokenKind::Parameter) {
      SqlLiteral parameter{
          piece.kind, sql.substr(piece.begin, piece.end - piece.begin), 0, shape.literals.size(), {}};
      if (const std::optional<std::size_t> found = io_parameters.markers.Find(parameter.text)) {
        parameter.parameter = *found;
        const auto [same, isNew] = io_parameters.firstOf.emplace(*found, shape.literals.size());
        parameter.first = same->second;
        parameter.facts =
            isNew ? FactsOf(io_parameters.given.values[*found].Value) : shape.literals[parameter.first].facts;
      }
      shape.key.append(sql.substr(copied, piece.end - copied));
      shape.key.append({u'\0', u'\3', ParameterMark(parameter.facts)});
      shape.literals.push_back(parameter);
      copied = piece.end;
      continue;
    }
    if (!IsLiteral(piece.kind)) continue;
    shape.key.append(sql.substr(copied, piece.begin - copied));
    shape.literals.push_back({piece.kind, sql.substr(piece.begin, piece.end - piece.begin), 0, 0, {}});
    const char16_t kind = piece.kind == SqlTokenKind::WideText ? u'\1' : u'\2';
    shape.key.append({u'\0', kind, TraitsMark(shape.literals.back()), DistanceToEqual(shape.literals)});
    copied = piece.end;
  }
  shape.key.append(sql.substr(copied));
}

std::u16string ValueOf(SqlTokenKind kind, std::u16string_view text) {
  if (kind == SqlTokenKind::Number) return std::u16string(text);
  if (kind != SqlTokenKind::Escape) return TextValue(text);
  const std::u16string value = TextValue(text.substr(0, text.rfind(u'\'') + 1));
  return StoredDate(value).value_or(value);
}

}  // namespace hostlinux
