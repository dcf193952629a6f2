// The sort of an array of values. Its steps decide the order of equal elements, so they are kept: the pivot
// is the first element, and a sorted array is split off one by one.
#include <algorithm>
#include <numeric>
#include <utility>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/utilities/Utilities.h"

namespace varnel {

namespace {

// How two values compare; a Null has no order.
enum class Order { Less, Equal, Greater, None };

template <typename T>
Order OrderOf(const T& left, const T& right) {
  return left < right ? Order::Less : right < left ? Order::Greater : Order::Equal;
}

Order OrderOfTexts(StringView left, StringView right) {
  const std::size_t common = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (left[i] == right[i]) continue;
    const Order order = OrderOf(FoldCase(left[i]), FoldCase(right[i]));
    if (order != Order::Equal) return order;
  }
  return OrderOf(left.size(), right.size());
}

bool IsNumber(const Variant& value) {
  return !value.IsText() && !value.IsEmpty() && !value.IsNull() && !value.IsMissing() && !value.IsObject() &&
         !value.Is<ArrayPtr>() && !value.Is<BytesPtr>();
}

// Empty is the empty text beside a text, and 0 beside anything else.
Order OrderOfPlain(const Variant& left, const Variant& right) {
  if (left.IsNull() || right.IsNull()) return Order::None;
  const bool asTexts = (left.IsText() || left.IsEmpty()) && (right.IsText() || right.IsEmpty());
  if (asTexts && (left.IsText() || right.IsText())) return OrderOfTexts(ToText(left), ToText(right));
  if (left.IsText() != right.IsText()) {
    const Variant& other = left.IsText() ? right : left;
    if (!IsNumber(other)) RaiseRuntimeError(runtime_error::kTypeMismatch);
    return left.IsText() ? Order::Greater : Order::Less;
  }
  return OrderOf(ToDouble(left), ToDouble(right));
}

// The elements themselves, compared as they come.
struct PlainElements {
  using Key = Variant;
  std::vector<Variant>& items;

  const Key& At(int i) const { return items[static_cast<std::size_t>(i)]; }
  Order Compare(const Key& left, const Key& right) const {
    return OrderOfPlain(ToPlain(left), ToPlain(right));
  }
  void Swap(int i, int j) {
    if (i != j) std::swap(items[static_cast<std::size_t>(i)], items[static_cast<std::size_t>(j)]);
  }
};

// The elements with their ranks, where they have any: many comparisons of a sorted array are cheap then.
struct RankedElements {
  using Key = int;
  std::vector<Variant>& items;
  std::vector<int> ranks;

  Key At(int i) const { return ranks.data()[i]; }
  Order Compare(Key left, Key right) const { return OrderOf(left, right); }
  void Swap(int i, int j) {
    if (i == j) return;
    std::swap(items[static_cast<std::size_t>(i)], items[static_cast<std::size_t>(j)]);
    std::swap(ranks[static_cast<std::size_t>(i)], ranks[static_cast<std::size_t>(j)]);
  }
};

// Bytes, which always have an order.
struct ByteElements {
  using Key = Byte;
  Bytes& items;

  Key At(int i) const { return items[static_cast<std::size_t>(i)]; }
  Order Compare(Key left, Key right) const { return OrderOf(left, right); }
  void Swap(int i, int j) {
    std::swap(items[static_cast<std::size_t>(i)], items[static_cast<std::size_t>(j)]);
  }
};

// Numbers before texts; equal elements have one rank. Empty if some element has no fixed place among the
// others.
std::vector<int> RanksOf(const std::vector<Variant>& items) {
  struct Entry {
    double number = 0;
    String folded;
    bool isText = false;
    int position = 0;
    bool operator<(const Entry& other) const {
      if (isText != other.isText) return !isText;
      return isText ? folded < other.folded : number < other.number;
    }
  };
  std::vector<Entry> entries;
  entries.reserve(items.size());
  for (const Variant& item : items) {
    Entry entry;
    entry.position = static_cast<int>(entries.size());
    entry.isText = item.IsText();
    if (entry.isText) {
      entry.folded = ToLower(ToText(item));
    } else if (IsNumber(item)) {
      entry.number = ToDouble(item);
    } else {
      return {};
    }
    if (entry.number != entry.number) return {};
    entries.push_back(std::move(entry));
  }
  std::sort(entries.begin(), entries.end());
  std::vector<int> ranks(items.size());
  int rank = 0;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (i > 0 && entries[i - 1] < entries[i]) ++rank;
    ranks[static_cast<std::size_t>(entries[i].position)] = rank;
  }
  return ranks;
}

struct Range {
  int lower;
  int upper;
};

template <typename Elements>
class Steps {
 public:
  explicit Steps(Elements elements) : m_elements(std::move(elements)) {}

  // The halves wait in a list, the left one on top: a sorted array is as deep as it is long.
  void Sort(Range whole) {
    std::vector<Range> waiting{whole};
    while (!waiting.empty()) {
      const Range range = waiting.back();
      waiting.pop_back();
      CheckBounds(range);
      const int place = Partition(range);
      if (place + 1 < range.upper) waiting.push_back({place + 1, range.upper});
      if (range.lower < place - 1) waiting.push_back({range.lower, place - 1});
    }
  }

 private:
  void CheckBounds(Range range) const {
    const auto count = static_cast<int>(m_elements.items.size());
    const auto isInside = [&](int position) { return position >= 0 && position < count; };
    if (!isInside(range.lower) || !isInside(range.upper)) RaiseRuntimeError(runtime_error::kSubscript);
  }

  // Puts the first element into its place, which is the result.
  int Partition(Range range) {
    const typename Elements::Key pivot = m_elements.At(range.lower);
    int i = range.lower;
    int j = range.upper;
    while (true) {
      const Order low = ScanUp(i, range.upper, pivot);
      const Order high = ScanDown(j, range.lower, pivot);
      if (i >= j) break;
      // Two elements without an order would change places for ever.
      if (low == Order::None && high == Order::None) RaiseRuntimeError(runtime_error::kInvalidUseOfNull);
      m_elements.Swap(i, j);
    }
    m_elements.Swap(j, range.lower);
    return j;
  }

  Order ScanUp(int& i, int upper, const typename Elements::Key& pivot) const {
    while (i < upper) {
      const Order order = m_elements.Compare(m_elements.At(i), pivot);
      if (order != Order::Less && order != Order::Equal) return order;
      ++i;
    }
    return Order::Equal;
  }

  Order ScanDown(int& j, int lower, const typename Elements::Key& pivot) const {
    while (j > lower) {
      const Order order = m_elements.Compare(m_elements.At(j), pivot);
      if (order != Order::Greater && order != Order::Equal) return order;
      --j;
    }
    return Order::Equal;
  }

  Elements m_elements;
};

// The bytes of a byte array; null where the value is none.
const Bytes* BytesOf(const Variant& data) {
  const BytesPtr* bytes = data.As<BytesPtr>();
  return bytes == nullptr ? nullptr : bytes->get();
}

Array& ArrayOf(const Variant& data) {
  const ArrayPtr* array = data.As<ArrayPtr>();
  if (array == nullptr || *array == nullptr) RaiseRuntimeError(runtime_error::kTypeMismatch);
  return **array;
}

// Where the item at `position`, as its owner counts, stands; -1 where there is none.
int IndexOf(const Array& array, Integer position) {
  const std::int64_t index = std::int64_t{position} - array.firstPosition;
  return index >= 0 && index < static_cast<std::int64_t>(array.items.size()) ? static_cast<int>(index) : -1;
}

// The bounds of what a caller handed over, as it counts. Positions wrap into 16 bits.
Range BoundsOf(const Variant& data) {
  const Bytes* bytes = BytesOf(data);
  const std::size_t count = bytes == nullptr ? ArrayOf(data).items.size() : bytes->size();
  const Long first = bytes == nullptr ? ArrayOf(data).firstPosition : 0;
  const auto last = static_cast<std::int64_t>(first) + static_cast<std::int64_t>(count) - 1;
  return {static_cast<Integer>(first), static_cast<Integer>(last)};
}

}  // namespace

void Utilities::QuickSort(Variant& iData) {
  const Range bounds = BoundsOf(iData);
  auto lower = static_cast<Integer>(bounds.lower);
  auto upper = static_cast<Integer>(bounds.upper);
  QuickSortPart(iData, lower, upper);
}

void Utilities::QuickSortPart(Variant& iData, Integer& lower, Integer& upper) {
  if (const Bytes* bytes = BytesOf(iData)) {
    auto sorted = std::make_shared<Bytes>(*bytes);
    Steps(ByteElements{*sorted}).Sort({lower, upper});
    iData = BytesPtr(std::move(sorted));
    return;
  }
  Array& array = ArrayOf(iData);
  std::vector<Variant>& items = array.items;
  const Range range{IndexOf(array, lower), IndexOf(array, upper)};
  std::vector<int> ranks = RanksOf(items);
  if (ranks.empty()) {
    Steps(PlainElements{items}).Sort(range);
  } else {
    Steps(RankedElements{items, std::move(ranks)}).Sort(range);
  }
}

}  // namespace varnel
