// Any bytes as a file: reading it gives a text or an error. The first byte chooses what the others are: a file, the
// blocks of a container under a tag that fits, the text in such blocks with any padding, or a text that is encoded.
#include <cstdlib>
#include <string>
#include <string_view>

#include "ostra/host_classes.h"
#include "parallelprogram/shaderparser/container.h"
#include "tests/support/bytes.h"
#include "tests/support/container_reference.h"

namespace {

using namespace ostra;

constexpr std::string_view kSalt = "0123456789abcdef";

void Require(bool isRight) {
  if (!isRight) std::abort();
}

void DecodeFile(std::string_view file) {
  BaseArray<Byte> bytes = ArrayOf(file);
  const Bool isContainer = IsContainer(bytes.GetBlock());
  const auto decoded = DecodeContainer(bytes);
  // A tag cannot be guessed.
  if (isContainer) Require(!decoded && decoded.GetError().GetMessage() == "hmac different");
  Require(TextOf(bytes) == file);
}

void DecodeBlocks(std::string_view cipherText) {
  BaseArray<Byte> bytes = ArrayOf(reference::SealContainer(kSalt, cipherText));
  const auto decoded = DecodeContainer(bytes);
  if (cipherText.size() % 16 != 0) {
    Require(!decoded);
    return;
  }
  if (!decoded) return;
  const std::string text = reference::Cipher(kSalt, cipherText, false);
  Require(text.compare(0, static_cast<std::size_t>(bytes.GetCount()), TextOf(bytes)) == 0);
}

void DecodePadded(std::string text) {
  text.resize((text.size() + 15) / 16 * 16);
  BaseArray<Byte> bytes = ArrayOf(reference::MakePaddedContainer(kSalt, text));
  const auto decoded = DecodeContainer(bytes);
  const int padding = text.empty() ? -1 : static_cast<signed char>(text.back());
  const bool fits = padding >= 0 && static_cast<std::size_t>(padding) <= text.size();
  Require(decoded.IsOk() == fits);
  if (fits) Require(TextOf(bytes) == text.substr(0, text.size() - static_cast<std::size_t>(padding)));
}

void EncodeText(std::string_view text) {
  auto container = EncodeContainer(BytesOf(text), BytesOf(kSalt));
  Require(container.IsOk() && TextOf(*container) == reference::MakeContainer(kSalt, text));
  Require(DecodeContainer(*container).IsOk() && TextOf(*container) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const Bool isReady = RegisterHostClasses().IsOk();
  Require(isReady);
  if (size == 0) return 0;
  const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  switch (data[0] % 4) {
    case 0:
      DecodeFile(rest);
      break;
    case 1:
      DecodeBlocks(rest);
      break;
    case 2:
      DecodePadded(std::string(rest));
      break;
    default:
      EncodeText(rest);
  }
  return 0;
}
