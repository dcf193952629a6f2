#include "varnel/automation/Collection.h"

#include "varnel/automation/Members.h"

namespace varnel {

const ClassInfo& Collection::Class() const {
  static const ClassInfo info{u"Collection",
                              {
                                  Method<&Collection::Add>(u"Add", {Missing()}).Taking(u"Item, Key"),
                                  ReadOnly<&Collection::Item>(u"Item").Taking(u"Index").AsDefault(),
                                  ReadOnly<&Collection::Count>(u"Count"),
                                  Method<&Collection::Remove>(u"Remove").Taking(u"Index"),
                              }};
  return info;
}

namespace {

class CollectionWalk : public Enumeration {
 public:
  explicit CollectionWalk(std::shared_ptr<Collection> collection) : m_collection(std::move(collection)) {}

  bool Next(Variant& value) override {
    if (m_position >= m_collection->Count()) return false;
    value = m_collection->Item(++m_position);
    return true;
  }

 private:
  std::shared_ptr<Collection> m_collection;
  Long m_position = 0;
};

}  // namespace

std::unique_ptr<Enumeration> Collection::Enumerate() {
  return std::make_unique<CollectionWalk>(SharedFrom(*this));
}

void Collection::LetGo() noexcept {
  m_positions.clear();
  m_entries.clear();
}

void Collection::Add(const Variant& item, const Variant& key) {
  Entry entry{item, std::nullopt};
  if (!key.IsMissing()) entry.key = ToText(key);
  m_entries.reserve(m_entries.size() < m_entries.capacity() ? 0 : 2 * m_entries.size() + 1);
  if (entry.key) {
    if (!m_positions.emplace(*entry.key, m_entries.size()).second)
      RaiseRuntimeError(runtime_error::kKeyTaken);
  }
  m_entries.push_back(std::move(entry));
}

Variant Collection::Item(const Variant& indexOrKey) const { return m_entries[PositionOf(indexOrKey)].item; }

const Variant& Collection::ItemOf(StringView key) const { return m_entries[PositionOfKey(key)].item; }

const Variant* Collection::FindItem(StringView key) const {
  const auto found = m_positions.find(key);
  return found == m_positions.end() ? nullptr : &m_entries[found->second].item;
}

Long Collection::Count() const { return static_cast<Long>(m_entries.size()); }

void Collection::Remove(const Variant& indexOrKey) {
  // The position is asked for first: a script that runs for it may change the collection.
  const auto position = static_cast<std::ptrdiff_t>(PositionOf(indexOrKey));
  m_entries.erase(m_entries.begin() + position);
  m_positions.clear();
  for (std::size_t i = 0; i < m_entries.size(); ++i) {
    if (m_entries[i].key) m_positions.emplace(*m_entries[i].key, i);
  }
}

std::size_t Collection::PositionOfKey(StringView key) const {
  const auto found = m_positions.find(key);
  if (found == m_positions.end())
    RaiseRuntimeError(runtime_error::kInvalidArgument, u"the collection has no such key");
  return found->second;
}

std::size_t Collection::PositionOf(const Variant& indexOrKey) const {
  if (const String* key = indexOrKey.As<String>()) return PositionOfKey(*key);
  const Long position = ToLong(indexOrKey);
  if (position < 1 || position > Count()) RaiseRuntimeError(runtime_error::kSubscript);
  return static_cast<std::size_t>(position - 1);
}

}  // namespace varnel
