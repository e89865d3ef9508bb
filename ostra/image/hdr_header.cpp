#include "ostra/image/hdr_header.h"

#include <charconv>
#include <string_view>

#include "ostra/core/format.h"

OSTRA_UNIT("hdr");

namespace ostra {

namespace {

// Runs of pixels in lines of the longest usual size hold fewer pixels in a byte.
constexpr Int kMaxPixelsPerByte = 4096;

// The next line of a text, without its end; the text begins behind it. False where no line ends.
Bool TakeLine(std::string_view& text, std::string_view& line) {
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos) return false;
  line = text.substr(0, end);
  text.remove_prefix(end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return true;
}

struct Axis {
  char sign = 0, name = 0;
  Int size = 0;
};

// "-Y 480 " at the begin of a line, which begins behind it.
Bool TakeAxis(std::string_view& line, Axis& axis) {
  if (line.size() < 4 || line[2] != ' ') return false;
  axis.sign = line[0];
  axis.name = line[1];
  const char* const last = line.data() + line.size();
  const auto [end, code] = std::from_chars(line.data() + 3, last, axis.size);
  line.remove_prefix(static_cast<std::size_t>(end - line.data()));
  while (line.starts_with(' ')) line.remove_prefix(1);
  const Bool isKnown = (axis.sign == '-' || axis.sign == '+') && (axis.name == 'X' || axis.name == 'Y');
  return isKnown && code == std::errc();
}

// The first axis is that from line to line, the second one that along a line. Y points up, EXIF counts downwards.
Int FindOrientation(const Axis& lines, const Axis& pixels) {
  const Bool isFromTop = lines.sign == '-', isFromLeft = pixels.sign == '+';
  if (lines.name == 'Y') return isFromTop ? (isFromLeft ? 1 : 2) : (isFromLeft ? 4 : 3);
  const Bool isLineFromLeft = lines.sign == '+', isPixelFromTop = pixels.sign == '-';
  return isPixelFromTop ? (isLineFromLeft ? 5 : 6) : (isLineFromLeft ? 8 : 7);
}

// Up to the empty line.
Result<void> SkipVariables(std::string_view& text) {
  std::string_view line;
  if (!TakeLine(text, line) || !line.starts_with("#?")) return OSTRA_ILLEGAL_ARGUMENT("this is no Radiance picture.");
  while (TakeLine(text, line)) {
    if (line.empty()) return OK;
    if (!line.starts_with("FORMAT=") || line == "FORMAT=32-bit_rle_rgbe") continue;
    return OSTRA_ILLEGAL_ARGUMENT("its pixels are \"@\"; known is 32-bit_rle_rgbe: convert the picture to RGB.",
                                  line.substr(7));
  }
  return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: its header does not end.");
}

}  // namespace

Result<HdrLayout> ReadHdrHeader(Block<const Byte> bytes) {
  std::string_view text(reinterpret_cast<const char*>(bytes.GetFirst()), static_cast<std::size_t>(bytes.GetCount()));
  OSTRA_RETURN_IF_ERROR(SkipVariables(text));
  std::string_view line;
  Axis lines, pixels;
  if (!TakeLine(text, line) || !TakeAxis(line, lines) || !TakeAxis(line, pixels) || !line.empty() ||
      lines.name == pixels.name)
    return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: the line of its size is none.");
  const HdrLayout layout{lines.size, pixels.size, FindOrientation(lines, pixels),
                         bytes.GetCount() - static_cast<Int>(text.size())};
  if (lines.size < 1 || pixels.size < 1)
    return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: its size is @ x @.", pixels.size, lines.size);
  if (lines.size > kMaxImagePixels / pixels.size)
    return OSTRA_ILLEGAL_ARGUMENT("a picture of @ x @ pixels is too large, the limit is @ pixels.", pixels.size,
                                  lines.size, kMaxImagePixels);
  const Int rest = static_cast<Int>(text.size());
  if (rest < 4 * lines.size || lines.size * pixels.size > kMaxPixelsPerByte * rest)
    return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: @ bytes cannot hold @ x @ pixels.", rest,
                                  pixels.size, lines.size);
  return layout;
}

}  // namespace ostra
