#include "varnel/list/ListPages.h"

#include <algorithm>

namespace varnel {

namespace {

using Move = ListPosition::Move;

class Ways {
 public:
  Ways(const ListSource& source, const ListPage& page, Long pageSize, std::uint32_t context)
      : m_page(page), m_size(pageSize), m_context(context), m_isUnion(source.IsUnion()) {
    if (page.count == 0) return;
    m_firstKeys = KeysOfRow(source, page, 0);
    m_lastKeys = KeysOfRow(source, page, page.count - 1);
  }

  ListPosition First() const { return At(Move::First, 1); }
  ListPosition Last() const { return At(Move::Last, 0); }
  ListPosition Previous(Long skipped = 0) const {
    ListPosition position =
        At(Move::Previous, Record() == 0 ? 0 : std::max<Long>(Record() - (skipped + 1) * m_size, 1));
    position.skipped = skipped;
    position.keys = m_firstKeys;
    return position;
  }
  ListPosition Next(Long skipped = 0) const {
    const Long shown = static_cast<Long>(m_page.count) + skipped * m_size;
    ListPosition position = At(Move::Next, Record() == 0 ? 0 : Record() + shown);
    position.skipped = skipped;
    position.keys = m_lastKeys;
    return position;
  }

  std::vector<ListStep> Numbers(Long width) const {
    const Long current = Record() == 0 || m_page.count == 0 ? 0 : (Record() + m_size - 2) / m_size + 1;
    if (current == 0 || width < 1) return {};
    const Long pages = std::max(PagesKnown(), current + (m_page.hasNext ? 1 : 0));
    const Long left = std::max<Long>(std::min(current - width / 2, pages - width + 1), 1);
    std::vector<ListStep> steps;
    for (Long number = left; number <= pages && number < left + width; ++number) {
      const Long distance = std::abs(number - current);
      const bool isEnd = number == 1 || (number == pages && m_page.total.IsExact());
      if (m_isUnion && distance > 1 && !isEnd) continue;
      steps.push_back({number, number == current, To(number, current, pages)});
    }
    return steps;
  }

 private:
  Long Record() const { return m_page.firstRecord; }
  Long PagesKnown() const {
    const bool tells = m_page.total.IsKnown() && !m_page.total.isEstimate;
    return tells ? (m_page.total.rows + m_size - 1) / m_size : 0;
  }

  ListPosition At(Move move, Long firstRecord) const {
    return {move, 0, firstRecord, m_page.total, m_context, {}};
  }

  ListPosition To(Long number, Long current, Long pages) const {
    if (number == 1) return First();
    if (number == current) return {};
    if (number == pages && m_page.total.IsExact()) return Last();
    return number < current ? Previous(current - number - 1) : Next(number - current - 1);
  }

  const ListPage& m_page;
  const Long m_size;
  const std::uint32_t m_context;
  const bool m_isUnion;
  std::vector<Variant> m_firstKeys;
  std::vector<Variant> m_lastKeys;
};

}  // namespace

ListWays WaysFrom(const ListSource& source, const ListPage& page, Long pageSize, Long width,
                  std::uint32_t context) {
  const Ways from(source, page, pageSize, context);
  ListWays ways;
  // All rows behind the anchor have gone: the list ends before this page.
  const bool isBehindTheEnd = page.count == 0;
  if (page.hasPrevious) {
    ways.first = from.First();
    ways.previous = isBehindTheEnd ? from.Last() : from.Previous();
    if (isBehindTheEnd) ways.previous->total = {};
  }
  if (page.hasNext && !isBehindTheEnd) {
    ways.next = from.Next();
    ways.last = from.Last();
  }
  ways.numbers = from.Numbers(width);
  if (ways.numbers.size() == 1) ways.numbers.clear();
  return ways;
}

}  // namespace varnel
