#include "varnel/list/KeptMarkup.h"

namespace varnel {

KeptMarkup::KeptMarkup(const std::shared_ptr<host::IConnection>& connection, std::optional<String> key) {
  if (!key) return;
  m_texts = dynamic_cast<host::IKeptTexts*>(connection.get());
  m_key = std::move(*key);
}

const String* KeptMarkup::Find() { return m_texts == nullptr ? nullptr : m_texts->KeptText(m_key); }

void KeptMarkup::Keep(const String& markup) {
  if (m_texts != nullptr) m_texts->KeepText(m_key, markup);
}

void MarkupKeyText::Add(StringView piece) {
  AppendDecimal(m_text, static_cast<std::int64_t>(piece.size()));
  m_text += u':';
  m_text += piece;
}

void MarkupKeyText::Add(std::int64_t number) {
  AppendDecimal(m_text, number);
  m_text += u',';
}

}  // namespace varnel
