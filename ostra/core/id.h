// A dotted ID such as net.ostra.interface.kernelinterface: names classes, interfaces, registries, types and errors.
//
//   constexpr Id kCpuProgram = "net.ostra.drawportmisc.cpuprogram"_id;   // hashed at compile time
//   OSTRA_ASSIGN_OR_RETURN(Id id, Id::Create(text));                      // at run time; can run out of memory
//
// Comparison looks at the hash, then at the text. Values are immutable and thread-safe to read.
#pragma once

#include "ostra/core/string.h"

namespace ostra {

class OSTRA_API Id {
 public:
  constexpr Id() = default;
  constexpr explicit Id(String text) : _text(std::move(text)), _hash(HashText(_text.GetView())) {}

  // Copies `text`. Error: out of memory.
  static Result<Id> Create(std::string_view text);

  constexpr const String& GetString() const { return _text; }
  constexpr std::string_view GetView() const { return _text.GetView(); }
  constexpr UInt64 GetHashCode() const { return _hash; }
  constexpr Bool IsEmpty() const { return _text.IsEmpty(); }

  friend constexpr Bool operator==(const Id& a, const Id& b) {
    return a._hash == b._hash && a._text.GetView() == b._text.GetView();
  }
  friend constexpr auto operator<=>(const Id& a, const Id& b) { return a._text.GetView() <=> b._text.GetView(); }

 private:
  String _text;
  UInt64 _hash = HashText("");
};

inline namespace literals {
constexpr Id operator""_id(const char* text, std::size_t size) { return Id(String::FromStatic(text, size)); }
}  // namespace literals

}  // namespace ostra
