// Values as bytes, for keeping them beyond the process.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host-linux/intrinsics/ValueStore.h"

namespace hostlinux {

// The value with its key and place. Nothing where it holds an object, which can't be kept so, or is nested
// deeper than 32 arrays. A left-out value is kept as Empty.
std::optional<std::string> BytesOf(const KeyedValue& value);

// Under which name the value of a key is kept: keys that differ only in the case of letters are one. It begins
// with "k".
std::string NameOf(varnel::StringView key);

// Reads them back. Nothing for bytes that BytesOf didn't make: whatever they are, they take no more memory
// than a small multiple of their length.
std::optional<KeyedValue> ValueOf(std::string_view bytes);

}  // namespace hostlinux
