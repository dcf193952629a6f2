// Texts that were made of what a connection read, for whoever would make the same text of the same rows again.
#pragma once

#include "varnel/automation/String.h"

namespace varnel::host {

// What a connection may implement beside IConnection. One that doesn't keeps nothing.
//
//   if (!connection.KeepsTexts()) return Made();
//   if (const String* kept = connection.KeptText(key)) return *kept;
//   String text = ...;                // of what is read through the connection
//   connection.KeepText(key, text);
class IKeptTexts {
 public:
  virtual ~IKeptTexts() = default;
  // False where KeptText would never give a text: nobody needs to make a key then.
  virtual bool KeepsTexts() const = 0;
  // The text that was kept as `key`; null where there is none, or where one of the reads that it was made of might give
  // other rows now. It stays where it is until the connection's next call. What is read from here on is what the next
  // KeepText is about. Never raises.
  virtual const String* KeptText(const String& key) = 0;
  // `text` is what everything that `key` tells, and the reads since KeptText, lead to. Does nothing where that can't be
  // known to stay true. Never raises.
  virtual void KeepText(const String& key, const String& text) = 0;
};

}  // namespace varnel::host
