#include "host-linux/script/PageCompiler.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace hostlinux {
namespace {

// U+2028 and U+2029 end a line of JavaScript, but not one of a text file.
bool IsScriptOnlyLineEnd(std::string_view text, std::size_t at) {
  const std::string_view sequence = text.substr(at, 3);
  return sequence == "\xE2\x80\xA8" || sequence == "\xE2\x80\xA9";
}

// Code behind which the line can't go on: what may be a comment up to its end.
bool MayEndInComment(std::string_view code) {
  const std::string_view line = code.substr(code.find_last_of("\r\n") + 1);
  return line.find("//") != std::string_view::npos || line.find("<!--") != std::string_view::npos ||
         line.find("-->") != std::string_view::npos;
}

class Generator {
 public:
  Generator(ParsedPage page, PageLayout layout) : m_page(std::move(page)), m_layout(layout) {}

  PageScript Run() {
    m_script.lines.push_back({0, 1});
    m_script.source = "'use strict';";
    for (const PagePiece& piece : m_page.pieces) Add(piece);
    BeginLine({0, m_page.lastLine});
    m_script.files = std::move(m_page.files);
    m_script.directives = m_page.directives;
    return std::move(m_script);
  }

 private:
  void Add(const PagePiece& piece) {
    switch (piece.kind) {
      case PagePiece::Kind::Html:
        return AddText(piece);
      case PagePiece::Kind::Statements:
        return AddStatements(piece);
      case PagePiece::Kind::Expression:
        return AddExpression(kWriteValueName, piece);
      case PagePiece::Kind::Encoded:
        return AddExpression(kWriteEncodedName, piece);
    }
  }

  static SourceLine LastLineOf(const PagePiece& piece) {
    return {piece.file, piece.line + CountLineEnds(piece.text)};
  }

  // Texts that follow each other, as around an include, are written in one go.
  void AddText(const PagePiece& piece) {
    if (std::exchange(m_afterText, true)) {
      m_script.texts.back() += piece.text;
      m_script.textLines.back() = LastLineOf(piece);
      return;
    }
    BeginLine({piece.file, piece.line});
    m_script.source += kWriteTextName;
    m_script.source += "(" + std::to_string(m_script.texts.size()) + ");";
    m_script.texts.push_back(piece.text);
    m_script.textLines.push_back(LastLineOf(piece));
    m_closed = true;
    const int lastLine = LastLineOf(piece).line;
    const bool within = piece.file == 0 && !m_hasCode && LineCount() <= lastLine;
    if (m_layout == PageLayout::KeepLines && within) m_script.lines.back() = {0, LineCount()};
  }

  // A block begins on a line of its own: a comment at the end of the one before it ends there, and a
  // statement without semicolon too.
  void AddStatements(const PagePiece& piece) {
    m_afterText = false;
    BeginLine({piece.file, piece.line});
    AddCode(piece);
  }

  void AddExpression(const char* writer, const PagePiece& piece) {
    m_afterText = false;
    BeginLine({piece.file, piece.line});
    m_script.source += writer;
    m_script.source += "((";
    AddCode(piece);
    m_closed = !MayEndInComment(piece.text);
    BeginLine({piece.file, piece.line + CountLineEnds(piece.text)});
    m_script.source += "));";
    m_closed = true;
  }

  void AddCode(const PagePiece& piece) {
    const std::string_view text = piece.text;
    SourceLine place{piece.file, piece.line};
    for (std::size_t i = 0; i < text.size(); ++i) {
      const bool loneReturn = text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n');
      if (text[i] == '\n' || loneReturn) {
        ++place.line;
        m_script.lines.push_back(place);
      } else if (IsScriptOnlyLineEnd(text, i)) {
        m_script.lines.push_back(place);
      }
    }
    m_script.source += text;
    m_closed = false;
    m_hasCode = true;
  }

  void BeginLine(SourceLine place) {
    if (m_layout == PageLayout::Plain) return EndLine(place);
    const bool ahead = place.file != 0 || LineCount() > place.line;
    if (ahead || LineCount() == place.line) {
      if (m_closed && (!m_hasCode || m_script.lines.back() == place)) {
        m_script.lines.back() = place;
      } else {
        EndLine(place);
      }
      return;
    }
    while (LineCount() < place.line) EndLine({0, LineCount() + 1});
  }

  int LineCount() const { return static_cast<int>(m_script.lines.size()); }

  void EndLine(SourceLine place) {
    m_hasCode = false;
    // A CR at the end of the last piece and this LF make one line end together.
    if (m_script.source.back() == '\r') {
      m_script.lines.back() = place;
    } else {
      m_script.lines.push_back(place);
    }
    m_script.source += '\n';
  }

  ParsedPage m_page;
  PageScript m_script;
  const PageLayout m_layout;
  bool m_afterText = false;
  bool m_closed = true;    // behind a statement of ours: the line may go on
  bool m_hasCode = false;  // the line holds some of the page's own
};

}  // namespace

const SourceLine& PageScript::Locate(int generated) const {
  const auto last = static_cast<int>(lines.size()) - 1;
  return lines[static_cast<std::size_t>(std::clamp(generated - 1, 0, last))];
}

PageScript CompilePage(ParsedPage page, PageLayout layout) {
  return Generator(std::move(page), layout).Run();
}

}  // namespace hostlinux
