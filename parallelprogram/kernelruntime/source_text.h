// Source files as commands read them: plain or encoded.
//
//   OSTRA_ASSIGN_OR_RETURN(SourceText source, ReadSourceText(kernelFile));
//   source.text ...
#pragma once

#include <string>

#include "ostra/core/base_array.h"
#include "ostra/io/url.h"

namespace ostra::kernelruntime {

struct SourceText {
  String text;
  Bool isEncoded = false;  // what stands in the file is not the text
};

// The name of a source file becomes that of a class, and stands in texts that others read line by line. Error: illegal
// argument for a name with control characters, or that is not UTF-8.
Result<void> CheckSourceName(const Url& file);

// The file that a name was probably meant for, of a file that is not there: a letter or two are wrong, the suffix is
// missing, or what all names of the folder begin with. Empty without one, and for files that are there.
std::string FindSimilarFile(const Url& file);

// The bytes of a source file, of at most kMaxTextFileSize. `mayBePipe`: for commands that read it once. Errors: those
// of CheckSourceName and of reading it; for a file that is not there with a similar one that is.
Result<BaseArray<Byte>> ReadSourceBytes(const Url& file, Bool mayBePipe = false);

// The text of a source file, its lines ended by line feeds alone. Errors: those of reading the file; illegal argument
// with the file and the reason for a container that cannot be decoded and for a text that is not UTF-8.
Result<SourceText> ReadSourceText(const Url& file);

// DecodeContainer, with the file's name in its errors.
Result<void> DecodeSourceFile(const Url& file, BaseArray<Byte>& bytes);

}  // namespace ostra::kernelruntime
