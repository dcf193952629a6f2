#include "varnel/component/ClassIds.h"

#include <algorithm>
#include <array>

namespace varnel::com {

namespace {

constexpr GUID ClassID(std::uint32_t number) {
  return {0xBF2B8C00 + number, 0x8B2E, 0x457B, {0xB7, 0x95, 0x23, 0x61, 0xFE, 0x5F, 0xA1, 0x21}};
}

constexpr GUID InterfaceID(std::uint32_t number) {
  return {0x6481DD00 + number, 0x5579, 0x4525, {0xBD, 0x92, 0xA5, 0x84, 0xA2, 0x82, 0x76, 0x95}};
}

constexpr std::array kIds{
    ClassIds{u"Page", ClassID(1), InterfaceID(1)},
    ClassIds{u"PageUtil", ClassID(2), InterfaceID(2)},
    ClassIds{u"Table", ClassID(3), InterfaceID(3)},
    ClassIds{u"DRecordset", ClassID(4), InterfaceID(4)},
    ClassIds{u"DGrid", ClassID(5), InterfaceID(5)},
    ClassIds{u"Upload", ClassID(6), InterfaceID(6)},
    ClassIds{u"Utilities", ClassID(7), InterfaceID(7)},
    ClassIds{u"CatalogQuery", ClassID(8), InterfaceID(8)},
    ClassIds{u"DataFunctions", ClassID(9), InterfaceID(9)},
    ClassIds{u"DField", kNoId, InterfaceID(10)},
    ClassIds{u"DFields", kNoId, InterfaceID(11)},
};

void AppendHex(String& text, std::uint64_t value, int digits) {
  constexpr StringView kDigits = u"0123456789ABCDEF";
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) text += kDigits[(value >> shift) & 0xF];
}

}  // namespace

std::span<const ClassIds> AllClassIds() { return kIds; }

const ClassIds* IdsOfClass(StringView className) {
  const auto found =
      std::find_if(kIds.begin(), kIds.end(), [&](const ClassIds& ids) { return ids.name == className; });
  return found == kIds.end() ? nullptr : &*found;
}

const ClassIds* IdsOfClassID(const GUID& classID) {
  const auto found = std::find_if(kIds.begin(), kIds.end(), [&](const ClassIds& ids) {
    return ids.IsCreatable() && SameId(ids.classID, classID);
  });
  return found == kIds.end() ? nullptr : &*found;
}

String IdText(const GUID& id) {
  String text = u"{";
  AppendHex(text, id.Data1, 8);
  text += u'-';
  AppendHex(text, id.Data2, 4);
  text += u'-';
  AppendHex(text, id.Data3, 4);
  for (int i = 0; i < 8; ++i) {
    if (i == 0 || i == 2) text += u'-';
    AppendHex(text, id.Data4[i], 2);
  }
  return text + u'}';
}

}  // namespace varnel::com
