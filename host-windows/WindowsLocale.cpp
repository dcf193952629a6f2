#include "host-windows/WindowsLocale.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <string>

namespace hostwindows {

using varnel::Long;
using varnel::String;
using varnel::StringView;
using varnel::host::LocaleBuffer;

namespace {

// Longer than any text of a locale.
constexpr int kRoom = 512;
using Room = std::array<wchar_t, kRoom>;

// What a call wrote, with its NUL, into the caller's buffer; 0 where it failed or doesn't fit.
int Give(const wchar_t* text, int length, LocaleBuffer buffer) {
  if (length <= 0 || static_cast<std::size_t>(length) > buffer.size()) return 0;
  std::copy_n(text, length, buffer.begin());
  return length;
}

SYSTEMTIME TimeOf(const varnel::host::SystemTime& time) {
  const auto word = [](int value) { return static_cast<WORD>(value); };
  return {word(time.wYear), word(time.wMonth),  word(time.wDayOfWeek), word(time.wDay),
          word(time.wHour), word(time.wMinute), word(time.wSecond),    0};
}

// In the bytes of a code page; what it doesn't have becomes "?".
std::string BytesOf(StringView text, unsigned codePage) {
  const auto* units = reinterpret_cast<const wchar_t*>(text.data());
  const int size =
      ::WideCharToMultiByte(codePage, 0, units, static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(std::max(size, 0)), '\0');
  ::WideCharToMultiByte(codePage, 0, units, static_cast<int>(text.size()), bytes.data(), size, nullptr,
                        nullptr);
  return bytes;
}

String InfoText(Long lcid, LCTYPE code, StringView otherwise) {
  Room room;
  const int length = ::GetLocaleInfoW(static_cast<LCID>(lcid), code, room.data(), kRoom);
  if (length <= 0) return String(otherwise);
  return {reinterpret_cast<const char16_t*>(room.data()), static_cast<std::size_t>(length) - 1};
}

int InfoNumber(Long lcid, LCTYPE code, int otherwise) {
  DWORD value = 0;
  const int length = ::GetLocaleInfoW(static_cast<LCID>(lcid), code | LOCALE_RETURN_NUMBER,
                                      reinterpret_cast<wchar_t*>(&value), sizeof value / sizeof(wchar_t));
  return length > 0 ? static_cast<int>(value) : otherwise;
}

}  // namespace

unsigned CodePageOf(Long lcid) {
  return static_cast<unsigned>(InfoNumber(lcid, LOCALE_IDEFAULTANSICODEPAGE, 0));
}

int WindowsLocale::GetLocaleInfoW(Long lcid, Long code, LocaleBuffer buffer) {
  Room room;
  const int length = ::GetLocaleInfoW(static_cast<LCID>(lcid), static_cast<LCTYPE>(code), room.data(), kRoom);
  return Give(room.data(), length, buffer);
}

Long WindowsLocale::GetUserDefaultLCID() { return static_cast<Long>(::GetUserDefaultLCID()); }

int WindowsLocale::GetNumberFormatA(Long lcid, std::uint32_t flags, StringView value,
                                    const varnel::host::NumberFormat* format, LocaleBuffer buffer) {
  const unsigned ownPage = CodePageOf(lcid);
  const unsigned codePage = ownPage == 0 ? ::GetACP() : ownPage;
  const std::string digits = BytesOf(value, codePage);
  std::string decimal;
  std::string thousand;
  NUMBERFMTA shape{};
  if (format != nullptr) {
    if (!format->lpDecimalSep || !format->lpThousandSep) return 0;
    decimal = BytesOf(*format->lpDecimalSep, codePage);
    thousand = BytesOf(*format->lpThousandSep, codePage);
    shape = {static_cast<UINT>(format->NumDigits),
             static_cast<UINT>(format->LeadingZero),
             static_cast<UINT>(format->Grouping),
             decimal.data(),
             thousand.data(),
             static_cast<UINT>(format->NegativeOrder)};
  }
  std::array<char, kRoom> bytes;
  const int written = ::GetNumberFormatA(static_cast<LCID>(lcid), flags, digits.c_str(),
                                         format == nullptr ? nullptr : &shape, bytes.data(), kRoom);
  if (written <= 0) return 0;
  Room room;
  const int length = ::MultiByteToWideChar(codePage, 0, bytes.data(), written, room.data(), kRoom);
  return Give(room.data(), length, buffer);
}

int WindowsLocale::GetDateFormatW(Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                                  LocaleBuffer buffer) {
  Room room;
  const SYSTEMTIME day = TimeOf(time);
  return Give(room.data(),
              ::GetDateFormatW(static_cast<LCID>(lcid), flags, &day, nullptr, room.data(), kRoom), buffer);
}

int WindowsLocale::GetTimeFormatW(Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                                  LocaleBuffer buffer) {
  Room room;
  const SYSTEMTIME day = TimeOf(time);
  return Give(room.data(),
              ::GetTimeFormatW(static_cast<LCID>(lcid), flags, &day, nullptr, room.data(), kRoom), buffer);
}

varnel::LocaleFacts FactsOfUser() {
  varnel::LocaleFacts facts;
  const Long lcid = static_cast<Long>(::GetUserDefaultLCID());
  facts.lcid = lcid;
  facts.name = InfoText(lcid, LOCALE_SNAME, facts.name);
  facts.decimal = InfoText(lcid, LOCALE_SDECIMAL, facts.decimal);
  facts.thousand = InfoText(lcid, LOCALE_STHOUSAND, facts.thousand);
  facts.grouping = InfoText(lcid, LOCALE_SGROUPING, facts.grouping);
  facts.digits = InfoNumber(lcid, LOCALE_IDIGITS, facts.digits);
  facts.leadingZero = InfoNumber(lcid, LOCALE_ILZERO, facts.leadingZero);
  facts.negativeOrder = InfoNumber(lcid, LOCALE_INEGNUMBER, facts.negativeOrder);
  facts.negativeSign = InfoText(lcid, LOCALE_SNEGATIVESIGN, facts.negativeSign);
  facts.currency = InfoText(lcid, LOCALE_SCURRENCY, facts.currency);
  facts.dateSeparator = InfoText(lcid, LOCALE_SDATE, facts.dateSeparator);
  facts.timeSeparator = InfoText(lcid, LOCALE_STIME, facts.timeSeparator);
  facts.shortDate = InfoText(lcid, LOCALE_SSHORTDATE, facts.shortDate);
  facts.timeFormat = InfoText(lcid, LOCALE_STIMEFORMAT, facts.timeFormat);
  facts.dateOrder = static_cast<varnel::LocaleFacts::DateOrder>(
      std::clamp(InfoNumber(lcid, LOCALE_IDATE, static_cast<int>(facts.dateOrder)), 0, 2));
  facts.am = InfoText(lcid, LOCALE_S1159, facts.am);
  facts.pm = InfoText(lcid, LOCALE_S2359, facts.pm);
  facts.ansiCodePage = static_cast<int>(CodePageOf(lcid));
  return facts;
}

}  // namespace hostwindows
