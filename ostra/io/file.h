// Files: whether they exist, when they changed, reading them whole and replacing them whole.
//
//   OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadFileToMemory(file));
//   OSTRA_ASSIGN_OR_RETURN(String text, DecodeText(bytes.GetBlock()));
//   OSTRA_RETURN_IF_ERROR(WriteFileAtomically(file, bytes.GetBlock()));
//
// Only the "file" scheme is served: resolve other urls first. Errors are illegal states whose message names the file
// and the operating system's reason. All functions are thread-safe.
#pragma once

#include <limits>
#include <span>

#include "ostra/core/base_array.h"
#include "ostra/io/url.h"

namespace ostra {

enum class IODETECT : Int32 { NONE = 0, FILE = 1, DIRECTORY = 2 };

// What is found at `url`, links followed. Everything that is no directory and can be opened by name is a FILE; what
// cannot be looked at is NONE.
OSTRA_API IODETECT IoDetect(const Url& url);

// When the contents were last changed, in nanoseconds since 1970. Error: there is no such file.
OSTRA_API Result<UInt64> GetModificationStamp(const Url& url);

// What a reader accepts.
struct ReadLimits {
  Int maxSize = std::numeric_limits<Int>::max();  // bytes
  // Pipes and devices too, up to their end or to maxSize. Opening a pipe waits for its writer.
  Bool mayBePipe = false;
};

// Texts that people write (sources, headers, scenes) are shorter: readers of texts refuse longer files.
inline constexpr Int kMaxTextFileSize = Int(64) << 20;

// All bytes of a regular file. Errors: missing, a directory, unreadable; a pipe or a device unless `limits` allow them;
// more bytes than `limits` allow, which is said before they are read where the size is known; out of memory.
OSTRA_API Result<BaseArray<Byte>> ReadFileToMemory(const Url& url, const ReadLimits& limits = {});

// Whether WriteFileAtomically may replace what is at `url` now, asked before work begins that would be lost. Errors: a
// directory; a file that is read-only, for the superuser too if it has no write permission at all; a name that is too
// long; a folder that is missing or not writable.
OSTRA_API Result<void> CheckFileTarget(const Url& url);

// Makes `bytes` the contents of the file. They are written beside it and renamed, so that others see the old contents
// or the new ones, and neither a failure nor the end of the process leaves a half-written file. Where the file system
// knows no files without a name, RemoveUnfinishedFiles (ostra/io/unfinished_file.h) removes the temporary one of a
// process that is ended. An existing file's mode and group are kept. A link is replaced, not followed. Devices, pipes
// and names of open files such as /dev/stdout are written in place. Errors: those of CheckFileTarget; the
// disk is full.
OSTRA_API Result<void> WriteFileAtomically(const Url& url, Block<const Byte> bytes);
// The same for contents that lie in several places: one part behind the other.
OSTRA_API Result<void> WriteFileAtomically(const Url& url, std::span<const Block<const Byte>> parts);

// The text of UTF-8 bytes; carriage returns stay, a byte order mark at the start goes. Errors: illegal argument with
// the position of the first byte that is not UTF-8; out of memory.
OSTRA_API Result<String> DecodeText(Block<const Byte> bytes);

}  // namespace ostra
