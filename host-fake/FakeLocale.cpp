#include "host-fake/FakeLocale.h"

#include <algorithm>

namespace hostfake {

using varnel::DecimalText;
using varnel::host::LocaleBuffer;
using varnel::host::NumberFormat;
using varnel::host::SystemTime;

namespace {

int Fill(LocaleBuffer buffer, const String* text) {
  if (text == nullptr || text->size() >= buffer.size()) return 0;
  *std::copy(text->begin(), text->end(), buffer.begin()) = u'\0';
  return static_cast<int>(text->size()) + 1;
}

const String* AnswerOf(const std::optional<String>& answer) { return answer ? &*answer : nullptr; }

String Quoted(const std::optional<String>& text) { return text ? u"\"" + *text + u"\"" : String(u"none"); }

String TextOf(const NumberFormat& format) {
  return u" (digits " + DecimalText(format.NumDigits) + u", zero " + DecimalText(format.LeadingZero) +
         u", group " + DecimalText(format.Grouping) + u", " + Quoted(format.lpDecimalSep) + u", " +
         Quoted(format.lpThousandSep) + u", order " + DecimalText(format.NegativeOrder) + u")";
}

String TextOf(const SystemTime& time) {
  return DecimalText(time.wYear) + u"-" + DecimalText(time.wMonth) + u"-" + DecimalText(time.wDay) + u" " +
         DecimalText(time.wHour) + u":" + DecimalText(time.wMinute) + u":" + DecimalText(time.wSecond) +
         (time.wDayOfWeek == 0 ? u"" : u" with a day of the week");
}

}  // namespace

FakeLocale::FakeLocale(TracePtr trace) : m_trace(std::move(trace)) {
  namespace locale_code = varnel::host::locale_code;
  SetInfo(1033, locale_code::kDecimal, u".");
  SetInfo(1033, locale_code::kThousand, u",");
  SetInfo(1033, locale_code::kGrouping, u"3;0");
  SetInfo(1033, locale_code::kDigits, u"2");
  SetInfo(1033, locale_code::kLeadingZero, u"1");
  SetInfo(1033, locale_code::kCurrency, u"$");
  SetInfo(1033, locale_code::kDate, u"/");
  SetInfo(1033, locale_code::kDateOrder, u"0");
}

int FakeLocale::GetLocaleInfoW(Long lcid, Long code, LocaleBuffer buffer) {
  TraceCall(u"GetLocaleInfoW", lcid, static_cast<std::uint32_t>(code), u"", buffer.size());
  const auto found = m_info.find({lcid, code});
  return Fill(buffer, found == m_info.end() ? nullptr : &found->second);
}

int FakeLocale::GetNumberFormatA(Long lcid, std::uint32_t flags, StringView value, const NumberFormat* format,
                                 LocaleBuffer buffer) {
  const String with = format == nullptr ? String() : TextOf(*format);
  TraceCall(u"GetNumberFormatA", lcid, flags, u" " + String(value) + with, buffer.size());
  return Fill(buffer, AnswerOf(m_number));
}

int FakeLocale::GetDateFormatW(Long lcid, std::uint32_t flags, const SystemTime& time, LocaleBuffer buffer) {
  TraceCall(u"GetDateFormatW", lcid, flags, u" " + TextOf(time), buffer.size());
  return Fill(buffer, AnswerOf(m_date));
}

int FakeLocale::GetTimeFormatW(Long lcid, std::uint32_t flags, const SystemTime& time, LocaleBuffer buffer) {
  TraceCall(u"GetTimeFormatW", lcid, flags, u" " + TextOf(time), buffer.size());
  return Fill(buffer, AnswerOf(m_time));
}

void FakeLocale::TraceCall(StringView name, Long lcid, std::uint32_t flags, StringView what,
                           std::size_t room) {
  m_trace->Add(u"Locale", String(name) + u" " + DecimalText(lcid) + u" " + DecimalText(flags) + String(what) +
                              u" " + DecimalText(static_cast<std::int64_t>(room)));
}

}  // namespace hostfake
