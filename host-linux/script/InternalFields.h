// What the hidden fields of our own script objects hold, and how they are told from all others.
#pragma once

#include <v8.h>

namespace hostlinux {

enum InternalField : int {
  kFieldData,        // a wrapper's slot; a typed value's plain value
  kFieldGeneration,  // a wrapper's generation; a typed value's kind
  kFieldTag,         // one of the tags below
  kFieldCount
};

// Their addresses tell the kinds of objects apart.
struct alignas(8) ObjectTag {};
inline ObjectTag wrapperTag;
inline ObjectTag typedValueTag;
inline ObjectTag byRefTag;

inline bool HasTag(v8::Local<v8::Object> object, const ObjectTag& tag) {
  return object->InternalFieldCount() == kFieldCount &&
         object->GetAlignedPointerFromInternalField(kFieldTag) == &tag;
}

inline void SetTag(v8::Local<v8::Object> object, ObjectTag& tag) {
  object->SetAlignedPointerInInternalField(kFieldTag, &tag);
}

}  // namespace hostlinux
