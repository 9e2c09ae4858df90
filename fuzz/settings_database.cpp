// Files that are opened as settings databases: what is refused is left as it is, what is opened keeps what is
// set.

#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/support/Fuzz.h"
#include "umlauf/platform/tramsea/CResourceSea.h"

namespace umlauf::fuzz {
namespace {

void ReadAll(const CResourceSea& sea) {
  for (const CString& path : sea.Paths()) {
    for (const auto& [index, value] : sea.Values(path)) sea.LookupInt(path, index, value);
  }
}

}  // namespace

void FuzzOne(Input input) {
  // SQLite makes a list of the pages that the length of a record would take: 8 bytes for each of at most
  // 2^32 / 508.
  Allow(std::size_t{72} << 20);
  static const TemporaryFile file;
  const CString path = CString::FromUtf8(file.path());
  file.Fill(input.Rest());
  {
    CResourceSea sea(path, CResourceSea::Access::readOnly);
    Require(!sea.IsOpen() || !sea.LookupSetInt(L"a", 0, 1), "what is open for reading is not written");
    if (sea.IsOpen()) ReadAll(sea);
  }
  CResourceSea sea(path);
  if (!sea.IsOpen()) {
    std::ifstream in(file.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    Require(bytes == input.Text(), "a file that is refused is left as it is");
    return;
  }
  ReadAll(sea);
  if (!sea.LookupSetInt(L"fuzz/value", 3, 77)) return;
  Require(sea.LookupInt(L"fuzz/value", 3, 0) == 77, "a value that was set is there");
  if (sea.RemoveEntry(L"fuzz/value"))
    Require(!sea.FindEntry(L"fuzz/value"), "an entry that was removed is gone");
}

}  // namespace umlauf::fuzz
