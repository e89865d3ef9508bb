// A source file in memory: deciphered and decoded.
#pragma once

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

// `text` without the carriage returns in front of line feeds and of its end; those inside of lines stay. Error: out of
// memory.
Result<String> NormalizeLineEnds(String text);

}  // namespace ostra
