// What a database in memory holds: values of typed columns, how they are compared, and what it refuses.
#pragma once

#include <exception>
#include <optional>
#include <vector>

#include "varnel/automation/Variant.h"

namespace model {

using Row = std::vector<varnel::Variant>;

struct Column {
  varnel::String name;
  varnel::Integer type = 202;
  bool isNotNull = false;
  bool ignoresCase = false;
  varnel::Variant fallback = varnel::Null();
};

// Why a statement gives nothing.
struct Failure : std::exception {
  Failure(std::uint32_t hexNumber, varnel::StringView state, varnel::String description);
  static Failure Syntax(const varnel::String& what);
  static Failure NoTable(const varnel::String& name);
  static Failure NoColumn(const varnel::String& name);
  static Failure NoParameter(const varnel::String& name);
  static Failure Integrity(const varnel::String& what);
  static Failure ReadsOnly();
  static Failure Unreadable(const varnel::String& text);
  const char* what() const noexcept override { return m_what.c_str(); }

  varnel::Long number;
  varnel::String sqlState;
  varnel::String description;

 private:
  std::string m_what;
};

// `value` as a column of that type holds it.
varnel::Variant Stored(const Column& column, const varnel::Variant& value);

// Less than, equal to or more than 0; nothing where one of them is Null. A text is taken for what it is compared with: a
// number as it is printed, a date, a truth value. Raises Failure where it is none.
std::optional<int> Compare(const varnel::Variant& left, const varnel::Variant& right, bool ignoresCase);
// Likewise with NULL below every value.
int SortOrder(const varnel::Variant& left, const varnel::Variant& right, bool ignoresCase);

// "%", "_", classes in brackets, and `escape` in front of a sign that stands for itself; 0 for no such sign.
bool IsLike(varnel::StringView text, varnel::StringView pattern, char16_t escape, bool ignoresCase);

}  // namespace model
