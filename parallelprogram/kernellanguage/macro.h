// Macros of a kernel's own files, and their expansion.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/preprocessor.h"

namespace ostra::kernellanguage {

struct Macro {
  Bool isFunction = false;
  std::vector<std::string_view> parameters;
  std::vector<Token> body;
  SourceOffset offset = kNoOffset;
  Bool isCpuOnly = false;        // the translation for GPUs does not know it
  std::string_view unsupported;  // why it cannot be expanded here: "##", "..."
};

class MacroTable {
 public:
  explicit MacroTable(SourceMap& sources) : _sources(sources) {}

  // Reads the rest of a #define from tokens[at], the name, up to `end`.
  void Define(const std::vector<Token>& tokens, std::size_t at, std::size_t end, Bool isOfKernelFile = false);
  void Undefine(std::string_view name);
  const Macro* Find(std::string_view name) const;
  // Whether the files themselves say that there is no such macro.
  Bool IsUndefined(std::string_view name) const { return _undefined.contains(name); }

  // Names of which the files say nothing are not defined, unless compilers or the framework may define them. A kernel
  // that asks for one is compiled in its plain form, so that nothing else can define it.
  static Bool MayBeOfHost(std::string_view name);
  void NoteAskedFor() { _hasAskedForUnknown = true; }
  Bool HasAskedForUnknown() const { return _hasAskedForUnknown; }

  // Whether a macro was expanded that the translation for GPUs does not know.
  Bool HasCpuOnlyExpansion() const { return _hasCpuOnlyExpansion; }

  // The tokens with all macros expanded. Stops where something is not understood.
  std::vector<Token> Expand(std::vector<Token> tokens, std::optional<NotUnderstood>& notUnderstood);

 private:
  friend class Expander;
  SourceMap& _sources;
  std::map<std::string_view, Macro> _macros;
  std::set<std::string_view> _undefined;
  Int _expansionCount = 0;
  Bool _hasCpuOnlyExpansion = false;
  Bool _hasAskedForUnknown = false;
  std::size_t _tokenCount = 0;
};

}  // namespace ostra::kernellanguage
