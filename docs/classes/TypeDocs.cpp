#include "docs/classes/TypeDocs.h"

#include <map>
#include <set>

#include "host-linux/application/SiteParts.h"
#include "varnel/automation/Convert.h"

namespace classdocs {

using varnel::Member;

namespace {

// What an operation gives where that is one of the classes: the member tables don't tell.
const std::map<std::string, std::string>& Results() {
  static const std::map<std::string, std::string> results = {{"Page.DRecordset", "DRecordset"},
                                                             {"Page.DGrid", "DGrid"},
                                                             {"Page.List", "List"},
                                                             {"List.Column", "ListColumn"},
                                                             {"ListColumn.Link", "ListColumn"},
                                                             {"ListColumn.Format", "ListColumn"},
                                                             {"ListColumn.Align", "ListColumn"},
                                                             {"ListColumn.Sortable", "ListColumn"},
                                                             {"ListColumn.SortBy", "ListColumn"},
                                                             {"ListColumn.Expression", "ListColumn"},
                                                             {"ListColumn.Template", "ListColumn"},
                                                             {"Page.Table", "Table"},
                                                             {"DRecordset.Fields", "DFields"},
                                                             {"DRecordset.GetDefault", "DField"},
                                                             {"DFields.Item", "DField"},
                                                             {"Request.QueryString", "RequestCollection"},
                                                             {"Request.Form", "RequestCollection"},
                                                             {"Request.Cookies", "RequestCollection"},
                                                             {"Request.ServerVariables", "RequestCollection"},
                                                             {"Request.Item", "RequestValue"},
                                                             {"Request.Text", "string"},
                                                             {"Request.Number", "number | null"},
                                                             {"Request.Date", "Date | null"},
                                                             {"RequestCollection.Item", "RequestValue"},
                                                             {"Response.Cookies", "ResponseCookies"},
                                                             {"ResponseCookies.Item", "ResponseCookie"},
                                                             {"Session.Contents", "Contents"},
                                                             {"Application.Contents", "Contents"},
                                                             {"Server.HTMLEncode", "string"},
                                                             {"Server.URLEncode", "string"},
                                                             {"Server.MapPath", "string"},
                                                             {"ADODB.Connection.Execute", "ADODBRecordset"},
                                                             {"ADODB.Connection.Errors", "ADODBErrors"},
                                                             {"ADODB.Recordset.Fields", "ADODBFields"},
                                                             {"ADODB.Errors.Item", "ADODBError"},
                                                             {"ADODB.Fields.Item", "ADODBField"}};
  return results;
}

std::string Without(std::string text, char sign) {
  std::erase(text, sign);
  return text;
}

std::string ArgumentName(const std::string& name) {
  static const std::set<std::string> reserved = {"default", "function", "new",  "in",
                                                 "for",     "with",     "this", "class"};
  std::string clean;
  for (const char c : name)
    if (c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) clean += c;
  return reserved.contains(clean) ? clean + "_" : clean;
}

std::string Arguments(const Member& member, const Line& line) {
  std::string text;
  for (std::size_t i = 0; i < line.arguments.size(); ++i) {
    const bool isMore = i >= static_cast<std::size_t>(member.parameters);
    const bool isOptional = i >= static_cast<std::size_t>(member.Required());
    text += i == 0 ? "" : ", ";
    text += isMore ? "..." + ArgumentName(line.arguments[i]) + ": any[]"
                   : ArgumentName(line.arguments[i]) + (isOptional ? "?: any" : ": any");
  }
  return text;
}

std::string Comment(const std::string& indent, const std::string& text) {
  std::string safe = text;
  for (auto at = safe.find("*/"); at != std::string::npos; at = safe.find("*/", at))
    safe.replace(at, 2, "* /");
  return indent + "/** " + safe + " */\n";
}

// A property, a method, and for the default operation how the object itself is called.
std::string Declaration(const std::string& className, const Member& member, const Line& line) {
  const std::string name = varnel::ToUtf8(member.name);
  const auto known = Results().find(className + "." + name);
  const std::string result = known == Results().end() ? "any" : known->second;
  const std::string call = "(" + Arguments(member, line) + "): " + result + ";\n";
  std::string text = Comment("    ", line.text);
  const bool isCalled = member.kind == Member::Kind::Method || member.parameters > 0;
  const std::string access = member.put == nullptr ? "readonly " : "";
  text += isCalled ? "    " + name + call : "    " + access + name + ": " + result + ";\n";
  if (member.isDefault) text += "    " + call;
  return text;
}

std::string Interface(const PublicClass& publicClass, const Lines& lines) {
  std::string text = Comment("  ", lines.at(publicClass.name).text) + "  interface " +
                     Without(publicClass.name, '.') + " {\n";
  for (const Member& member : publicClass.object->Class().members)
    text +=
        Declaration(publicClass.name, member, lines.at(publicClass.name + "." + varnel::ToUtf8(member.name)));
  return text + "    [Symbol.iterator](): Iterator<any>;\n  }\n\n";
}

}  // namespace

std::string WriteTypes(const std::vector<PublicClass>& classes, const Lines& lines,
                       std::string_view globals) {
  std::string text =
      "// What page scripts and tests find, for editors. Made from the member tables; it does nothing by "
      "itself.\n\n"
      "declare namespace Varnel {\n";
  for (const PublicClass& publicClass : classes) text += Interface(publicClass, lines);
  text += "}\n\n";
  for (const auto& [name, value] : hostlinux::PublicEnumerations())
    text += "declare const " + name + ": number;\n";
  return text + "\n" + std::string(globals);
}

}  // namespace classdocs
