#include "host-linux/database/dialect/SqlStructure.h"

namespace hostlinux {
namespace {

// What stands between two parentheses, or the whole statement.
struct Frame {
  size_t open = SqlStructure::kNone;
  int scope = -1;  // the SELECT being read
  int outer = -1;  // the scope around the frame
  SqlClause outerClause = SqlClause::List;
  SqlClause clause = SqlClause::List;
  int compound = -1;
  bool atBranch = true;   // a branch may begin here
  bool isBranch = false;  // the frame itself stands where a branch may
  int query = -1;         // the last scope that stood directly in it
  bool hasQuery = false;
  SqlBranch group;  // a finished group that may become a branch
  bool hasGroup = false;
};

bool IsSetOperator(const SqlToken& token) {
  return IsWord(token, u"UNION") || IsWord(token, u"EXCEPT") || IsWord(token, u"INTERSECT");
}

class Reader {
 public:
  explicit Reader(const std::vector<SqlToken>& tokens) : m_tokens(tokens) {
    m_result.scopeOf.assign(tokens.size(), -1);
    m_result.clauseOf.assign(tokens.size(), SqlClause::List);
    m_result.partner.assign(tokens.size(), SqlStructure::kNone);
    m_frames.emplace_back();
  }

  SqlStructure Run() {
    for (size_t i = 0; i < m_tokens.size(); ++i) Read(i);
    return std::move(m_result);
  }

 private:
  Frame& Top() { return m_frames.back(); }
  SqlScope& Scope() { return m_result.scopes[static_cast<size_t>(Top().scope)]; }

  void Read(size_t i) {
    switch (m_tokens[i].kind) {
      case SqlTokenKind::Comment:
        return Mark(i);
      case SqlTokenKind::Open:
        return Mark(i), Push(i);
      case SqlTokenKind::Close:
        return Close(i);
      case SqlTokenKind::Word:
        return Word(i);
      case SqlTokenKind::Semicolon:
      case SqlTokenKind::End:
        while (m_frames.size() > 1) Pop(i);
        return EndStatement(i);
      default:
        Mark(i), Top().atBranch = false;
    }
  }

  void Mark(size_t i) {
    const Frame& frame = Top();
    m_result.scopeOf[i] = frame.scope >= 0 ? frame.scope : frame.outer;
    m_result.clauseOf[i] = frame.scope >= 0 ? frame.clause : frame.outerClause;
  }

  void Push(size_t i) {
    Frame frame;
    frame.open = i;
    frame.outer = m_result.scopeOf[i];
    frame.outerClause = m_result.clauseOf[i];
    frame.isBranch = Top().atBranch;
    Top().atBranch = false;
    m_frames.push_back(frame);
  }

  void Close(size_t i) {
    if (m_frames.size() == 1) return Mark(i);
    Pop(i);
    Mark(i);
  }

  void Pop(size_t i) {
    const size_t open = Top().open;
    const bool isBranch = Top().isBranch;
    EndQuery(i);
    const Frame inner = Top();
    m_frames.pop_back();
    if (m_tokens[i].kind != SqlTokenKind::Close) return;
    m_result.partner[open] = i;
    m_result.partner[i] = open;
    if (!isBranch || !inner.hasQuery || Top().scope >= 0) return;
    Top().group = SqlBranch{{open, i + 1}, true, inner.compound >= 0 ? -1 : inner.query};
    Top().hasGroup = true;
  }

  void EndStatement(size_t i) {
    EndQuery(i);
    Mark(i);
    m_frames.assign(1, Frame());
  }

  // The query that stands directly in the top frame ends before token i.
  void EndQuery(size_t i) {
    Frame& frame = Top();
    const bool alone = frame.compound < 0;
    if (alone && frame.hasGroup && m_frames.size() == 1) StartCompound();
    if (frame.scope >= 0) {
      EndScope(i);
      if (!alone) AddBareBranch();
    } else if (frame.hasGroup && frame.compound >= 0) {
      AddGroup();
    }
    if (frame.compound >= 0) {
      SqlSpan& order = m_result.compounds[static_cast<size_t>(frame.compound)].order;
      if (order.begin != 0) order.end = i;
    }
    frame.scope = -1;
  }

  void EndScope(size_t i) {
    Scope().end = i;
    Scope().clauses[static_cast<size_t>(Top().clause)].end = i;
    Top().query = Top().scope;
    Top().hasQuery = true;
  }

  void StartCompound() {
    Top().compound = static_cast<int>(m_result.compounds.size());
    m_result.compounds.emplace_back();
  }

  SqlCompound& Compound() { return m_result.compounds[static_cast<size_t>(Top().compound)]; }

  void AddBareBranch() {
    SqlScope& scope = m_result.scopes[static_cast<size_t>(Top().query)];
    scope.isBranch = true;
    Compound().branches.push_back(SqlBranch{{scope.begin, scope.end}, false, Top().query});
    Top().scope = -1;
  }

  void AddGroup() {
    Compound().branches.push_back(Top().group);
    Top().hasGroup = false;
    Top().hasQuery = true;
  }

  void Word(size_t i) {
    const SqlToken& token = m_tokens[i];
    Frame& frame = Top();
    if (IsSetOperator(token) && (frame.scope >= 0 || frame.hasGroup)) return SetOperator(i);
    if (frame.atBranch && frame.compound >= 0 && IsWord(token, u"ALL")) return Mark(i);
    if (frame.scope < 0 && IsWord(token, u"SELECT")) return StartScope(i, SqlVerb::Select, SqlClause::List);
    if (i == 0 && IsWord(token, u"DELETE")) return StartScope(i, SqlVerb::Delete, SqlClause::List);
    if (i == 0 && IsWord(token, u"UPDATE")) return StartScope(i, SqlVerb::Update, SqlClause::From);
    if (IsOrderBy(i) && StartsCompoundOrder()) return CompoundOrder(i);
    if (frame.scope >= 0) ClauseWord(i);
    Mark(i);
    frame.atBranch = false;
  }

  bool IsOrderBy(size_t i) const { return IsWord(m_tokens[i], u"ORDER") && IsWord(m_tokens[i + 1], u"BY"); }

  bool StartsCompoundOrder() {
    const Frame& frame = Top();
    return frame.compound >= 0 ? frame.scope >= 0 || frame.hasGroup : frame.hasGroup && m_frames.size() == 1;
  }

  // The branch before `i` belongs to a compound.
  void EndBranch(size_t i) {
    if (Top().compound < 0) StartCompound();
    if (Top().scope >= 0) {
      EndScope(i);
      AddBareBranch();
    } else {
      AddGroup();
    }
  }

  void SetOperator(size_t i) {
    EndBranch(i);
    Mark(i);
    Top().atBranch = true;
  }

  void CompoundOrder(size_t i) {
    EndBranch(i);
    Compound().order = SqlSpan{i, i};
    Mark(i);
    Top().atBranch = false;
  }

  void StartScope(size_t i, SqlVerb verb, SqlClause first) {
    SqlScope scope;
    scope.verb = verb;
    scope.begin = i;
    scope.parent = Top().outer;
    scope.clauses[static_cast<size_t>(first)].begin = i + 1;
    if (m_result.withEnd == 0 && m_frames.size() == 1 && IsWord(m_tokens[0], u"WITH")) m_result.withEnd = i;
    Top().scope = static_cast<int>(m_result.scopes.size());
    Top().clause = first;
    Top().atBranch = false;
    m_result.scopes.push_back(scope);
    Mark(i);
  }

  void ClauseWord(size_t i) {
    const SqlToken& token = m_tokens[i];
    const bool by = IsWord(m_tokens[i + 1], u"BY");
    if (IsWord(token, u"FROM")) return Turn(i, SqlClause::From);
    if (IsWord(token, u"SET") && Scope().verb == SqlVerb::Update) return Turn(i, SqlClause::Set);
    if (IsWord(token, u"WHERE")) return Turn(i, SqlClause::Where);
    if (IsWord(token, u"GROUP") && by) return Turn(i, SqlClause::Group);
    if (IsWord(token, u"HAVING")) return Turn(i, SqlClause::Having);
    if (IsWord(token, u"ORDER") && by) return Turn(i, SqlClause::Order);
    if (IsWord(token, u"LIMIT")) return Turn(i, SqlClause::Limit);
  }

  // A clause keyword only counts where the clauses so far let it follow.
  void Turn(size_t i, SqlClause clause) {
    if (clause <= Top().clause) return;
    Scope().clauses[static_cast<size_t>(Top().clause)].end = i;
    Scope().clauses[static_cast<size_t>(clause)].begin = i;
    Top().clause = clause;
  }

  const std::vector<SqlToken>& m_tokens;
  SqlStructure m_result;
  std::vector<Frame> m_frames;
};

}  // namespace

SqlStructure ReadStructure(const std::vector<SqlToken>& tokens) { return Reader(tokens).Run(); }

}  // namespace hostlinux
