// Texts and results between the engine and our own code, for files that see the engine's headers.
#pragma once

#include <v8.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "varnel/automation/String.h"

namespace hostlinux {

// Thrown where the engine has an exception pending: that one goes on by itself once the callback returns.
struct PendingException {};

template <typename T>
v8::Local<T> Take(v8::MaybeLocal<T> maybe) {
  v8::Local<T> value;
  if (!maybe.ToLocal(&value)) throw PendingException();
  return value;
}

inline void Check(v8::Maybe<bool> done) {
  if (done.IsNothing()) throw PendingException();
}

// Empty, with nothing pending, for a text longer than v8::String::kMaxLength.
inline v8::MaybeLocal<v8::String> ToV8(v8::Isolate* isolate, std::string_view utf8) {
  return v8::String::NewFromUtf8(isolate, utf8.data(), v8::NewStringType::kNormal,
                                 static_cast<int>(std::min<std::size_t>(utf8.size(), 0x7FFFFFFF)));
}

inline v8::MaybeLocal<v8::String> ToV8(v8::Isolate* isolate, varnel::StringView text) {
  return v8::String::NewFromTwoByte(isolate, reinterpret_cast<const std::uint16_t*>(text.data()),
                                    v8::NewStringType::kNormal,
                                    static_cast<int>(std::min<std::size_t>(text.size(), 0x7FFFFFFF)));
}

// For short texts of our own, each of which is met often.
inline v8::Local<v8::String> Name(v8::Isolate* isolate, std::string_view ascii) {
  return v8::String::NewFromOneByte(isolate, reinterpret_cast<const std::uint8_t*>(ascii.data()),
                                    v8::NewStringType::kInternalized, static_cast<int>(ascii.size()))
      .ToLocalChecked();
}

// Lone surrogates become U+FFFD.
inline void ToUtf8(v8::Isolate* isolate, v8::Local<v8::String> text, std::string& result) {
  result.resize(static_cast<std::size_t>(text->Utf8Length(isolate)));
  text->WriteUtf8(isolate, result.data(), static_cast<int>(result.size()), nullptr,
                  v8::String::NO_NULL_TERMINATION | v8::String::REPLACE_INVALID_UTF8);
}

inline std::string ToUtf8(v8::Isolate* isolate, v8::Local<v8::String> text) {
  std::string result;
  ToUtf8(isolate, text, result);
  return result;
}

inline varnel::String ToText(v8::Isolate* isolate, v8::Local<v8::String> text) {
  varnel::String result(static_cast<std::size_t>(text->Length()), u'\0');
  text->Write(isolate, reinterpret_cast<std::uint16_t*>(result.data()), 0, text->Length(),
              v8::String::NO_NULL_TERMINATION);
  return result;
}

}  // namespace hostlinux
