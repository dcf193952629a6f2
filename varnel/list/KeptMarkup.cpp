#include "varnel/list/KeptMarkup.h"

#include <iterator>

namespace varnel {

namespace {

constexpr std::size_t kUsualUnits = 1024;  // of a key

}  // namespace

KeptMarkup::KeptMarkup(const std::shared_ptr<host::IConnection>& connection,
                       const std::function<std::optional<String>()>& makeKey) {
  auto* const texts = dynamic_cast<host::IKeptTexts*>(connection.get());
  if (texts == nullptr || !texts->KeepsTexts()) return;
  std::optional<String> key = makeKey();
  if (!key) return;
  m_texts = texts;
  m_key = std::move(*key);
}

const String* KeptMarkup::Find() { return m_texts == nullptr ? nullptr : m_texts->KeptText(m_key); }

void KeptMarkup::Keep(const String& markup) {
  if (m_texts != nullptr) m_texts->KeepText(m_key, markup);
}

MarkupKeyText::MarkupKeyText() { m_text.reserve(kUsualUnits); }

void MarkupKeyText::Add(StringView piece) {
  Add(static_cast<std::int64_t>(piece.size()));
  m_text.append(piece);
}

void MarkupKeyText::Add(std::int64_t number) {
  const auto low = static_cast<std::uint32_t>(number);
  const char16_t units[]{static_cast<char16_t>(low & 0xFFFF), static_cast<char16_t>(low >> 16)};
  m_text.append(units, std::size(units));
}

}  // namespace varnel
