#include "tools/LibraryNotes.h"

#include <algorithm>

#include <utility>
#include "umlauf_io/NumberText.h"

namespace umlauf::tool {

LibraryNotes::LibraryNotes() {
  before_ = PrWin::SetSink([this](int, int, const CString& note) {
    std::string line(io::Trimmed(note.ToUtf8()));
    while (line.ends_with('.')) line.pop_back();
    if (line.empty() || text_.size() + line.size() > longest) return;
    std::replace(line.begin(), line.end(), '\n', ' ');
    text_ += (text_.empty() ? "" : "; ") + line;
  });
}

LibraryNotes::~LibraryNotes() { PrWin::SetSink(std::move(before_)); }

}  // namespace umlauf::tool
