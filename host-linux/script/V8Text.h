// Texts between the engine and our own, for files that see the engine's headers.
#pragma once

#include <v8.h>

#include <string>
#include <string_view>

namespace hostlinux {

// Texts longer than the engine takes come out empty, with a RangeError pending.
inline v8::MaybeLocal<v8::String> ToV8(v8::Isolate* isolate, std::string_view utf8) {
  return v8::String::NewFromUtf8(isolate, utf8.data(), v8::NewStringType::kNormal,
                                 static_cast<int>(std::min<std::size_t>(utf8.size(), 0x7FFFFFFF)));
}

// For short texts of our own, each of which is met often.
inline v8::Local<v8::String> Name(v8::Isolate* isolate, std::string_view ascii) {
  return v8::String::NewFromOneByte(isolate, reinterpret_cast<const std::uint8_t*>(ascii.data()),
                                    v8::NewStringType::kInternalized, static_cast<int>(ascii.size()))
      .ToLocalChecked();
}

// Lone surrogates become U+FFFD.
inline std::string ToUtf8(v8::Isolate* isolate, v8::Local<v8::String> text) {
  std::string result(static_cast<std::size_t>(text->Utf8Length(isolate)), '\0');
  text->WriteUtf8(isolate, result.data(), static_cast<int>(result.size()), nullptr,
                  v8::String::NO_NULL_TERMINATION | v8::String::REPLACE_INVALID_UTF8);
  return result;
}

}  // namespace hostlinux
