// The system's own locale calls.
#pragma once

#include "varnel/automation/LocaleFacts.h"
#include "varnel/host/Locale.h"

namespace hostwindows {

class WindowsLocale : public varnel::host::ILocale {
 public:
  int GetLocaleInfoW(varnel::Long lcid, varnel::Long code, varnel::host::LocaleBuffer buffer) override;
  varnel::Long GetUserDefaultLCID() override;
  int GetNumberFormatA(varnel::Long lcid, std::uint32_t flags, varnel::StringView value,
                       const varnel::host::NumberFormat* format, varnel::host::LocaleBuffer buffer) override;
  int GetDateFormatW(varnel::Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                     varnel::host::LocaleBuffer buffer) override;
  int GetTimeFormatW(varnel::Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                     varnel::host::LocaleBuffer buffer) override;
};

// What conversions need to know of the user's locale.
varnel::LocaleFacts FactsOfUser();

// The code page of single bytes of a locale: 0 where it has none, or where there is no such locale.
unsigned CodePageOf(varnel::Long lcid);

}  // namespace hostwindows
