#include "tests/model/ModelDatabase.h"

#include <algorithm>

#include "tests/model/ModelStatement.h"

namespace model {

using hostfake::FakeAnswer;

namespace {

bool OnlyReads(const varnel::String& connectionString) {
  const std::vector<varnel::String> entries = varnel::Split(connectionString, u";");
  return std::any_of(entries.begin(), entries.end(),
                     [](const varnel::String& entry) { return varnel::EqualsNoCase(entry, u"Mode=Read"); });
}

}  // namespace

FakeAnswer Database::Run(const hostfake::FakeStatement& statement) {
  try {
    Tables changed = m_tables;
    FakeAnswer answer = Statement(changed, statement, !OnlyReads(statement.connectionString)).Run();
    m_tables = std::move(changed);
    return answer;
  } catch (const Failure& failure) {
    FakeAnswer answer;
    answer.error = hostfake::Failure(failure.number, failure.description, u"Model");
    answer.providerErrors = {{failure.number, u"Model", failure.description, 1, failure.sqlState}};
    return answer;
  }
}

void Database::Take(hostfake::FakeTransaction step) {
  if (step == hostfake::FakeTransaction::Begin) {
    m_kept = m_tables;
    return;
  }
  if (step == hostfake::FakeTransaction::Rollback && m_kept) m_tables = *std::move(m_kept);
  m_kept.reset();
}

}  // namespace model
