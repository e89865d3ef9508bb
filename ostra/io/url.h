// Url: where a file is. A value over a text such as "pictures/cat.png" or "relative://net.example.blur.krn".
//
//   OSTRA_ASSIGN_OR_RETURN(Url file, Url::Create("kernels/net.example.blur.krn"));
//   file.GetName();                                              // "net.example.blur.krn"
//   const String suffix = file.GetSuffix();                      // "krn"
//   file.ClearSuffix();                                          // kernels/net.example.blur
//   OSTRA_RETURN_IF_ERROR(file.SetSuffix(suffix));               // kernels/net.example.blur.krn
//   OSTRA_ASSIGN_OR_RETURN(Url picture, file.GetDirectory() + "cat.png");
//
// A text without "://" is a path of the "file" scheme. Slashes at the end are not kept ("a/" is "a"). Parts share the
// text's memory; what needs new memory returns a Result, and leaves the Url unchanged on error.
// Nothing here touches a file; see file.h. Thread-safe to read, as any value.
#pragma once

#include "ostra/core/format.h"

namespace ostra {

class OSTRA_API Url {
 public:
  Url() = default;
  // Shares the memory of `text`.
  explicit Url(String text);
  // Copies `text`. Error: out of memory.
  static Result<Url> Create(std::string_view text);

  Bool IsEmpty() const { return _text.IsEmpty(); }
  Bool IsPopulated() const { return _text.IsPopulated(); }
  const String& GetText() const { return _text; }
  std::string_view GetView() const { return _text.GetView(); }
  UInt64 GetHashCode() const { return _text.GetHashCode(); }
  friend Bool operator==(const Url& a, const Url& b) { return a._text == b._text; }

  // The text before "://"; "file" when there is none. Empty for an empty Url.
  String GetScheme() const;
  // The text after "://": what the operating system is asked for when the scheme is "file".
  String GetPath() const { return _text.SubString(GetPathStart()); }

  // The last component, suffix included. Empty for an empty Url and for a root directory.
  String GetName() const { return _text.SubString(GetNameStart()); }
  // Replaces the last component. Errors: illegal argument for an empty name or one with a slash; out of memory.
  Result<void> SetName(std::string_view name);

  // What stands after the last dot of the name, without the dot. Empty when there is no dot, when the dot is the first
  // or the last character of the name.
  String GetSuffix() const;
  // Adds a dot and `suffix` to the name; an empty suffix changes nothing. A suffix that is there is kept, because
  // "net.example.blur" is a name whose last part only looks like one: call ClearSuffix first to replace it.
  // Errors: illegal argument for a suffix with a dot or a slash; illegal state without a name; out of memory.
  Result<void> SetSuffix(std::string_view suffix);
  // Takes off GetSuffix() and its dot.
  void ClearSuffix();

  // All but the last component. A root directory is its own directory; a lone name has the empty Url.
  Url GetDirectory() const;

  // `base`, a slash, and the path of `part`; a side that is empty adds nothing. Of two schemes the one of `base` stays.
  // Error: out of memory.
  friend OSTRA_API Result<Url> operator+(const Url& base, const Url& part);
  friend OSTRA_API Result<Url> operator+(const Url& base, std::string_view part);

 private:
  // Byte positions in the text.
  Int GetPathStart() const;
  Int GetNameStart() const;
  // Where the suffix's dot stands; the end of the text when there is no suffix.
  Int GetSuffixDot() const;

  String _text;
};

// Scheme of files that come with an application, in the "shaders" folder of its resources.
inline constexpr String kRelativeScheme = String::FromStatic("relative", 8);

// Where a file of an application is: for the "relative" scheme `resourcePath` + "shaders" + the file's path, otherwise
// `url` as it is. Error: out of memory. Thread-safe.
OSTRA_API Result<Url> ResolveUrl(const Url& resourcePath, const Url& url);

}  // namespace ostra
