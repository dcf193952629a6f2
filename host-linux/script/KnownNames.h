// The texts of the names that a page uses again and again, such as those of fields.
#pragma once

#include <v8.h>

#include <array>
#include <vector>

#include "varnel/automation/String.h"

namespace hostlinux {

// A name that stands in a page's source is the same object of the engine each time, so that its text is read
// once a request. Names that a script makes up gain nothing, and cost little.
class KnownNames {
 public:
  // True for a text that is short enough to be a name.
  static bool MayBeName(v8::Local<v8::Value> value);
  // `name` may be one.
  const varnel::String& TextOf(v8::Isolate* isolate, v8::Local<v8::String> name);
  // Lets go of what the request has used: a short name may be a part of a long text.
  void Clear();

 private:
  struct Entry {
    v8::Global<v8::String> name;
    varnel::String text;
  };

  std::array<Entry, 64> m_entries;  // by the name's hash
  std::vector<Entry*> m_used;
};

}  // namespace hostlinux
