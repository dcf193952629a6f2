#include "host-linux/advice/ListAdvice.h"

#include <algorithm>

#include "host-linux/advice/ListLooks.h"

namespace hostlinux {
namespace {

using varnel::String;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kFresh(10);
constexpr std::size_t kMostKnown = 1000;
constexpr std::size_t kMostWarnings = 50;  // of one page

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else if (c == '>') {
      escaped += "&gt;";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

}  // namespace

std::vector<String> ListMemory::FaultsOf(const String& text,
                                         const std::function<std::vector<String>()>& look) {
  {
    const std::lock_guard lock(m_mutex);
    const auto found = m_known.find(text);
    if (found != m_known.end() && Clock::now() - found->second.when < kFresh) return found->second.faults;
  }
  std::vector<String> faults = look();
  const std::lock_guard lock(m_mutex);
  if (m_known.size() >= kMostKnown) m_known.clear();
  m_known[text] = {Clock::now(), faults};
  return faults;
}

bool ListMemory::IsNew(const ListWarning& warning) {
  const std::lock_guard lock(m_mutex);
  if (m_said.size() >= kMostKnown) return false;
  return m_said.insert(warning.place + "\n" + warning.text).second;
}

void ListAdvice::Opening(const varnel::host::ListInUse& list) noexcept {
  try {
    if (m_onList) m_onList(m_place(), list);
    if (!m_looks) return;
    const ListTexts texts{String(list.query), String(list.keys), String(list.sort), list.declaredSorts,
                          list.counts};
    String key = texts.query + u'\n' + texts.keys + u'\n' + texts.sort + (texts.counts ? u"\n1" : u"\n0");
    for (const String& sort : texts.declaredSorts) key += u'\n' + sort;
    const auto look = [&] {
      std::vector<String> faults = FindListFaults(texts);
      const auto connection = std::dynamic_pointer_cast<AdoConnection>(list.connection);
      if (connection == nullptr || !connection->IsOpen()) return faults;
      for (String& fault : LookAtList(texts, list.parameters, *connection))
        faults.push_back(std::move(fault));
      return faults;
    };
    for (const String& fault : m_memory.FaultsOf(key, look)) {
      ListWarning warning{m_place(), varnel::ToUtf8(list.recordset) + ": " + varnel::ToUtf8(fault)};
      const bool isKnown = std::find(m_warnings.begin(), m_warnings.end(), warning) != m_warnings.end();
      if (!isKnown && m_warnings.size() < kMostWarnings) m_warnings.push_back(std::move(warning));
    }
  } catch (...) {  // advice that can't be given is none
  }
}

std::string WarningBox(const std::vector<ListWarning>& warnings) {
  std::string box =
      "\n<div style=\"margin:1em;padding:.5em 1em;border:2px solid #b50;background:#fff8e8;color:#000;"
      "font:14px sans-serif;text-align:left\"><b>Development mode: what these lists get wrong</b>\n<ul>\n";
  for (const ListWarning& warning : warnings)
    box += "<li>" + Escaped(warning.place) + ": " + Escaped(warning.text) + "</li>\n";
  return box + "</ul>\n</div>\n";
}

}  // namespace hostlinux
