// ConfigurationTable: the configuration variables of the host or of one module, in the order of their registration.
//
//   constinit ConfigurationTable g_table;
//   g_drawFast = g_table.Register("g_drawFast", g_drawFast, false, ConfigKind::Bool, "draws without checks"_s);
//
// Registering happens on the loading thread; afterwards the variables are read without locks.
#pragma once

#include <array>
#include <span>

#include "ostra/core/string.h"

namespace ostra {

// Kind of a configuration value, with flags.
enum class ConfigKind : Int32 {
  Bool = 1,
  CrashHandlerFlag = 5,  // a Bool that the host sets while it writes a crash report
};

// Where the value of a variable comes from.
enum class ConfigState : Int32 { Default = 0, Configured = 1 };

struct ConfigurationEntry {
  const char* name = "";
  String help;
  ConfigKind kind = ConfigKind::Bool;
  Bool* variable = nullptr;
  ConfigState state = ConfigState::Default;  // the configuration service's
};

class ConfigurationTable {
 public:
  static constexpr Int CAPACITY = 256;

  constexpr ConfigurationTable() = default;

  // Adds an entry and returns `initialValue`, which the caller stores in the variable. A full table records nothing:
  // the variable then simply keeps its default.
  Bool Register(const char* name, Bool& variable, Bool initialValue, ConfigKind kind, const String& help) {
    if (_count < CAPACITY) _entries[static_cast<std::size_t>(_count++)] = {name, help, kind, &variable};
    variable = initialValue;
    return initialValue;
  }

  // Takes back the entry of a variable, if it has one; the others keep their order. The configuration service refers to
  // the entries it knows, so it must know none of this table.
  void Remove(const Bool& variable) {
    std::span<ConfigurationEntry> entries = GetEntries();
    std::size_t place = 0;
    while (place < entries.size() && entries[place].variable != &variable) ++place;
    if (place == entries.size()) return;
    for (; place + 1 < entries.size(); ++place) entries[place] = entries[place + 1];
    entries[place] = ConfigurationEntry();
    --_count;
  }

  std::span<ConfigurationEntry> GetEntries() { return std::span(_entries).first(static_cast<std::size_t>(_count)); }
  Int GetCount() const { return _count; }

  // Releases the help texts.
  void DropHelp() {
    for (ConfigurationEntry& entry : GetEntries()) entry.help = String();
  }
  void Reset() {
    for (ConfigurationEntry& entry : GetEntries()) entry = ConfigurationEntry();
    _count = 0;
  }

 private:
  std::array<ConfigurationEntry, CAPACITY> _entries{};
  Int _count = 0;
};

}  // namespace ostra
