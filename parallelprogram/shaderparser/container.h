// The encoded container: source files that cannot be read with an editor.
//
//   OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadFileToMemory(file));
//   OSTRA_RETURN_IF_ERROR(DecodeContainer(bytes));         // a plain file stays as it is
//
//   offset  size
//        0     7  the text "encoded"
//        7    32  HMAC-SHA-256 of everything from offset 39 on
//       39    16  salt
//       55  rest  AES-128 in CBC mode, padded to whole blocks of 16 bytes
//
// K is the SHA-256 value of kContainerPassphrase and the salt. Its first half is the key of the HMAC and of AES, its
// second half the initial vector. The passphrase is part of this program: a container keeps readers away and shows
// damage, but it is no safe. docs/encoded-files.md says more.
#pragma once

#include "ostra/core/base_array.h"

namespace ostra {

// Changing it makes every encoded file unreadable.
inline constexpr std::string_view kContainerPassphrase = "net.ostra.parallelprogram.shaderparser.container.1";

inline constexpr std::string_view kContainerMark = "encoded";
inline constexpr Int kContainerTagStart = 7;
inline constexpr Int kContainerSaltStart = 39;
inline constexpr Int kContainerTextStart = 55;
inline constexpr Int kContainerSaltSize = kContainerTextStart - kContainerSaltStart;

// Whether the bytes begin with the mark. A plain file that does is taken for a container, too.
Bool IsContainer(Block<const Byte> bytes);

// Puts the text of a container in the place of the container; anything else stays as it is. Errors: illegal argument
// "hmac different" for a container that was cut or changed, the bytes are as they were then; illegal argument for
// one that was made with a wrong padding; those of the stream conversions, "Factory is nullptr." among them; out of
// memory. Thread-safe.
Result<void> DecodeContainer(BaseArray<Byte>& bytes);

// The container of a text, with a salt made at random; the second form with a given one of kContainerSaltSize bytes, so
// that the same text gives the same container. Errors: illegal argument for a salt of another size; illegal state
// without random numbers; those of the stream conversions; out of memory. Thread-safe.
Result<BaseArray<Byte>> EncodeContainer(Block<const Byte> text);
Result<BaseArray<Byte>> EncodeContainer(Block<const Byte> text, Block<const Byte> salt);

}  // namespace ostra
