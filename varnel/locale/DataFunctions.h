// Numbers and dates as text of any locale, and back ("Varnel.DataFunctions").
//
// `i_vLocaleID` is a locale id, converted to a Long. The operations that write, read and validate raise
// nothing: whatever fails, the conversion of an argument too, gives Null, or False where they validate. The
// facts of a locale (the six last operations) raise what a conversion of their argument raises.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/host/Locale.h"

namespace varnel {

class DataFunctions : public Object {
 public:
  const ClassInfo& Class() const override;

  // A date in the locale's short order and with its separator, such as 31.12.2001 for 1031; a time behind it
  // isn't read (its year is no number then), further parts aren't looked at. A year of 0 to 29 lies in this
  // century, one of 30 to 99 in the last. A day below 1 counts back from the month's first. A Date.
  Variant ConvertDateString(const Variant& i_vDateString, const Variant& i_vLocaleID);
  // A number with the locale's separators, wherever those of thousands stand; blanks at both ends don't
  // count. A Double.
  Variant ConvertFloatString(const Variant& i_vDoubleString, const Variant& i_vLocaleID);
  // The same, rounded to a Long, a half to the even neighbour.
  Variant ConvertNumberString(const Variant& i_vLongString, const Variant& i_vLocaleID);

  // The Date in the locale's short form without its blanks; with the Boolean, one blank and the time, whose
  // blanks stay. An unknown locale gives the empty text, or one blank.
  Variant DateTime(const Variant& i_dDateValue, const Variant& i_vLocaleID,
                   const Variant& i_bWithTime = false);
  // The short date of three Longs; the month counts from 0, and month and day carry over.
  Variant DateFromJava(const Variant& i_lYear, const Variant& i_lMonth, const Variant& i_lDay,
                       const Variant& i_vLocaleID);
  // The Double with the locale's number of decimals, grouping and negative form.
  Variant Float(const Variant& i_fDoubleValue, const Variant& i_vLocaleID);
  // The same with that many decimals (0 to 9; left out: the locale's), grouped throughout by the locale's
  // first group; a negative number gets a minus sign, or brackets where the locale writes no leading zero.
  Variant FloatEx(const Variant& i_fDoubleValue, const Variant& i_vLocaleID,
                  const Variant& i_vNumDecimals = Missing());
  // The Long as `Float` writes it, without its three last characters: the separator and two decimals,
  // wherever the locale has two.
  Variant Number(const Variant& i_lLongValue, const Variant& i_vLocaleID);

  // True if the value converts to a Date that isn't below the lower bound nor above the upper one, where
  // there are any.
  Variant ValidateDateTime(const Variant& i_vDateValue, const Variant& i_vMinDateValue = Missing(),
                           const Variant& i_vMaxDateValue = Missing());
  // The same for numbers: text is none, and neither is NaN nor an infinity.
  Variant ValidateFloat(const Variant& i_vDoubleValue, const Variant& i_vMinDoubleValue = Missing(),
                        const Variant& i_vMaxDoubleValue = Missing());
  // The same for values of a whole type: a Double is none, whatever its value.
  Variant ValidateNumber(const Variant& i_vLongValue, const Variant& i_vMinLongValue = Missing(),
                         const Variant& i_vMaxLongValue = Missing());

  // The euro for the locales of its first countries, the wide yen sign for 2052; else the platform's value.
  // Empty for an unknown locale, as the three separators.
  String GetCurrencySymbol(Long i_lLocaleID);
  String GetEuroSymbol();
  String GetDateSeparator(Long i_lLocaleID);
  // 0 month, day, year; 1 day, month, year; 2 year, month, day. Raises 13 for an unknown locale.
  Long GetShortDateFormatOrdering(Long i_lLocaleID);
  String GetThousandSeparator(Long i_lLocaleID);
  // Takes 0 as the user's locale; no other operation does.
  String GetDecimalSeparator(Long i_lLocaleID);

 private:
  // Each raises 13 for an unknown locale.
  Long GetNumberGrouping(Long i_lLocaleID);
  Long GetNumberLeadingZero(Long i_lLocaleID);
  Long GetNumberNegativeOrder(Long i_lLocaleID);
  Long GetNumberDigits(Long i_lLocaleID);

  host::NumberFormat FormatOf(Long i_lLocaleID, const Variant& i_vNumDecimals);
};

ObjectPtr MakeDataFunctions();

}  // namespace varnel
