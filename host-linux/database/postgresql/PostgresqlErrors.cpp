#include "host-linux/database/postgresql/PostgresqlErrors.h"

namespace hostlinux {
namespace {

using varnel::Long;
using varnel::String;
using varnel::StringView;

constexpr StringView kSource = u"Varnel PostgreSQL";

Long NumberOf(std::string_view state) {
  if (state.starts_with("23")) return provider_error::kIntegrity;
  if (state == "42P01") return provider_error::kNoTable;
  if (state == "42501" || state == "25006") return provider_error::kPermission;
  if (state == "57014" || state == "55P03") return provider_error::kTimeout;
  if (state == "42P02" || state == "08P01") return provider_error::kNoValue;
  if (state.starts_with("42")) return provider_error::kSyntax;
  return provider_error::kFail;
}

// The number that the ODBC world knows for the state, or the state itself: what reads errors needn't know the engine.
std::string StateOf(const std::string& state) {
  if (state == "42P01") return "42S02";
  if (state == "42703") return "42S22";
  if (state == "57014" || state == "55P03") return "HYT00";
  if (state.starts_with("23")) return "23000";
  if (state == "42501" || state == "25006") return "42000";
  return state;
}

String Utf16(const char* text) { return text == nullptr ? String() : varnel::FromUtf8(text); }

// libpq's lines, some of which are indented, as sentences one behind the other.
String Sentences(const String& text) {
  String sentences;
  for (const char16_t c : text + u'\n') {
    const char16_t last = sentences.empty() ? u' ' : sentences.back();
    if (c == u'\n' && StringView(u" .?!").find(last) == StringView::npos) sentences += u'.';
    const bool isGap = c == u'\n' || c == u'\t' || c == u' ';
    if (!isGap)
      sentences += c;
    else if (!sentences.empty() && sentences.back() != u' ')
      sentences += u' ';
  }
  return sentences;
}

String Trimmed(String text) {
  while (!text.empty() && (text.back() == u'\n' || text.back() == u' ')) text.pop_back();
  return text;
}

}  // namespace

void RaisePostgresql(const PGresult* result) {
  const char* given = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  const std::string state = given == nullptr ? "08006" : given;
  if (state == "57014") RaisePostgresqlTimeout();
  String text = Trimmed(Utf16(PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY)));
  if (text.empty()) text = Trimmed(Utf16(PQresultErrorMessage(result)));
  const String hint = Trimmed(Utf16(PQresultErrorField(result, PG_DIAG_MESSAGE_HINT)));
  if (state.starts_with("42") && hint.starts_with(u"Perhaps ")) text += u". " + hint;
  const std::string ours = StateOf(state);
  throw ProviderFailure({NumberOf(state), String(kSource), text, 0, varnel::FromUtf8(ours)});
}

void RaiseConnection(const PGconn* connection) {
  const String text = Trimmed(Sentences(Utf16(PQerrorMessage(connection))));
  RaisePostgresql(provider_error::kFail,
                  text.empty() ? String(u"The connection to the database server is lost.") : text, u"08001");
}

void RaisePostgresql(Long number, varnel::StringView description, varnel::StringView sqlState) {
  throw ProviderFailure({number, String(kSource), String(description), 0, String(sqlState)});
}

void RaisePostgresqlTimeout() {
  RaisePostgresql(provider_error::kTimeout, u"Query timeout expired", u"HYT00");
}

}  // namespace hostlinux
