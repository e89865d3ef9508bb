// Immutable, shared UTF-8 text.
//
//   String name = "blur.krn"_s;                          // no allocation: refers to the literal
//   OSTRA_ASSIGN_OR_RETURN(String copy, String::Create(view));
//   name.StartsWith("blur");  name.SubString(0, 4);      // parts share the memory, nothing is copied
//
// Copies share the text and cannot fail. Operations that need memory return a Result. A String may be read from many
// threads; changing one object from several threads needs a lock, as with any value.
// A String made from a literal refers to the literal's memory: text that a module hands to the host for longer than
// the module is loaded must be made with Create.
#pragma once

#include <string_view>
#include <utility>

#include "ostra/core/export.h"
#include "ostra/core/hash.h"
#include "ostra/core/types.h"

namespace ostra {

template <class T>
class Result;
template <class T>
class BaseArray;

// Result of searches that found nothing.
inline constexpr Int NOT_FOUND = -1;

class OSTRA_API String {
 public:
  constexpr String() = default;
  constexpr String(const String& other) : _text(other._text), _size(other._size), _owner(other._owner) { AddRef(); }
  constexpr String(String&& other) noexcept : _text(other._text), _size(other._size), _owner(other._owner) {
    other._text = "";
    other._size = 0;
    other._owner = nullptr;
  }
  constexpr ~String() {
    if (_owner) Release(_owner);
  }
  constexpr String& operator=(String other) noexcept {
    std::swap(_text, other._text);
    std::swap(_size, other._size);
    std::swap(_owner, other._owner);
    return *this;
  }

  // A String over text that outlives it (a literal, an interned name). `text[size]` must be the final zero.
  static constexpr String FromStatic(const char* text, std::size_t size) { return String(text, size, nullptr); }

  // Copies `text`. Error: out of memory.
  static Result<String> Create(std::string_view text);

  // Joins two texts. Error: out of memory.
  static Result<String> Concatenate(std::string_view first, std::string_view second);

  constexpr std::string_view GetView() const { return std::string_view(_text, static_cast<std::size_t>(_size)); }
  constexpr operator std::string_view() const { return GetView(); }  // NOLINT(google-explicit-constructor)
  constexpr Int GetCount() const { return _size; }
  constexpr Bool IsEmpty() const { return _size == 0; }
  constexpr Bool IsPopulated() const { return _size != 0; }
  constexpr char operator[](Int index) const { return _text[index]; }
  constexpr UInt64 GetHashCode() const { return HashText(GetView()); }

  // Byte position of the first (last) occurrence of `part`, searched from byte `start` on; NOT_FOUND when absent.
  Int Find(std::string_view part, Int start = 0) const;
  Int FindLast(std::string_view part) const;
  Bool StartsWith(std::string_view part) const { return GetView().substr(0, part.size()) == part; }
  Bool EndsWith(std::string_view part) const;
  Bool Contains(std::string_view part) const { return Find(part) != NOT_FOUND; }

  // `count` bytes from byte `position` on, clipped to the text; -1 means up to the end. Shares memory.
  String SubString(Int position, Int count = -1) const;
  // The text without leading (leading and trailing) blanks, tabs and line ends. Shares memory.
  String TrimLeft() const;
  String Trim() const;

  // Puts `part` in front of byte `position`; removes `count` bytes from `position` on; adds `part` at the end.
  // Errors: illegal argument for a position outside the text; out of memory. On error the text is unchanged.
  Result<void> Insert(Int position, std::string_view part);
  Result<void> Erase(Int position, Int count);
  Result<void> Append(std::string_view part);

  // Pieces between the occurrences of `separator`, empty ones included; one piece when it is absent or empty.
  Result<BaseArray<String>> Split(std::string_view separator) const;
  // The pieces with `separator` between them.
  static Result<String> Join(const BaseArray<String>& pieces, std::string_view separator);

  // The whole text as a number to base 10, an optional sign in front. Error: illegal argument when it is not one or
  // does not fit.
  Result<Int> ToInt() const;

  friend constexpr Bool operator==(const String& a, const String& b) { return a.GetView() == b.GetView(); }
  friend constexpr Bool operator==(const String& a, std::string_view b) { return a.GetView() == b; }
  friend constexpr Bool operator==(const String& a, const char* b) { return a.GetView() == b; }
  friend constexpr auto operator<=>(const String& a, const String& b) { return a.GetView() <=> b.GetView(); }

 private:
  struct Buffer;
  constexpr String(const char* text, std::size_t size, Buffer* owner)
      : _text(text), _size(static_cast<Int>(size)), _owner(owner) {}
  constexpr void AddRef() const {
    if (_owner) AddRef(_owner);
  }
  static void AddRef(Buffer* buffer);
  static void Release(Buffer* buffer);
  // New text of `size` bytes that `fill` writes. Error: out of memory.
  template <class Fill>
  static Result<String> Make(std::size_t size, Fill&& fill);

  const char* _text = "";
  Int _size = 0;
  Buffer* _owner = nullptr;  // null for static text

  friend class CString;
};

// A text that is followed by a zero byte, for C interfaces and for the parameter names of kernels.
class OSTRA_API CString {
 public:
  constexpr CString() = default;
  // Literals only: refers to `text`.
  template <std::size_t SIZE>
  constexpr CString(const char (&text)[SIZE]) : _text(String::FromStatic(text, SIZE - 1)) {}  // NOLINT

  // Copies `text`. Error: out of memory.
  static Result<CString> Create(std::string_view text);
  // Shares the text when it already ends with a zero byte. Only for interned names and literals.
  static constexpr CString FromStatic(const String& text) { return CString(text); }

  constexpr const char* GetCString() const { return _text._text; }
  constexpr const String& GetString() const { return _text; }
  constexpr std::string_view GetView() const { return _text.GetView(); }
  constexpr operator std::string_view() const { return GetView(); }  // NOLINT(google-explicit-constructor)
  constexpr Bool IsEmpty() const { return _text.IsEmpty(); }
  constexpr UInt64 GetHashCode() const { return _text.GetHashCode(); }

  friend constexpr Bool operator==(const CString& a, const CString& b) { return a.GetView() == b.GetView(); }

 private:
  constexpr explicit CString(const String& text) : _text(text) {}
  String _text;
};

inline namespace literals {
constexpr String operator""_s(const char* text, std::size_t size) { return String::FromStatic(text, size); }
}  // namespace literals

}  // namespace ostra
