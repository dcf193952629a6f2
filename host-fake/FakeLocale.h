// Locale calls that answer what a test has set, and fail where it has set nothing.
#pragma once

#include <map>
#include <optional>
#include <utility>

#include "host-fake/Trace.h"
#include "varnel/host/Locale.h"

namespace hostfake {

using varnel::Long;
using varnel::String;
using varnel::StringView;

class FakeLocale : public varnel::host::ILocale {
 public:
  // Locale 1033 is known at first, and the user's.
  explicit FakeLocale(TracePtr trace);

  void SetInfo(Long lcid, Long code, StringView value) { m_info[{lcid, code}] = value; }
  void SetUserDefaultLCID(Long lcid) { m_user = lcid; }
  // What the calls write from now on, whatever they are asked for.
  void AnswerNumber(StringView text) { m_number = text; }
  void AnswerDate(StringView text) { m_date = text; }
  void AnswerTime(StringView text) { m_time = text; }

  int GetLocaleInfoW(Long lcid, Long code, varnel::host::LocaleBuffer buffer) override;
  Long GetUserDefaultLCID() override { return m_user; }
  // Traced as "Locale: GetNumberFormatA 0 0 1.5 (digits 2, zero 1, group 3, ".", ",", order 1) 50".
  int GetNumberFormatA(Long lcid, std::uint32_t flags, StringView value,
                       const varnel::host::NumberFormat* format, varnel::host::LocaleBuffer buffer) override;
  // Traced as "Locale: GetDateFormatW 1033 1 2024-3-5 0:0:0 50".
  int GetDateFormatW(Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                     varnel::host::LocaleBuffer buffer) override;
  int GetTimeFormatW(Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                     varnel::host::LocaleBuffer buffer) override;

 private:
  void TraceCall(StringView name, Long lcid, std::uint32_t flags, StringView what, std::size_t room);

  TracePtr m_trace;
  std::map<std::pair<Long, Long>, String> m_info;
  Long m_user = 1033;
  std::optional<String> m_number;
  std::optional<String> m_date;
  std::optional<String> m_time;
};

}  // namespace hostfake
