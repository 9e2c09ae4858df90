#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/Error.h"
#include "tools/FilePath.h"
#include "tools/LibraryNotes.h"
#include "tools/commands/Commands.h"
#include "tools/output/Console.h"
#include "tools/output/Json.h"
#include "umlauf/platform/tramsea/CResourceSea.h"
#include "umlauf/platform/tramsea/CSeaBase.h"

namespace umlauf::tool {
namespace {

struct SettingsOptions {
  std::optional<std::string> file;  ///< without one the application's database
  std::string path;                 ///< of the entry; for list what all paths begin with
  std::optional<int> index;
  std::vector<int> values;
  bool json = false;
};

using Values = std::vector<std::pair<int, int>>;

/// An open database. What it could not do is told with the library's own words.
class Database {
 public:
  Database(const SettingsOptions& options, CResourceSea::Access access) {
    if (options.file && options.file->empty())
      FailUsage("--file: the name is empty; name a file, or leave it out");
    const CString path = options.file ? CString::FromPath(*options.file) : CSeaBase::ApplicationPath();
    if (path.IsEmpty()) Fail("there is no place for settings; name one with --file or UMLAUF_SETTINGS");
    std::error_code ignored;
    if (access == CResourceSea::Access::readOnly &&
        !std::filesystem::exists(FilePath(path.ToPath()), ignored)) {
      Fail("there are no settings in {} yet; make some with umlauf settings set, or name another file",
           path.ToUtf8());
    }
    if (!options.file && access == CResourceSea::Access::readWrite) {
      sea_ = &CSeaBase::ApplicationSea();
    } else {
      own_.Open(path, access);
    }
    if (!sea_->IsOpen()) FailWithNotes();
  }

  CResourceSea& sea() { return *sea_; }
  /// After a read: a database that cannot be read gives no values, but a note.
  void CheckRead() const {
    if (!notes_.empty()) FailWithNotes();
  }
  [[noreturn]] void FailWithNotes() const {
    Fail("{}; check the file's name and rights, or name another one with --file", notes_.text());
  }

 private:
  LibraryNotes notes_;
  CResourceSea own_;
  CResourceSea* sea_ = &own_;
};

CString EntryPath(const SettingsOptions& options) {
  if (options.path.empty()) FailUsage("the path of an entry is not empty; give one, as umlauf settings list");
  const CString path = CString::FromUtf8(options.path);
  if (path.ToUtf8() != options.path) FailUsage("the path {} is no UTF-8 text", path.ToUtf8());
  return path;
}

std::string Json(const Values& values) {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  for (const auto& [index, value] : values) json[std::to_string(index)] = value;
  return json.dump();
}

void RunGet(const SettingsOptions& options) {
  const CString path = EntryPath(options);
  Database database(options, CResourceSea::Access::readOnly);
  const Values values = database.sea().Values(path);
  database.CheckRead();
  if (values.empty()) Fail("there is no entry {}; umlauf settings list tells those that are", options.path);
  if (!options.index) {
    if (options.json) return Print("{}\n", Json(values));
    for (const auto& [index, value] : values) Print("{:<5} {}\n", index, value);
    return;
  }
  for (const auto& [index, value] : values) {
    if (index == *options.index) return Print("{}\n", value);
  }
  Fail("{} has no value {}; leave out --index to see those it has", options.path, *options.index);
}

void RunSet(const SettingsOptions& options) {
  const CString path = EntryPath(options);
  const int first = options.index.value_or(0);
  constexpr int last = std::numeric_limits<int>::max();
  if (options.values.size() - 1 > static_cast<std::size_t>(last - first)) {
    FailUsage("{} values from index {} on go beyond the last index, {}; begin at a smaller one",
              options.values.size(), first, last);
  }
  Database database(options, CResourceSea::Access::readWrite);
  if (!database.sea().LookupSetInts(path, first, options.values)) database.FailWithNotes();
}

void RunRemove(const SettingsOptions& options) {
  const CString path = EntryPath(options);
  Database database(options, CResourceSea::Access::readWrite);
  if (database.sea().Values(path).empty()) {
    database.CheckRead();
    Fail("there is no entry {}; umlauf settings list tells those that are", options.path);
  }
  if (!database.sea().RemoveEntry(path)) database.FailWithNotes();
}

void RunList(const SettingsOptions& options) {
  Database database(options, CResourceSea::Access::readOnly);
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  std::string text;
  for (const CString& path : database.sea().Paths(CString::FromUtf8(options.path))) {
    const Values values = database.sea().Values(path);
    text += path.ToUtf8() + " ";
    for (const auto& [index, value] : values) {
      text += fmt::format(" {}={}", index, value);
      json[path.ToUtf8()][std::to_string(index)] = value;
    }
    text += '\n';
  }
  database.CheckRead();
  Print("{}", options.json ? JsonText(json) : text);
}

}  // namespace

void AddSettingsCommand(CLI::App& app) {
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* command = app.add_subcommand("settings", "Shows and changes the settings database");
  command->require_subcommand(1);
  const auto add = [&](const char* name, const char* text, void (*run)(const SettingsOptions&)) {
    CLI::App* action = command->add_subcommand(name, text);
    action->callback([options, run] { run(*options); });
    action->add_option("--file", options->file, "database (that of the application, or UMLAUF_SETTINGS)")
        ->type_name("FILE");
    return action;
  };
  const auto needsPath = [&](CLI::App* action) {
    action->add_option("path", options->path, "of the entry, for example plot/colours")->required();
    return action;
  };
  const auto takesIndex = [&](CLI::App* action, const char* text) {
    action->add_option("--index", options->index, text)->transform(WholeNumber(0, 2147483647));
    return action;
  };
  CLI::App* get = takesIndex(needsPath(add("get", "Prints the values of an entry", RunGet)), "only this one");
  CLI::App* set =
      takesIndex(needsPath(add("set", "Sets values of an entry", RunSet)), "of the first one (0)");
  set->add_option("values", options->values, "whole numbers of 32 bits")
      ->required()
      ->transform(WholeNumber(std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
  needsPath(add("remove", "Removes an entry with all its values", RunRemove));
  CLI::App* list = add("list", "Prints all entries", RunList);
  list->add_option("path", options->path, "what their paths begin with");
  for (CLI::App* each : {get, list}) each->add_flag("--json", options->json, "as a JSON object");
}

}  // namespace umlauf::tool
