// Texts of queries: what kind one is, and texts around it.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

bool IsAnyWord(const SqlToken& token, std::initializer_list<std::u16string_view> words);

// SELECT COUNT(*) ...
bool IsCount(std::u16string_view sql);

// A query that can stand in another one's FROM.
bool IsQuery(const std::string& sql);

// More than one statement.
bool IsScript(const std::vector<SqlToken>& tokens);

// Without the order of the whole, which the server would sort by to count.
std::u16string WithoutOrder(std::u16string_view sql);

// The number of the rows of `sql`.
std::string CountingText(const std::string& sql);

// The text and its values as one text, which no other statement has.
std::string KeyOf(const EngineStatement& statement);

}  // namespace hostlinux
