#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

/// The process-wide registry of unit names, internal to the units: names get indices here, and an index
/// keeps its name for the life of the process. It starts with the common units, whose indices are their
/// values. Never destroyed, so that units may be used until the process ends. May be used by all threads: the
/// common names without a lock, since they never change; messages are logged outside the lock, so that a log
/// sink may use units itself.
class UnitStrings {
 public:
  /// No more names than this are registered, whatever files and texts contain.
  static constexpr std::size_t kMaxNames = 65536;

  static UnitStrings& Instance();

  /// Index of a name or alternative name (case counts). An unknown name is registered when that is switched
  /// on and there is room for it; otherwise it is rejected, with a message, and the index is 0. An empty
  /// name is never registered. The two switches can be given for this one lookup.
  std::uint32_t Lookup(std::wstring_view name, std::optional<bool> registering = {},
                       std::optional<bool> warning = {});
  /// Name with an index; that of index 0 ("-") for an index that has none. Valid as long as the process.
  std::wstring_view Name(std::uint32_t index) const;

  /// Whether unknown names are registered, and whether a registration is told in the log.
  static inline std::atomic<bool> registers = false;
  static inline std::atomic<bool> warns = true;

  UnitStrings();

 private:
  using Indices = std::unordered_map<std::wstring_view, std::uint32_t>;

  Indices common_;  // of common units, alternative names included
  mutable std::mutex mutex_;
  std::deque<std::wstring> names_;  // behind those of common units; a deque: names stay where they are
  Indices indices_;
};
