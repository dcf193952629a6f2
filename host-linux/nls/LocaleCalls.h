// The platform's locale calls, on the table of locales.
//
// The user's own settings are the facts that the site set as the user's locale (SetUserLocale): they count
// for that locale's id wherever the platform lets a user's settings count, the table for every other one. The
// ids that name a default locale (0, 1024, 2048, 3072, 4096) mean the user's in every call.
#pragma once

#include <optional>

#include "host-linux/nls/NumberShape.h"
#include "varnel/automation/LocaleFacts.h"
#include "varnel/host/Locale.h"

namespace hostlinux {

class LocaleCalls : public varnel::host::ILocale {
 public:
  // `codePage` is the site's single-byte one: what the number call writes is read by it.
  explicit LocaleCalls(int codePage) : m_codePage(codePage) {}

  // Knows the codes of host::locale_code.
  int GetLocaleInfoW(varnel::Long lcid, varnel::Long code, varnel::host::LocaleBuffer buffer) override;
  varnel::Long GetUserDefaultLCID() override;
  int GetNumberFormatA(varnel::Long lcid, std::uint32_t flags, varnel::StringView value,
                       const varnel::host::NumberFormat* format, varnel::host::LocaleBuffer buffer) override;
  // Fails for a day that doesn't exist and for a year before 1601.
  int GetDateFormatW(varnel::Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                     varnel::host::LocaleBuffer buffer) override;
  // Looks at the hour, minute and second alone.
  int GetTimeFormatW(varnel::Long lcid, std::uint32_t flags, const varnel::host::SystemTime& time,
                     varnel::host::LocaleBuffer buffer) override;

  // The bytes that the number call writes: in the locale's code page, in the site's where the locale has none
  // or a format is given. Empty where the call fails.
  std::optional<std::string> NumberFormatBytes(varnel::Long lcid, std::uint32_t flags,
                                               varnel::StringView value,
                                               const varnel::host::NumberFormat* format) const;

 private:
  int m_codePage;
};

}  // namespace hostlinux
