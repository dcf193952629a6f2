// A row of a list, as templates see it: `row("TITLE")`.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/list/ListReader.h"

namespace varnel {

class ListRow : public Object {
 public:
  explicit ListRow(std::shared_ptr<const ListPage> page) : m_page(std::move(page)) {}
  const ClassInfo& Class() const override;
  void LetGo() noexcept override { m_page = nullptr; }

  void MoveTo(std::size_t row) { m_row = row; }
  // The value of that column of the query, in any case of letters. Raises 5 for a name that it doesn't have, 91 once the
  // list is gone.
  Variant Item(const String& name);

 private:
  std::shared_ptr<const ListPage> m_page;
  std::size_t m_row = 0;
};

}  // namespace varnel
