// The published ids of the classes. They never change: registrations and programs built against the type library hold
// them.
#pragma once

#include <span>

#include "varnel/component/Automation.h"

namespace varnel::com {

struct ClassIds {
  StringView name;   // as in "Varnel.Page", and in the class's member table
  GUID classID;      // for those that are created by name; all zero for the others
  GUID interfaceID;  // of its members by their ids
  bool IsCreatable() const { return !SameId(classID, kNoId); }
};

// Of every public class.
std::span<const ClassIds> AllClassIds();
// By the name of the class; null for one that isn't public.
const ClassIds* IdsOfClass(StringView className);
const ClassIds* IdsOfClassID(const GUID& classID);

inline constexpr GUID kTypeLibraryId = {
    0x2863548A, 0xC007, 0x4112, {0x87, 0xD9, 0xBF, 0xB1, 0x83, 0xE2, 0x3E, 0xE0}};

// "{2863548A-C007-4112-87D9-BFB183E23EE0}"
String IdText(const GUID& id);

}  // namespace varnel::com
