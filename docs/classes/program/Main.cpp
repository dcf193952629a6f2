// varnel-class-docs classes.tsv > classes.md
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>

#include "docs/classes/ClassDocs.h"

int main(int argc, char** argv) try {
  std::ifstream file(argc > 1 ? argv[1] : "docs/classes/classes.tsv");
  std::ostringstream text;
  text << file.rdbuf();
  const auto lines = classdocs::ReadLines(text.str());
  const auto classes = classdocs::PublicClasses();
  const auto mismatches = classdocs::Mismatches(classes, lines);
  for (const std::string& mismatch : mismatches) std::fprintf(stderr, "%s\n", mismatch.c_str());
  if (!mismatches.empty()) return 1;
  std::fputs(classdocs::WritePage(classes, lines).c_str(), stdout);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
