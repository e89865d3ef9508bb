// The names that a file has declared where the parser is: what tells a declaration from an expression, and a mistake
// from a macro of the host.
//
//   names.AddStruct("Particle");
//   names.IsType("Particle")              // until a variable by that name hides it
#pragma once

#include <span>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

class ParseNames {
 public:
  // Types that are hidden while it lives are known again afterwards.
  class Scope {
   public:
    explicit Scope(ParseNames& names) : _names(names), _count(names._hiddenTypes.size()) {}
    ~Scope() { _names._hiddenTypes.resize(_count); }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    ParseNames& _names;
    const std::size_t _count;
  };

  // Names are views of the file's text.
  void Declare(std::string_view name) { _declared.insert(name); }
  void AddStruct(std::string_view name);
  // Another name of the type `meant`.
  void AddAlias(std::string_view name, std::string_view meant) { _aliases.emplace(name, meant); }
  // A variable has the name of a type, up to the end of the scope.
  void HideType(std::string_view name) { _hiddenTypes.push_back(name); }

  Bool IsDeclared(std::string_view name) const { return _declared.contains(name); }
  Bool IsStruct(std::string_view name) const { return _structs.contains(name); }
  // The name of a type: a word of the language, a struct, or another name of one.
  Bool IsType(std::string_view name) const;
  // What another name stands for; others stand for themselves.
  std::string_view GetMeant(std::string_view name) const;
  // Names that cannot be macros of the host.
  Bool IsKnown(std::string_view name) const;
  std::span<const std::string_view> GetStructs() const { return _structNames; }  // in their order

 private:
  std::unordered_set<std::string_view> _declared, _structs;
  std::unordered_map<std::string_view, std::string_view> _aliases;
  std::vector<std::string_view> _structNames;
  std::vector<std::string_view> _hiddenTypes;
};

}  // namespace ostra::kernellanguage
