// SourceMap: the texts that a kernel is made of and where each of its tokens came from.
//
//   SourceMap sources;
//   const SourceOffset begin = *sources.AddFile("net.example.blur.krn", text);
//   const SourceLocation location = sources.Locate(begin + 17);      // {"net.example.blur.krn", 2, 5}
//
// A SourceOffset is what tokens and nodes carry: 32 bits. It is a byte of the texts, which lie one behind the other, or
// the number of an expansion: a token that a macro made, with the use of the macro and the token of its definition.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

using SourceOffset = UInt32;
inline constexpr SourceOffset kNoOffset = 0xffffffffu;

// What a reader of messages is told: lines and columns count from 1, columns in bytes.
struct SourceLocation {
  std::string_view file;
  Int32 line = 0;
  Int32 column = 0;
  friend Bool operator==(const SourceLocation&, const SourceLocation&) = default;
};

class SourceMap;

// From `position`, a byte of a text that was written anew, to that of the next mark stands what `source` is in the
// texts that it was made of.
struct TextMark {
  UInt32 position = 0;
  SourceOffset source = kNoOffset;
  friend Bool operator==(const TextMark&, const TextMark&) = default;
};

// What a text was made of; its places are told as those.
struct TextOrigin {
  std::shared_ptr<const SourceMap> sources;
  std::vector<TextMark> marks;  // in the order of their positions

  // Of the byte `position`; kNoOffset before the first mark.
  SourceOffset Find(std::size_t position) const;
};

class SourceMap {
 public:
  // All texts together.
  static constexpr UInt32 kMaxBytes = 1u << 28;

  struct File {
    std::string name, text;
    SourceOffset begin = 0;          // of the first byte; the byte behind the last one is the file's, too
    std::vector<UInt32> lineBegins;  // bytes of `text`
    Bool isHidden = false;           // messages name its lines and show none
    std::shared_ptr<const TextOrigin> origin = nullptr;
  };
  // A token made by a macro: where the macro is used, and where the token is written in its definition.
  struct Expansion {
    SourceOffset use = kNoOffset, spelling = kNoOffset;
  };

  // Adds a copy of a text; returns the index of the file, or -1 when the texts would be larger than kMaxBytes.
  Int AddFile(std::string_view name, std::string_view text, Bool isHidden = false,
              std::shared_ptr<const TextOrigin> origin = nullptr);
  Int GetFileCount() const { return static_cast<Int>(_files.size()); }
  const File& GetFile(Int index) const { return *_files[static_cast<std::size_t>(index)]; }

  SourceOffset AddExpansion(SourceOffset use, SourceOffset spelling);
  static Bool IsExpansion(SourceOffset offset) { return offset >= kFirstExpansion && offset != kNoOffset; }
  const Expansion& GetExpansion(SourceOffset offset) const { return _expansions[offset - kFirstExpansion]; }
  // The byte of a file that stands for the offset: where the outermost macro is used.
  SourceOffset GetUse(SourceOffset offset) const;
  // The byte of a file where the token is written.
  SourceOffset GetSpelling(SourceOffset offset) const;

  // The index of the file that a byte belongs to; -1 for none.
  Int FindFile(SourceOffset byte) const;
  // The place of GetUse(offset); an empty file name for kNoOffset.
  SourceLocation Locate(SourceOffset offset) const;
  // The text of the line in which GetUse(offset) lies, without its line end.
  std::string_view GetLine(SourceOffset offset) const;
  // Whether the line may be shown: not that of a hidden file.
  Bool MayShowLine(SourceOffset offset) const;

 private:
  // The offset in the texts that the file of `offset` was made of; null when it was not.
  const TextOrigin* FindOrigin(SourceOffset offset, SourceOffset& source) const;

  static constexpr SourceOffset kFirstExpansion = 1u << 29;

  std::vector<std::unique_ptr<File>> _files;  // stay where they are: tokens refer to their texts
  std::vector<Expansion> _expansions;
  SourceOffset _end = 0;
};

}  // namespace ostra::kernellanguage
