// The markup of a list, where it was made before of the same declaration for the same request, and nothing that it was
// read from has changed since.
#pragma once

#include <functional>
#include <optional>

#include "varnel/host/Ado.h"
#include "varnel/host/KeptTexts.h"

namespace varnel {

class KeptMarkup {
 public:
  // `makeKey` gives all that the markup depends on besides the database; nothing where it isn't kept.
  KeptMarkup(const std::shared_ptr<host::IConnection>& connection,
             const std::function<std::optional<String>()>& makeKey);

  // Null where it is to be made, of what is read from here on.
  const String* Find();
  void Keep(const String& markup);

 private:
  host::IKeptTexts* m_texts = nullptr;  // null: nothing is kept
  String m_key;
};

// Builds a key: two lists of pieces that differ give two keys. Numbers have 32 bits, and a text is preceded by its length.
class MarkupKeyText {
 public:
  MarkupKeyText();
  void Add(StringView piece);
  void Add(std::int64_t number);

  String Take() { return std::move(m_text); }

 private:
  String m_text;
};

}  // namespace varnel
