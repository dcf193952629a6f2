// The keys of the grid's texts; the texts lie in the application's message manager.
#pragma once

#include "varnel/automation/String.h"

namespace varnel::labels {

inline constexpr const char16_t* kCounterBegin = u"SLBGE0015";
inline constexpr const char16_t* kCounterRest = u"SLBGE0016";
inline constexpr const char16_t* kNoRecords = u"SLBGE0017";
inline constexpr const char16_t* kFirstPage = u"SLBGE0018";
inline constexpr const char16_t* kPreviousPage = u"SLBGE0019";
inline constexpr const char16_t* kNextPage = u"SLBGE0020";
inline constexpr const char16_t* kLastPage = u"SLBGE0021";
inline constexpr const char16_t* kSort = u"SLBGE0032";
inline constexpr const char16_t* kSorted = u"SLBGE0033";  // kept for the applications that translate it
inline constexpr const char16_t* kSortedUp = u"SLBGE0034";
inline constexpr const char16_t* kSortedDown = u"SLBGE0035";

// Places in the text of kCounterRest.
inline constexpr StringView kCurrentRecord = u"[%CurrentRecord%]";
inline constexpr StringView kRecordCount = u"[%RecordCount%]";

}  // namespace varnel::labels
