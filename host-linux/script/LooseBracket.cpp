#include "host-linux/script/LooseBracket.h"

#include <vector>

#include "host-linux/script/ScriptTokens.h"

namespace hostlinux {

namespace {

char PartnerOf(char closing) { return closing == ')' ? '(' : closing == ']' ? '[' : '{'; }

}  // namespace

std::optional<LooseBracket> FindLooseBracket(std::string_view script) {
  std::vector<LooseBracket> open;
  for (const ScriptToken& token : TokensOf(script)) {
    if (token.kind != ScriptToken::Kind::Operator || token.text.size() != 1) continue;
    const char sign = token.text[0];
    const int line = token.line + 1;
    if (sign == '(' || sign == '[' || sign == '{') open.push_back({sign, line});
    if (sign != ')' && sign != ']' && sign != '}') continue;
    if (open.empty()) return LooseBracket{sign, line};
    const LooseBracket last = open.back();
    if (last.sign != PartnerOf(sign)) return LooseBracket{last.sign, last.line, sign, line};
    open.pop_back();
  }
  if (open.empty()) return std::nullopt;
  return open.back();
}

}  // namespace hostlinux
