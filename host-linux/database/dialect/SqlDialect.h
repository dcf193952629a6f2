// The library's SQL, written for a server with SELECT TOP, N'...', {d '...'}, classes in LIKE patterns and implicit
// conversion of text literals, in the words of an engine: how a dialect turns a text into a statement that is prepared once.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineWords.h"
#include "host-linux/database/dialect/StatementForm.h"
#include "varnel/host/Paging.h"

namespace hostlinux {

// How the reads of pages are written.
enum class PageReads {
  AsWritten,  // as the library's text says them, with one condition of ORs
  InArms      // so that an index finds the rows (PageSeek.h)
};

// The texts of a page and their shape.
struct PageShape {
  PageShape(const varnel::host::PageSpec& page, const varnel::host::StatementParameters& parameters);

  std::vector<std::u16string> texts;  // of the branches, then the anchor's values as literals; empty for NULL
  SqlShape shape;
};

// The statements of one page's read, to be run one after the other until the page is full.
class PageStatements {
 public:
  PageStatements(std::unique_ptr<PageShape> shape, std::shared_ptr<const StatementForms> forms,
                 varnel::host::StatementParameters parameters)
      : m_shape(std::move(shape)), m_forms(std::move(forms)), m_parameters(std::move(parameters)) {}

  std::size_t Count() const { return m_forms->size(); }
  EngineStatement Statement(std::size_t i) const { return (*m_forms)[i].With(m_shape->shape, m_parameters); }
  // Another statement for the same rows, which walks through the order of the page instead of sorting. Which one is
  // quicker depends on the values, and nobody knows beforehand.
  std::optional<EngineStatement> Walk(std::size_t i) const {
    const auto& walk = (*m_forms)[i].walk;
    return walk == nullptr ? std::nullopt : std::optional(walk->With(m_shape->shape, m_parameters));
  }

 private:
  std::unique_ptr<PageShape> m_shape;
  std::shared_ptr<const StatementForms> m_forms;
  varnel::host::StatementParameters m_parameters;
};

// The rewriting of one connection, with its literals lifted out: texts that differ in values only become one
// engine text, which is worked out once. Lifted are texts, dates and numbers on the right of a comparison in
// WHERE and ON; not 0 and 1, patterns, TOP and what stands in expressions. Where an index has a condition,
// only the keys of pages are lifted.
// The text's own parameters, :name and ?, stay parameters wherever they stand. One that a column is compared with
// is right for the type of the column, as a literal of its value would be; a LIKE whose pattern is one becomes the
// engine's function for patterns where its own LIKE couldn't read the pattern.
class SqlDialect {
 public:
  // `facts` and `words` outlive the dialect.
  SqlDialect(IColumnFacts& facts, const IEngineWords& words, PageReads reads)
      : m_facts(facts), m_words(words), m_reads(reads) {}

  // The statement that `sql` becomes with the values that stand in it, and with those of `parameters`.
  EngineStatement Translate(std::u16string_view sql,
                            const varnel::host::StatementParameters& parameters = {});
  // The statements of a page with those values; none where its text is to be run.
  std::optional<PageStatements> TranslatePage(const varnel::host::PageSpec& page,
                                              const varnel::host::StatementParameters& parameters = {});
  // To be called when the schema changed: types of columns are part of what was worked out.
  void ForgetSchema();

 private:
  // What became of texts of one shape: one statement, or those of a page.
  struct Translation {
    std::shared_ptr<const StatementForms> forms;
    std::vector<std::size_t> pinned;  // literals of which a copy stands in the text as itself
  };
  // The texts of one shape. They differ in the literals that weren't lifted.
  struct Family {
    std::vector<std::size_t> pinned;
    std::unordered_map<std::u16string, std::shared_ptr<const StatementForms>>
        forms;  // by the pinned literals
  };

  template <typename Work>
  std::shared_ptr<const StatementForms> Remember(const SqlShape& shape, Work work);
  Translation WorkOut(std::u16string_view sql, const SqlShape& shape);
  Translation WorkOutPage(const varnel::host::PageSpec& page, const PageShape& shape);
  static void Pin(Family& family, const std::vector<std::size_t>& literals);
  static std::u16string PinnedTexts(const Family& family, const SqlShape& shape);

  IColumnFacts& m_facts;
  const IEngineWords& m_words;
  PageReads m_reads;
  std::unordered_map<std::u16string, Family> m_families;  // by the key of the shape
  std::size_t m_translations = 0;
};

// A text with its literals in it, in the words of the engine.
struct RewrittenSql {
  std::u16string text;
  bool isNothing = false;  // a statement that the engine doesn't know and doesn't need: report success
};
RewrittenSql RewriteSql(std::u16string_view sql, IColumnFacts& facts, const IEngineWords& words);

// The statements of a page (PageSeek.h), likewise, each with its walk behind it. None where its text is to be run.
std::vector<std::u16string> RewritePage(const varnel::host::PageSpec& page, IColumnFacts& facts,
                                        const IEngineWords& words);

}  // namespace hostlinux
