// The markup of a list, where it was made before of the same declaration for the same request, and nothing that it was
// read from has changed since.
#pragma once

#include <optional>

#include "varnel/host/Ado.h"
#include "varnel/host/KeptTexts.h"

namespace varnel {

class KeptMarkup {
 public:
  // `key`: all that the markup depends on besides the database; nothing where it isn't kept.
  KeptMarkup(const std::shared_ptr<host::IConnection>& connection, std::optional<String> key);

  // Null where it is to be made, of what is read from here on.
  const String* Find();
  void Keep(const String& markup);

 private:
  host::IKeptTexts* m_texts = nullptr;  // null: nothing is kept
  String m_key;
};

// Builds a key: two lists of pieces that differ give two keys.
class MarkupKeyText {
 public:
  void Add(StringView piece);
  void Add(std::int64_t number);

  String Take() { return std::move(m_text); }

 private:
  String m_text;
};

}  // namespace varnel
