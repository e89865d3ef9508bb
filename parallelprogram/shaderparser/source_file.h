// A source file in memory: deciphered and decoded.
#pragma once

#include <functional>
#include <optional>

#include "ostra/io/file.h"

namespace ostra {

// What becomes of carriage returns at the ends of lines.
enum class LineEnds : Int32 {
  Keep = 0,       // the translator takes them for a part of the last word
  LineFeeds = 1,  // they go: files from every system read the same
};

struct SourceFile {
  BaseArray<Byte> bytes;   // deciphered; with LineFeeds those of the text
  String text;             // the same without a byte order mark
  Bool isEncoded = false;  // what stands in the file is not the text
};

// Reads, deciphers and decodes. Errors: those of reading, of the container and of decoding; out of memory. Thread-safe.
Result<SourceFile> ReadSourceFile(const Url& file, LineEnds lineEnds);

// Texts that stand in for those of files, such as what an editor has not saved: nothing for a file that counts as it is
// on the disk. A file with a text counts as there.
using SourceOverlay = std::function<Result<std::optional<String>>(const Url& file)>;

// The same as ReadSourceFile with the overlay's text where it has one; null: there is none.
Result<SourceFile> ReadSourceFile(const Url& file, LineEnds lineEnds, const SourceOverlay* overlay);
// Whether there is such a file. Errors: those of the overlay.
Result<Bool> HasSourceFile(const Url& file, const SourceOverlay* overlay);

// `text` without the carriage returns in front of line feeds and of its end; those inside of lines stay. Error: out of
// memory.
Result<String> NormalizeLineEnds(String text);

}  // namespace ostra
