#include "apps/ostra/languageserver/message_stream.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "ostra/core/format.h"
#include "plans/values/text.h"

OSTRA_UNIT("languageserver");

namespace ostra::tool {

using namespace plans;

namespace {

constexpr std::string_view kEnd = "\r\n\r\n";

Bool IsSameWord(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) == std::tolower(static_cast<unsigned char>(right));
  });
}

// The number of "Content-Length: N" among the lines of a header.
Result<std::size_t> ReadLength(std::string_view header) {
  for (std::string_view line : SplitText(header, '\n')) {
    const std::size_t colon = std::min(line.find(':'), line.size());
    if (!IsSameWord(TrimText(line.substr(0, colon)), "Content-Length")) continue;
    std::string_view number = line.substr(std::min(colon + 1, line.size()));
    while (number.ends_with('\r')) number.remove_suffix(1);
    number = TrimText(number);
    std::size_t length = 0;
    const auto read = std::from_chars(number.data(), number.data() + number.size(), length);
    if (read.ec != std::errc() || read.ptr != number.data() + number.size())
      return OSTRA_ILLEGAL_ARGUMENT("the length of a message is no number: \"@\"", number);
    if (length > MessageReader::kMaxMessage)
      return OSTRA_ILLEGAL_ARGUMENT("a message of @ bytes is longer than @", length, MessageReader::kMaxMessage);
    return length;
  }
  return OSTRA_ILLEGAL_ARGUMENT("a message begins without \"Content-Length\"");
}

}  // namespace

Result<Bool> MessageReader::Take(std::string& message) {
  const std::size_t end = _bytes.find(kEnd);
  if (end == std::string::npos || end > kMaxHeader) {
    if (_bytes.size() <= kMaxHeader) return false;
    return OSTRA_ILLEGAL_ARGUMENT("a message begins without \"Content-Length\"");
  }
  OSTRA_ASSIGN_OR_RETURN(const std::size_t length, ReadLength(std::string_view(_bytes).substr(0, end)));
  const std::size_t begin = end + kEnd.size();
  if (_bytes.size() - begin < length) return false;
  message.assign(_bytes, begin, length);
  _bytes.erase(0, begin + length);
  return true;
}

std::string FrameMessage(std::string_view message) {
  return "Content-Length: " + std::to_string(message.size()) + "\r\n\r\n" + std::string(message);
}

}  // namespace ostra::tool
