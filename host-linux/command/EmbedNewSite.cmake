# Writes the files of new sites into a source file:
#   cmake -DOUTPUT=file.cpp -DTEXTS=folder -DIMAGES=folder -P EmbedNewSite.cmake
# TEXTS is laid out as a site; the files of IMAGES go into its pages/images.
file(GLOB_RECURSE names RELATIVE ${TEXTS} ${TEXTS}/*)
foreach(name IN LISTS names)
  set(path_${name} ${TEXTS}/${name})
endforeach()
file(GLOB images RELATIVE ${IMAGES} ${IMAGES}/*)
foreach(image IN LISTS images)
  set(path_pages/images/${image} ${IMAGES}/${image})
  list(APPEND names pages/images/${image})
endforeach()
list(REMOVE_DUPLICATES names)
list(SORT names)

set(arrays)
set(table)
set(number 0)
foreach(name IN LISTS names)
  file(READ ${path_${name}} hex HEX)
  string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${hex}")
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(APPEND arrays "constexpr char kFile${number}[] = \"${bytes}\";\n")
  string(APPEND table "    {\"${name}\", {kFile${number}, ${size}}},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(WRITE ${OUTPUT} "// Made by EmbedNewSite.cmake.
#include \"host-linux/command/NewSiteFiles.h\"

namespace hostlinux {

namespace {

${arrays}
constexpr NewSiteFile kFiles[] = {
${table}};

}  // namespace

std::span<const NewSiteFile> NewSiteFiles() { return kFiles; }

}  // namespace hostlinux
")
