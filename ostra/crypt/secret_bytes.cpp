#include "ostra/crypt/secret_bytes.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <climits>

#include "ostra/core/format.h"

OSTRA_UNIT("secretbytes");

namespace ostra {

Result<void> FillWithRandomBytes(Block<Byte> bytes) {
  for (Int done = 0; done < bytes.GetCount();) {
    const Int count = std::min<Int>(bytes.GetCount() - done, INT_MAX);
    if (RAND_bytes(bytes.GetFirst() + done, static_cast<int>(count)) != 1)
      return OSTRA_ILLEGAL_STATE("The system has no random numbers.");
    done += count;
  }
  return OK;
}

Bool AreEqualInConstantTime(Block<const Byte> a, Block<const Byte> b) {
  if (a.GetCount() != b.GetCount()) return false;
  if (a.IsEmpty()) return true;
  return CRYPTO_memcmp(a.GetFirst(), b.GetFirst(), static_cast<std::size_t>(a.GetCount())) == 0;
}

void WipeBytes(Block<Byte> bytes) {
  if (!bytes.IsEmpty()) OPENSSL_cleanse(bytes.GetFirst(), static_cast<std::size_t>(bytes.GetCount()));
}

}  // namespace ostra
