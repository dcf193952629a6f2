// varnel-class-docs classes.tsv > classes.md
// varnel-class-docs classes.tsv globals.d.ts > varnel.d.ts
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>

#include "docs/classes/ClassDocs.h"
#include "docs/classes/TypeDocs.h"

namespace {

std::string TextOf(const char* file) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

}  // namespace

int main(int argc, char** argv) try {
  const auto lines = classdocs::ReadLines(TextOf(argc > 1 ? argv[1] : "docs/classes/classes.tsv"));
  const auto classes = classdocs::PublicClasses();
  const auto mismatches = classdocs::Mismatches(classes, lines);
  for (const std::string& mismatch : mismatches) std::fprintf(stderr, "%s\n", mismatch.c_str());
  if (!mismatches.empty()) return 1;
  const std::string text = argc > 2 ? classdocs::WriteTypes(classes, lines, TextOf(argv[2]))
                                    : classdocs::WritePage(classes, lines);
  std::fputs(text.c_str(), stdout);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
