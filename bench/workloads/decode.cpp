#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/references/container.h"
#include "bench/workloads/workloads.h"
#include "parallelprogram/shaderparser/container.h"

namespace bench {
namespace {

constexpr ostra::Int kTextSize = 64 << 20;

ostra::Byte GetTextByte(ostra::Int index) { return static_cast<ostra::Byte>(index * 7 + (index >> 9)); }

// A peer decodes a fresh copy of the container each time, because it decodes in place. Making the copy is not timed.
struct Decoder {
  const char* name;
  bool (*decode)(ostra::BaseArray<ostra::Byte>& bytes);
  ostra::Int textStart;  // where it leaves the text
  std::vector<double> values;
};

bool DecodeOurs(ostra::BaseArray<ostra::Byte>& bytes) { return ostra::DecodeContainer(bytes).IsOk(); }

bool DecodeDirectly(ostra::BaseArray<ostra::Byte>& bytes) {
  return DecodeWithLibcrypto(bytes.GetFirst(), static_cast<std::size_t>(bytes.GetCount()));
}

bool IsRight(const Decoder& decoder, const ostra::BaseArray<ostra::Byte>& bytes) {
  if (bytes.GetCount() < decoder.textStart + kTextSize) return false;
  for (ostra::Int i = 0; i < kTextSize; ++i) {
    if (bytes[decoder.textStart + i] != GetTextByte(i)) return false;
  }
  return true;
}

ostra::Result<ostra::BaseArray<ostra::Byte>> MakeTestContainer() {
  ostra::BaseArray<ostra::Byte> text;
  OSTRA_RETURN_IF_ERROR(text.Resize(kTextSize));
  for (ostra::Int i = 0; i < kTextSize; ++i) text[i] = GetTextByte(i);
  return ostra::EncodeContainer(text.GetBlock());
}

bool RunRound(Decoder& decoder, const ostra::BaseArray<ostra::Byte>& container, ostra::BaseArray<ostra::Byte>& bytes,
              bool isFirst) {
  if (!bytes.Resize(container.GetCount())) return false;
  std::memcpy(bytes.GetFirst(), container.GetFirst(), static_cast<std::size_t>(container.GetCount()));
  bool succeeded = true;
  const double seconds = Time([&] { succeeded = decoder.decode(bytes); });
  if (!isFirst) decoder.values.push_back(static_cast<double>(kTextSize) / seconds / 1e9);
  if (succeeded && (!isFirst || IsRight(decoder, bytes))) return true;
  std::fprintf(stderr, "decode: the result of \"%s\" is wrong.\n", decoder.name);
  return false;
}

}  // namespace

bool RunDecode(const Options& options) {
  const auto container = MakeTestContainer();
  if (!container) return false;
  std::vector<Decoder> decoders = {{"ours", &DecodeOurs, 0, {}},
                                   {"libcrypto", &DecodeDirectly, ostra::kContainerTextStart, {}}};
  std::erase_if(decoders, [&](const Decoder& decoder) { return !Wants(options, decoder.name); });
  ostra::BaseArray<ostra::Byte> bytes;
  // The first round is the one that is checked.
  for (int round = 0; round <= options.runs; ++round) {
    for (Decoder& decoder : decoders) {
      if (!RunRound(decoder, *container, bytes, round == 0)) return false;
    }
  }
  for (const Decoder& decoder : decoders)
    PrintFigure(decoder.name, "decode", "64 MiB", "throughput", "GB/s", decoder.values);
  return true;
}

}  // namespace bench
