#include "site/loader/IdsFile.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "site/loader/Utf8Text.h"

namespace shop {
namespace {

constexpr std::size_t kIdLength = 4;

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

bool IsBlank(char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7F'; }

std::string CleanName(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  std::string name(text);
  std::replace_if(name.begin(), name.end(), IsBlank, ' ');
  return name;
}

struct Entry {
  std::string id;
  std::string_view rest;
};

// The id of four hexadecimal digits at the start of `text`, and what stands behind it.
std::optional<Entry> TakeId(std::string_view text) {
  if (text.size() < kIdLength) return std::nullopt;
  const std::string_view id = text.substr(0, kIdLength);
  if (!std::all_of(id.begin(), id.end(), IsHexDigit)) return std::nullopt;
  return Entry{FoldCase(id), text.substr(kIdLength)};
}

// As TakeId, for an id that ends its line or is set off by a blank: in the class sections longer words begin
// with letters that are digits too.
std::optional<Entry> TakeWholeId(std::string_view text) {
  std::optional<Entry> entry = TakeId(text);
  if (entry && !entry->rest.empty() && !IsBlank(entry->rest.front())) return std::nullopt;
  return entry;
}

bool IsDateTime(std::string_view text) {
  constexpr std::string_view shape = "dddd-dd-dd dd:dd:dd";
  if (text.size() != shape.size()) return false;
  return std::equal(text.begin(), text.end(), shape.begin(),
                    [](char c, char s) { return s == 'd' ? c >= '0' && c <= '9' : c == s; });
}

// The list's date from a comment such as "# Date:    2023-04-10 20:08:02"; empty for any other comment.
std::string DateOfComment(std::string_view comment) {
  constexpr std::string_view label = "Date:";
  const std::size_t at = comment.find(label);
  if (at == std::string_view::npos) return {};
  std::string date = CleanName(comment.substr(at + label.size()));
  return IsDateTime(date) ? date : std::string{};
}

class Reader {
 public:
  IdsFile Read(std::string_view text) {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find('\n'), text.size());
      ReadLine(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    return std::move(m_file);
  }

 private:
  void ReadLine(std::string_view line) {
    if (CleanName(line).empty()) return;
    if (line.front() == '#') return ReadComment(line);
    if (line.starts_with("\t\t")) return ReadBoard(line.substr(2));
    if (line.front() == '\t') return ReadDevice(line.substr(1));
    ReadVendor(line);
  }

  void ReadComment(std::string_view line) {
    if (m_file.date.empty()) m_file.date = DateOfComment(line);
  }

  // Any other line at the margin begins a section that is none of a vendor's.
  void ReadVendor(std::string_view line) {
    const std::optional<Entry> entry = TakeWholeId(line);
    m_inVendor = entry.has_value();
    m_inDevice = false;
    if (entry) m_file.vendors.push_back({entry->id, CleanName(entry->rest), {}});
  }

  void ReadDevice(std::string_view line) {
    m_inDevice = false;
    if (!m_inVendor) return;
    const std::optional<Entry> entry = TakeWholeId(line);
    if (!entry) return;
    m_inDevice = true;
    m_file.vendors.back().devices.push_back({entry->id, CleanName(entry->rest), {}});
  }

  // "subvendor subdevice  name". The interfaces of a USB device stand at the same depth with one short
  // number.
  void ReadBoard(std::string_view line) {
    if (!m_inDevice) return;
    const std::optional<Entry> subvendor = TakeWholeId(line);
    if (!subvendor || subvendor->rest.empty()) return;
    const std::optional<Entry> subdevice = TakeWholeId(subvendor->rest.substr(1));
    if (!subdevice) return;
    m_file.vendors.back().devices.back().boards.push_back(
        {subvendor->id, subdevice->id, CleanName(subdevice->rest)});
  }

  IdsFile m_file;
  bool m_inVendor = false;
  bool m_inDevice = false;
};

}  // namespace

IdsFile ParseIds(std::string_view bytes) { return Reader().Read(MakeValidUtf8(bytes)); }

}  // namespace shop
