#include "host-windows/types/TypeText.h"

#include "varnel/catalog/FavoriteTypes.h"
#include "varnel/component/ClassFactory.h"
#include "varnel/component/ClassIds.h"
#include "varnel/component/DispatchCall.h"
#include "varnel/recordset/DFields.h"
#include "varnel/table/TableTypes.h"

namespace hostwindows {

using varnel::Member;
using varnel::ObjectPtr;
using varnel::String;
using varnel::StringView;
namespace com = varnel::com;

namespace {

String IdAttribute(const com::GUID& id) {
  const String text = com::IdText(id);
  return u"uuid(" + text.substr(1, text.size() - 2) + u")";
}

String Parameters(const Member& member) {
  const std::vector<String> names = varnel::Split(member.argumentNames, u", ");
  String text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool optional = static_cast<int>(i) >= member.Required();
    text += text.empty() ? u"" : u", ";
    text += optional ? u"[in, optional] VARIANT " : u"[in] VARIANT ";
    text += names[i];
  }
  if (member.takesMore) text += String(text.empty() ? u"" : u", ") + u"[in] SAFEARRAY(VARIANT) iArgs";
  return text;
}

String IdOf(const varnel::ClassInfo& info, const Member& member) {
  return u"id(" + varnel::DecimalText(com::IdOfMember(info, member.name)) + u")";
}

String MemberLines(const varnel::ClassInfo& info, const Member& member) {
  const bool isProperty = member.kind == Member::Kind::Property;
  String line = u"      [" + IdOf(info, member);
  if (isProperty) line += u", propget";
  if (member.takesMore) line += u", vararg";
  line += u"] VARIANT " + member.name + u"(" + Parameters(member) + u");\n";
  if (member.put != nullptr)
    line += u"      [" + IdOf(info, member) + u", propput] void " + member.name + u"([in] VARIANT value);\n";
  return line;
}

String InterfaceText(const com::ClassIds& ids, const varnel::ClassInfo& info) {
  String text = u"\n  [" + IdAttribute(ids.interfaceID) + u"]\n  dispinterface _" + String(ids.name) +
                u" {\n    properties:\n    methods:\n";
  for (const Member& member : info.members) text += MemberLines(info, member);
  text += u"  };\n";
  if (!ids.IsCreatable()) return text;
  return text + u"\n  [" + IdAttribute(ids.classID) + u"]\n  coclass " + String(ids.name) +
         u" {\n    [default] dispinterface _" + String(ids.name) + u";\n  };\n";
}

// What the compiler knows by these names, whatever it reads here.
constexpr StringView kSystemTypes =
    u"typedef struct tagVARIANT { int type; } VARIANT;\n"
    u"[object, local, uuid(00000000-0000-0000-C000-000000000046)] interface IUnknown { }\n"
    u"[object, local, uuid(00020400-0000-0000-C000-000000000046)] interface IDispatch : IUnknown { }\n";

// The values of the enumerations whose names begin so.
String EnumText(StringView name, StringView beginning, std::span<const varnel::EnumerationName> values) {
  String lines;
  for (const varnel::EnumerationName& value : values) {
    if (!value.name.starts_with(beginning)) continue;
    lines += lines.empty() ? u"" : u",\n";
    lines += u"    " + String(value.name) + u" = " + varnel::DecimalText(value.value);
  }
  return u"\n  typedef enum {\n" + lines + u"\n  } " + String(name) + u";\n";
}

ObjectPtr Make(const com::ClassIds& ids) {
  if (ids.IsCreatable()) return varnel::CreateComponent(u"Varnel." + String(ids.name));
  if (ids.name == u"DField") return std::make_shared<varnel::DField>();
  return std::make_shared<varnel::DFields>();
}

}  // namespace

std::string WriteTypes() {
  String text = u"// Made from the member tables (varnel-types): change those.\n" + String(kSystemTypes) +
                u"[" + IdAttribute(com::kTypeLibraryId) +
                u", version(1.0), helpstring(\"Varnel components\")]\nlibrary Varnel {\n"
                u"  importlib(\"stdole2.tlb\");\n";
  const auto table = varnel::TableEnumerationNames();
  text += EnumText(u"TableType", u"TableType", table);
  text += EnumText(u"AlignType", u"Align", table);
  text += EnumText(u"VAlignType", u"VAlign", table);
  text += EnumText(u"FavoriteTypes", u"", varnel::FavoriteEnumerationNames());
  for (const com::ClassIds& ids : com::AllClassIds()) text += InterfaceText(ids, Make(ids)->Class());
  return varnel::ToUtf8(text + u"}\n");
}

}  // namespace hostwindows
