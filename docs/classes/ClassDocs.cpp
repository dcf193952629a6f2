#include "docs/classes/ClassDocs.h"

#include <set>
#include <stdexcept>

#include "varnel/automation/Convert.h"

namespace classdocs {

using varnel::Member;

namespace {

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const auto end = std::min(text.find(separator), text.size());
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + separator.size(), text.size()));
  }
  return parts;
}

std::string KeyOf(const PublicClass& publicClass, const Member& member) {
  return publicClass.name + "." + varnel::ToUtf8(member.name);
}

// A default as a script would write it; nothing for one that is empty or only tells that none was given.
std::string DefaultText(const varnel::Variant& value) {
  if (value.IsMissing() || value.IsEmpty()) return {};
  if (const bool* flag = value.As<bool>()) return *flag ? "true" : "false";
  return varnel::ToUtf8(varnel::ToText(value));
}

std::string ArgumentText(const Member& member, const std::vector<std::string>& names, std::size_t i) {
  const auto required = static_cast<std::size_t>(member.Required());
  if (i < required) return names[i];
  if (i >= static_cast<std::size_t>(member.parameters)) return names[i] + ", ...";
  const std::string value = DefaultText(member.defaults[i - required]);
  return value.empty() ? "[" + names[i] + "]" : names[i] + " = " + value;
}

// Further arguments have one name together.
std::size_t NamedArguments(const Member& member) {
  return static_cast<std::size_t>(member.parameters) + (member.takesMore ? 1 : 0);
}

std::string Signature(const Member& member, const Line& line) {
  std::string arguments;
  for (std::size_t i = 0; i < line.arguments.size(); ++i) {
    arguments += (i == 0 ? "" : ", ") + ArgumentText(member, line.arguments, i);
  }
  const bool called = member.kind == Member::Kind::Method || member.parameters > 0;
  return varnel::ToUtf8(member.name) + (called ? "(" + arguments + ")" : "");
}

std::string Kind(const Member& member) {
  if (member.isDefault) return "default";
  if (member.kind == Member::Kind::Method) return "";
  return member.put != nullptr ? "property" : "property, to read";
}

std::string WriteClass(const PublicClass& publicClass, const Lines& lines) {
  std::string text = "\n## " + publicClass.name + "\n\n" + lines.at(publicClass.name).text +
                     "\n\n| operation | kind | what it does |\n|---|---|---|\n";
  for (const Member& member : publicClass.object->Class().members) {
    const Line& line = lines.at(KeyOf(publicClass, member));
    text += "| `" + Signature(member, line) + "` | " + Kind(member) + " | " + line.text + " |\n";
  }
  return text;
}

}  // namespace

Lines ReadLines(std::string_view text) {
  Lines lines;
  for (const std::string& row : Split(text, "\n")) {
    if (row.empty()) continue;
    const auto fields = Split(row, "\t");
    if (fields.size() != 2 && fields.size() != 3) throw std::runtime_error("not two or three fields: " + row);
    const Line line{fields.size() == 3 ? Split(fields[1], ", ") : std::vector<std::string>(), fields.back()};
    if (!lines.emplace(fields[0], line).second) throw std::runtime_error(fields[0] + " comes twice");
  }
  return lines;
}

std::vector<std::string> Mismatches(const std::vector<PublicClass>& classes, const Lines& lines) {
  std::vector<std::string> mismatches;
  std::set<std::string> known;
  const auto look = [&](const std::string& key, std::size_t arguments) {
    known.insert(key);
    const auto line = lines.find(key);
    if (line == lines.end()) {
      mismatches.push_back(key + " has no line");
    } else if (line->second.arguments.size() != arguments) {
      mismatches.push_back(key + " has " + std::to_string(arguments) + " arguments");
    }
  };
  for (const PublicClass& publicClass : classes) {
    look(publicClass.name, 0);
    for (const Member& member : publicClass.object->Class().members) {
      look(KeyOf(publicClass, member), NamedArguments(member));
    }
  }
  for (const auto& [key, line] : lines) {
    if (!known.contains(key)) mismatches.push_back("there is no " + key);
  }
  return mismatches;
}

std::string WritePage(const std::vector<PublicClass>& classes, const Lines& lines) {
  std::string text =
      "# Classes\n\n"
      "Every class that a page script meets, with its operations. Names are found in any case of letters. "
      "An\n"
      "argument with a default, or in brackets, may be left out. The default operation is the one that runs "
      "when\n"
      "the object itself is called (`rs(\"name\")`) or used as a value. Properties are read, and written "
      "where not\n"
      "said otherwise, without parentheses.\n\n"
      "This page is made from the member tables: see `docs/classes/`.\n";
  for (const PublicClass& publicClass : classes) text += WriteClass(publicClass, lines);
  return text;
}

}  // namespace classdocs
