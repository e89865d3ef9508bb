#include "ostra/core/stream_copy.h"

#include "ostra/core/memory.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ostra {

#ifdef __SSE2__
namespace {

constexpr Int kLine = 64;
constexpr Int kPage = 4096;
// Several pages side by side: the memory has more than one row open, and the processor fetches ahead in each.
constexpr Int kPagesAtOnce = 4;
constexpr Int kAhead = 8 * kLine;

void StreamLine(Byte* target, const Byte* source) {
  const auto* from = reinterpret_cast<const __m128i*>(source);
  auto* to = reinterpret_cast<__m128i*>(target);
  const __m128i a = _mm_loadu_si128(from);
  const __m128i b = _mm_loadu_si128(from + 1);
  const __m128i c = _mm_loadu_si128(from + 2);
  const __m128i d = _mm_loadu_si128(from + 3);
  _mm_stream_si128(to, a);
  _mm_stream_si128(to + 1, b);
  _mm_stream_si128(to + 2, c);
  _mm_stream_si128(to + 3, d);
}

}  // namespace

void StreamCopy(void* target, const void* source, Int bytes) {
  constexpr Int kShort = 2 * kPage;
  if (bytes < kShort) {
    if (bytes > 0) MemCopy(target, source, bytes);
    return;
  }
  auto* to = static_cast<Byte*>(target);
  const auto* from = static_cast<const Byte*>(source);
  // Lines of the target are written whole.
  const Int head = static_cast<Int>(-reinterpret_cast<std::uintptr_t>(to) % kLine);
  if (head > 0) MemCopy(to, from, head);
  Int done = head;
  for (; bytes - done >= kPagesAtOnce * kPage; done += kPagesAtOnce * kPage) {
    for (Int line = done; line < done + kPage; line += kLine) {
      for (Int i = line; i < line + kPagesAtOnce * kPage; i += kPage) {
        _mm_prefetch(reinterpret_cast<const char*>(from + i + kAhead), _MM_HINT_T0);
        StreamLine(to + i, from + i);
      }
    }
  }
  for (; bytes - done >= kLine; done += kLine) StreamLine(to + done, from + done);
  _mm_sfence();  // what is told to other threads from here on must not overtake the bytes
  if (done < bytes) MemCopy(to + done, from + done, bytes - done);
}
#else
void StreamCopy(void* target, const void* source, Int bytes) {
  if (bytes > 0) MemCopy(target, source, bytes);
}
#endif

}  // namespace ostra
