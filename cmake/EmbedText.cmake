# Writes a text file into a source file, as the function NAME of namespace hostlinux, which HEADER declares:
#   cmake -DOUTPUT=file.cpp -DTEXT=file -DHEADER=path/Header.h -DNAME=Function -P EmbedText.cmake
file(READ ${TEXT} hex HEX)
string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${hex}")
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
file(WRITE ${OUTPUT} "// Made by EmbedText.cmake.
#include \"${HEADER}\"

namespace hostlinux {

namespace {

constexpr char kText[] = \"${bytes}\";

}  // namespace

std::string_view ${NAME}() { return {kText, ${size}}; }

}  // namespace hostlinux
")
