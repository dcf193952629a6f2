#include "host-linux/database/dialect/SqlDialect.h"

#include <algorithm>

#include "host-linux/database/dialect/PageSeek.h"
#include "host-linux/database/dialect/SqlRewriter.h"
#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using Tokens = std::vector<SqlToken>;
using varnel::host::PageSpec;
using varnel::host::StatementParameters;

constexpr size_t kMaxTranslations = 512;

bool HasNul(std::u16string_view text) { return text.find(u'\0') != std::u16string_view::npos; }

// A few empty tokens behind the last one spare tests for looking ahead.
constexpr size_t kAhead = 4;

void RewriteTokens(Tokens& tokens, const IEngineWords& words, const ParametersInUse& parameters = {}) {
  tokens.resize(tokens.size() + kAhead);
  words.RewriteTokens(tokens, parameters);
}

// The literals of which a copy stands in the text as itself.
void AddPinned(const Tokens& tokens, std::vector<size_t>& pinned) {
  for (const SqlToken& token : tokens) {
    if (token.literal >= 0 && !token.lifted) pinned.push_back(static_cast<size_t>(token.literal));
  }
  std::sort(pinned.begin(), pinned.end());
  pinned.erase(std::unique(pinned.begin(), pinned.end()), pinned.end());
}

// `text` with a bare mark for each numbered one, and `parameters` in the order of the marks.
StatementForm PlacedForm(const std::u16string& text,
                         const std::vector<StatementForm::Parameter>& parameters) {
  StatementForm form;
  Tokens tokens = LexSql(text);
  for (SqlToken& token : tokens) {
    if (token.kind != SqlTokenKind::Parameter || token.text.size() < 2 || token.text[0] != u'?') continue;
    const std::size_t number = std::stoul(varnel::ToUtf8(token.text.substr(1)));
    if (number < 1 || number > parameters.size()) continue;
    form.parameters.push_back(parameters[number - 1]);
    token.text = u"?";
  }
  form.sql = varnel::ToUtf8(PrintSql(tokens, 0, tokens.size()));
  return form;
}

// Their rewriting ends with this.
StatementForm FormOf(Tokens& tokens, IColumnFacts& facts, const IEngineWords& words,
                     const ParametersInUse& parameters) {
  StatementForm form;
  RewriteStatement(tokens, facts, words, parameters, &form.parameters);
  const std::u16string text = PrintSql(tokens, 0, tokens.size());
  if (words.MarksByPlace()) return PlacedForm(text, form.parameters);
  form.sql = varnel::ToUtf8(text);
  return form;
}

void AddWords(Tokens& tokens, std::u16string_view text) {
  Tokens words = LexSql(text);
  words.pop_back();
  for (SqlToken& token : words) token.literal = -1;
  tokens.insert(tokens.end(), words.begin(), words.end());
}

// ( ... ) UNION ALL ( ... ) LIMIT n, whose parts are run in this order, and only until the page is full.
Tokens Joined(const std::vector<PageStep>& steps, varnel::Long rows) {
  Tokens joined;
  for (const PageStep& step : steps) {
    AddWords(joined, joined.empty() ? u"(" : u" UNION ALL (");
    joined.insert(joined.end(), step.text.begin(), step.text.end() - 1);
    AddWords(joined, u")");
  }
  const std::string digits = std::to_string(rows);
  AddWords(joined, u" LIMIT " + std::u16string(digits.begin(), digits.end()));
  joined.emplace_back();
  return joined;
}

// The statements of a page as tokens, before what RewriteStatement does.
std::vector<PageStep> PageStepsOf(const PageSpec& page, const PageShape& shape, IColumnFacts& facts,
                                  const IEngineWords& words) {
  PageTokens tokens;
  int literals = 0;
  for (size_t i = 0; i < page.branches.size(); ++i) {
    Tokens branch = LexSql(shape.texts[i]);
    int count = 0;
    for (SqlToken& token : branch) {
      if (token.literal < 0) continue;
      token.literal += literals;
      ++count;
    }
    literals += count;
    RewriteTokens(branch, words, ParametersInUse(shape.shape.literals));
    branch.resize(branch.size() - kAhead);
    tokens.branches.push_back(std::move(branch));
  }
  for (size_t i = page.branches.size(); i < shape.texts.size(); ++i) {
    SqlToken anchor = LexSql(shape.texts[i]).front();
    if (anchor.kind != SqlTokenKind::End) anchor.literal = literals++;
    tokens.anchors.push_back(std::move(anchor));
  }
  std::vector<PageStep> steps = SeekPage(page, std::move(tokens), facts, words);
  if (words.JoinsSteps() && steps.size() > 1)
    steps = {{Joined(steps, page.way == -1 ? page.rows : page.way), {}}};
  for (PageStep& step : steps) {
    step.text.resize(step.text.size() + kAhead);
    if (!step.walk.empty()) step.walk.resize(step.walk.size() + kAhead);
  }
  return steps;
}

}  // namespace

RewrittenSql RewriteSql(std::u16string_view sql, IColumnFacts& facts, const IEngineWords& words) {
  Tokens tokens = LexSql(sql);
  if (words.IsNothing(tokens)) return {std::u16string(sql), true};
  RewriteTokens(tokens, words);
  RewriteStatement(tokens, facts, words, {}, nullptr);
  return {PrintSql(tokens, 0, tokens.size()), false};
}

std::vector<std::u16string> RewritePage(const PageSpec& page, IColumnFacts& facts,
                                        const IEngineWords& words) {
  std::vector<std::u16string> texts;
  for (PageStep& step : PageStepsOf(page, PageShape(page, {}), facts, words)) {
    for (Tokens* tokens : {&step.text, &step.walk}) {
      if (tokens->empty()) continue;
      RewriteStatement(*tokens, facts, words, {}, nullptr);
      texts.push_back(PrintSql(*tokens, 0, tokens->size()));
    }
  }
  return texts;
}

PageShape::PageShape(const PageSpec& page, const StatementParameters& parameters) {
  ShapeParameters own(parameters);
  texts.reserve(page.branches.size() + page.keys.size());  // the shape points into them
  for (const varnel::host::PageBranch& branch : page.branches) {
    texts.push_back(branch.where.empty() ? branch.select : branch.select + u" WHERE (" + branch.where + u")");
    AddToShape(shape, texts.back(), own);
    shape.key.append({u'\0', u'\11'}).append(branch.grouping);
    if (HasNul(branch.grouping)) shape.mayLift = false;
  }
  for (const varnel::host::PageKey& key : page.keys) {
    shape.key.append({u'\0', key.ascending ? u'\4' : u'\5'}).append(key.name);
    shape.key.append({u'\0', u'\6'}).append(key.expression).append({u'\0', u'\7'});
    if (HasNul(key.name) || HasNul(key.expression)) shape.mayLift = false;
    if (!page.behindAnchor) continue;
    texts.push_back(key.anchor.IsNull() ? std::u16string() : TextLiteral(varnel::ToText(key.anchor)));
    AddToShape(shape, texts.back(), own);
  }
  for (const varnel::Long number : {page.rows, page.way, varnel::Long{page.behindAnchor}}) {
    const std::string digits = std::to_string(number);
    shape.key.append({u'\0', u'\10'}).append(digits.begin(), digits.end());
  }
  shape.unbound = own.markers.Fault();
}

EngineStatement SqlDialect::Translate(std::u16string_view sql, const StatementParameters& parameters) {
  const SqlShape shape = ShapeOf(sql, parameters);
  if (!shape.unbound.empty()) return {{}, {}, false, shape.unbound};
  if (!shape.mayLift) {
    const RewrittenSql rewritten = RewriteSql(sql, m_facts, m_words);
    return {varnel::ToUtf8(rewritten.text), {}, rewritten.isNothing, {}};
  }
  return Remember(shape, [&] { return WorkOut(sql, shape); })->front().With(shape, parameters);
}

// The text says what its parameters lack.
std::optional<PageStatements> SqlDialect::TranslatePage(const PageSpec& page,
                                                        const StatementParameters& parameters) {
  if (m_reads == PageReads::AsWritten) return std::nullopt;
  auto shape = std::make_unique<PageShape>(page, parameters);
  if (!shape->shape.mayLift || !shape->shape.unbound.empty()) return std::nullopt;
  auto forms = Remember(shape->shape, [&] { return WorkOutPage(page, *shape); });
  if (forms->empty()) return std::nullopt;
  return PageStatements(std::move(shape), std::move(forms), parameters);
}

template <typename Work>
std::shared_ptr<const StatementForms> SqlDialect::Remember(const SqlShape& shape, Work work) {
  const auto family = m_families.find(shape.key);
  if (family != m_families.end()) {
    const auto found = family->second.forms.find(PinnedTexts(family->second, shape));
    if (found != family->second.forms.end()) return found->second;
  }
  Translation translation = work();
  if (m_translations >= kMaxTranslations) ForgetSchema();
  ++m_translations;
  Family& kept = m_families[shape.key];
  Pin(kept, translation.pinned);
  return kept.forms.insert_or_assign(PinnedTexts(kept, shape), std::move(translation.forms)).first->second;
}

SqlDialect::Translation SqlDialect::WorkOut(std::u16string_view sql, const SqlShape& shape) {
  Translation translation;
  Tokens tokens = LexSql(sql);
  auto forms = std::make_shared<StatementForms>();
  if (m_words.IsNothing(tokens)) {
    forms->push_back({varnel::ToUtf8(sql), {}, true, nullptr});
  } else {
    const ParametersInUse parameters(shape.literals);
    RewriteTokens(tokens, m_words, parameters);
    forms->push_back(FormOf(tokens, m_facts, m_words, parameters));
  }
  AddPinned(tokens, translation.pinned);
  translation.forms = std::move(forms);
  return translation;
}

SqlDialect::Translation SqlDialect::WorkOutPage(const PageSpec& page, const PageShape& shape) {
  Translation translation;
  auto forms = std::make_shared<StatementForms>();
  const ParametersInUse parameters(shape.shape.literals);
  for (PageStep& step : PageStepsOf(page, shape, m_facts, m_words)) {
    forms->push_back(FormOf(step.text, m_facts, m_words, parameters));
    AddPinned(step.text, translation.pinned);
    if (step.walk.empty()) continue;
    forms->back().walk = std::make_shared<StatementForm>(FormOf(step.walk, m_facts, m_words, parameters));
    AddPinned(step.walk, translation.pinned);
  }
  translation.forms = std::move(forms);
  return translation;
}

// What is remembered under fewer literals can't be told apart by more.
void SqlDialect::Pin(Family& family, const std::vector<std::size_t>& literals) {
  std::vector<std::size_t> pinned;
  std::set_union(family.pinned.begin(), family.pinned.end(), literals.begin(), literals.end(),
                 std::back_inserter(pinned));
  if (pinned == family.pinned) return;
  family.pinned = std::move(pinned);
  family.forms.clear();
}

// Each text with its length in front, so that no two lists look alike.
std::u16string SqlDialect::PinnedTexts(const Family& family, const SqlShape& shape) {
  std::u16string texts;
  for (const size_t literal : family.pinned) {
    const std::u16string_view text = shape.literals[literal].text;
    for (size_t rest = text.size(); rest > 0; rest >>= 15) texts += static_cast<char16_t>(rest & 0x7FFF);
    texts.append({u'\xFFFF'}).append(text);
  }
  return texts;
}

void SqlDialect::ForgetSchema() {
  m_families.clear();
  m_translations = 0;
}

}  // namespace hostlinux
