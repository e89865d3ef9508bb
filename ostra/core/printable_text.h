// Text of unknown origin, for people: names of files and words of sources stand in messages.
#pragma once

#include <cstdio>
#include <string_view>

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Bytes of the UTF-8 character that starts at `text`; 0 when there is none (overlong forms, surrogates and numbers
// beyond U+10FFFF included).
OSTRA_API Int GetCharacterSize(std::string_view text);

// Whether there is a character that a terminal obeys instead of showing it: C0 and C1 controls, and those that change
// the direction of writing. Bytes that are not UTF-8 count, too; line ends and tabs do not.
OSTRA_API Bool HasControlCharacters(std::string_view text);

// Writes `text` with every such character, and every byte that is not UTF-8, as "\xNN" for each of its bytes. A
// carriage return before a line end is left out. Allocates nothing.
OSTRA_API void WritePrintable(std::FILE* stream, std::string_view text);

// The same as a message: of a line of more than 1000 bytes the beginning and the end, and of more than 64 KiB the first
// and the last lines, with the number of bytes that are left out.
OSTRA_API void WriteMessage(std::FILE* stream, std::string_view text);

}  // namespace ostra
