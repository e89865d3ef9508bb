// A name of a kernel, buffer, texture, counter, uniform or kernel parameter. Two InternedIds of the same text are the
// same pointer, so comparison and hashing cost nothing.
//
//   OSTRA_ASSIGN_OR_RETURN(InternedId name, InternedId::Create("image"));
//   const InternedId name = "image"_iid;               // for names known when the program is written
//
// Interned texts live until the process ends. All functions are thread-safe and take no lock.
#pragma once

#include "ostra/core/format.h"

namespace ostra {

class OSTRA_API InternedId {
 public:
  // The empty name; a valid key.
  constexpr InternedId() = default;

  // Error: out of memory.
  static Result<InternedId> Create(std::string_view text);
  // The name for a template such as "noiseMode_@" with the number filled in, in decimal. Error: out of memory.
  static Result<InternedId> Create(std::string_view pattern, Int number);
  // For names known when the program is written: ends the process when memory is really exhausted.
  static InternedId FromLiteral(std::string_view text);
  // The name if it is interned; the empty name otherwise. Allocates nothing.
  static InternedId Find(std::string_view text);

  String ToString() const { return _node ? String::FromStatic(GetText(), GetSize()) : String(); }
  CString ToCString() const { return CString::FromStatic(ToString()); }
  std::string_view GetView() const { return ToString().GetView(); }
  UInt64 GetHashCode() const { return _node ? _node->hash : HashText(""); }
  // 128 bits that differ for different texts with overwhelming probability.
  struct UniqueHash {
    UInt64 low, high;
    friend bool operator==(const UniqueHash&, const UniqueHash&) = default;
  };
  UniqueHash GetUniqueHash() const;
  constexpr Bool IsEmpty() const { return !_node; }
  constexpr Bool IsPopulated() const { return _node; }

  friend constexpr Bool operator==(InternedId a, InternedId b) { return a._node == b._node; }
  // Orders by text.
  friend auto operator<=>(InternedId a, InternedId b) { return a.GetView() <=> b.GetView(); }

 private:
  struct Node {
    Node* next;
    UInt64 hash;
    std::size_t size;
    // The characters and a final zero follow.
  };
  friend struct InternTable;
  constexpr explicit InternedId(const Node* node) : _node(node) {}
  const char* GetText() const { return reinterpret_cast<const char*>(_node + 1); }
  std::size_t GetSize() const { return _node->size; }

  const Node* _node = nullptr;
};

inline namespace literals {
inline InternedId operator""_iid(const char* text, std::size_t size) {
  return InternedId::FromLiteral(std::string_view(text, size));
}
}  // namespace literals

}  // namespace ostra
