#include "tests/windows/Page.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace scripthost {

namespace {

std::string FileText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("there is no " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string WithIncludes(const std::string& folder, const std::string& text) {
  const std::string start = "<!--#include file=\"";
  std::string whole;
  std::size_t at = 0;
  for (std::size_t found = 0; (found = text.find(start, at)) != std::string::npos;) {
    whole += text.substr(at, found - at);
    const auto name = found + start.size();
    const auto end = text.find('"', name);
    whole += WithIncludes(folder, FileText(folder + "/" + text.substr(name, end - name)));
    at = text.find("-->", end) + 3;
  }
  return whole + text.substr(at);
}

// A literal text as a statement that writes it.
std::string Written(const std::string& text, bool isBasic) {
  if (text.empty()) return "";
  std::string literal = isBasic ? "Response.Write \"" : "Response.Write(\"";
  for (const char c : text) {
    if (isBasic) {
      if (c == '"') {
        literal += "\"\"";
      } else if (c == '\r' || c == '\n') {
        literal += std::string("\" & Chr(") + (c == '\r' ? "13" : "10") + ") & \"";
      } else {
        literal += c;
      }
    } else if (c == '"' || c == '\\') {
      literal += std::string("\\") + c;
    } else if (c == '\r' || c == '\n') {
      literal += c == '\r' ? "\\r" : "\\n";
    } else {
      literal += c;
    }
  }
  return literal + (isBasic ? "\"\n" : "\");\n");
}

std::string Statement(std::string code, bool isBasic) {
  if (code.starts_with("@")) return "";
  if (!code.starts_with("=")) return code + "\n";
  code = code.substr(1);
  return "Response.Write(" + code + (isBasic ? ")\n" : ");\n");
}

}  // namespace

ScriptText ReadPage(const std::string& preludes, const std::string& folder, const std::string& name) {
  const bool isBasic = name.ends_with(".vbs");
  const std::string page = WithIncludes(folder, FileText(folder + "/" + name));
  std::string script = FileText(preludes + (isBasic ? "/prelude.vbs" : "/prelude.js"));
  std::size_t at = 0;
  bool seesText = false;
  for (std::size_t found = 0; (found = page.find("<%", at)) != std::string::npos;) {
    // The line of a directive isn't the page's text.
    script += Written(page.substr(at, found - at), isBasic);
    const auto end = page.find("%>", found);
    const std::string code = page.substr(found + 2, end - found - 2);
    script += Statement(code, isBasic);
    at = end + 2;
    seesText = true;
  }
  if (at < page.size() || !seesText) script += Written(page.substr(at), isBasic);
  return {varnel::FromUtf8(script), isBasic};
}

}  // namespace scripthost
