// Files: whether they exist, when they changed, reading them whole and replacing them whole.
//
//   OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadFileToMemory(file));
//   OSTRA_ASSIGN_OR_RETURN(String text, DecodeText(bytes.GetBlock()));
//   OSTRA_RETURN_IF_ERROR(WriteFileAtomically(file, bytes.GetBlock()));
//
// Only the "file" scheme is served: resolve other urls first. Errors are illegal states whose message names the file
// and the operating system's reason. All functions are thread-safe.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/io/url.h"

namespace ostra {

enum class IODETECT : Int32 { NONE = 0, FILE = 1, DIRECTORY = 2 };

// What is found at `url`, links followed. Everything that is no directory and can be opened by name is a FILE; what
// cannot be looked at is NONE.
OSTRA_API IODETECT IoDetect(const Url& url);

// When the contents were last changed, in nanoseconds since 1970. Error: there is no such file.
OSTRA_API Result<UInt64> GetModificationStamp(const Url& url);

// All bytes of a file, also of pipes and devices that end. Errors: missing, a directory, unreadable; out of memory.
OSTRA_API Result<BaseArray<Byte>> ReadFileToMemory(const Url& url);

// Makes `bytes` the contents of the file. They are written beside it and renamed, so that others see the old contents
// or the new ones and a failure leaves neither a half-written file nor the temporary one. A link is replaced, not
// followed. Devices and pipes are written in place. Errors: the folder is missing or not writable, the disk is full.
OSTRA_API Result<void> WriteFileAtomically(const Url& url, Block<const Byte> bytes);

// The text of UTF-8 bytes; carriage returns stay, a byte order mark at the start goes. Errors: illegal argument with
// the position of the first byte that is not UTF-8; out of memory.
OSTRA_API Result<String> DecodeText(Block<const Byte> bytes);

}  // namespace ostra
