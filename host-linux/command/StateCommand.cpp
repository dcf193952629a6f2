#include "host-linux/command/StateCommand.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"
#include "varnel/recordset/StateText.h"

namespace hostlinux {

namespace {

using varnel::PersistedState;
using varnel::String;

String KindOfRead(const PersistedState& state) {
  switch (state.NavType) {
    case varnel::nav_type::kFirst:
      return u"first page";
    case varnel::nav_type::kNext:
      return u"next page";
    case varnel::nav_type::kPrevious:
      return u"previous page";
    case varnel::nav_type::kLast:
      return u"last page";
    default:
      return u"unknown";
  }
}

String Line(varnel::StringView name, const String& value) {
  String line(name);
  line.resize(16, u' ');
  return line + value + u"\n";
}

String Keys(const PersistedState& state) {
  String lines;
  for (std::size_t i = 0; i < state.KeyValues.size(); ++i) {
    const varnel::Variant& key = state.KeyValues[i];
    lines += Line(u"KeyValues(" + varnel::DecimalText(static_cast<std::int64_t>(i)) + u")",
                  key.IsNull() ? u"Null" : u"\"" + varnel::ToText(key) + u"\"");
  }
  return lines;
}

}  // namespace

std::string DescribeState(const std::string& text) {
  const PersistedState state = varnel::ParseState(varnel::FromUtf8(text), true);
  const auto number = [](varnel::Long value) { return varnel::DecimalText(value); };
  String lines = Line(u"NavType", number(state.NavType) + u" (" + KindOfRead(state) + u")");
  lines +=
      Line(u"TotalRecords", number(state.TotalRecords) + (state.TotalRecords == -1 ? u" (unknown)" : u""));
  lines += Line(u"FirstRecord", number(state.FirstRecord));
  lines += Line(u"SortFields", u"\"" + state.SortFields + u"\"");
  lines += Line(u"SortReversed", state.SortReversed ? u"True" : u"False");
  lines += Keys(state);
  lines += Line(u"DisplayPage", number(state.DisplayPage));
  lines += Line(u"LeftPage", number(state.LeftPage));
  lines += Line(u"RightPage", number(state.RightPage));
  lines += Line(u"JumpPage", number(state.JumpPage) + (state.JumpPage == 0 ? u" (none)" : u""));
  return varnel::ToUtf8(lines);
}

void AddStateCommand(CLI::App& app, int& status) {
  const auto text = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("state", "Show the fields of a recordset's state text");
  command->add_option("TEXT", *text, "The text, decoded, as it stands behind R_1=")->required();
  command->callback([text, &status] {
    try {
      std::fputs(DescribeState(*text).c_str(), stdout);
    } catch (const varnel::Error& error) {
      std::fprintf(stderr, "varnel: this is no state text: %s\n", error.what());
      status = 1;
    }
  });
}

}  // namespace hostlinux
