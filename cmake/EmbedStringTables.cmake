# Writes string tables into a C++ source file. Run by the build:
#   cmake -DTABLES=en.txt;de.txt -DOUTPUT=StringTables.cpp -P EmbedStringTables.cmake
# The name of a file is its language; the first one is the fallback. The bytes go in as numbers, so that no text needs
# any care about quoting.
set(arrays "")
set(tables "")
foreach(file IN LISTS TABLES)
  get_filename_component(language "${file}" NAME_WE)
  file(READ "${file}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char ${language}[] = {${bytes}};\n")
  string(APPEND tables "    {\"${language}\", {${language}, sizeof ${language}}},\n")
endforeach()
file(WRITE "${OUTPUT}" "#include \"umlauf/resources/internal/StringTables.h\"

namespace {

${arrays}
constexpr CResourceTable tables[] = {
${tables}};

}  // namespace

const CResourceModule& umlauf::resources::EmbeddedTables() {
  static constexpr CResourceModule module{tables};
  return module;
}
")
