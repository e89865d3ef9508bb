// What decoding an encoded container costs at least: libcrypto's own calls, one for all bytes each.
#pragma once

#include <cstddef>

namespace bench {

// Checks the tag of the container (container.h of the shader parser) and deciphers its blocks in place. False when the
// tag differs or libcrypto fails.
bool DecodeWithLibcrypto(unsigned char* container, std::size_t size);

}  // namespace bench
