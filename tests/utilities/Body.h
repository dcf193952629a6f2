// Multipart bodies as browsers send them.
#pragma once

#include <string>
#include <string_view>

#include "varnel/automation/Variant.h"

namespace varnel::test {

inline constexpr std::string_view kBoundary = "----boundary17";

inline std::string Field(std::string_view name, std::string_view value) {
  return "--" + std::string(kBoundary) + "\r\nContent-Disposition: form-data; name=\"" + std::string(name) +
         "\"\r\n\r\n" + std::string(value) + "\r\n";
}

inline std::string File(std::string_view name, std::string_view fileName, std::string_view content,
                        std::string_view type = "text/plain") {
  return "--" + std::string(kBoundary) + "\r\nContent-Disposition: form-data; name=\"" + std::string(name) +
         "\"; filename=\"" + std::string(fileName) + "\"\r\nContent-Type: " + std::string(type) + "\r\n\r\n" +
         std::string(content) + "\r\n";
}

inline std::string End() { return "--" + std::string(kBoundary) + "--\r\n"; }

inline Bytes BytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

}  // namespace varnel::test
