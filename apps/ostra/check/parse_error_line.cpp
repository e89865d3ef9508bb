// The translator's own messages name no line, because clients compare them word for word. This finds it again.
#include <charconv>

#include "apps/ostra/check/lints.h"

namespace ostra::tool {

namespace {

Int CountPieces(std::string_view text, std::string_view separator) {
  Int count = 1;
  for (std::size_t at = text.find(separator); at != std::string_view::npos;
       at = text.find(separator, at + separator.size()))
    ++count;
  return count;
}

// A macro with three arguments up to the first ")".
Bool IsBrokenMacro(const SourceLine& line, std::string_view word) {
  const std::size_t at = line.text.find(word);
  if (at == std::string::npos) return false;
  const std::size_t end = line.text.find(')', at);
  const std::size_t begin = at + word.size() + 1;
  if (end == std::string::npos || end < begin) return true;
  return CountPieces(std::string_view(line.text).substr(begin, end - begin), ", ") != 3;
}

Bool IsBrokenTexel(const SourceLine& line) {
  constexpr std::string_view kWord = " GetFramebufferTexel(";
  const std::size_t at = line.text.find(kWord);
  if (at == std::string::npos) return false;
  const std::size_t end = line.text.rfind(')');
  if (end == std::string::npos || end < at) return true;
  const std::string_view arguments = std::string_view(line.text).substr(at + kWord.size(), end - at - kWord.size());
  const Int count = CountPieces(arguments, ", ");
  return count != 2 && !(count == 3 && arguments.ends_with(", InSampleID"));
}

template <class Predicate>
Int FindLine(const LintedFile& file, Predicate&& isIt) {
  for (const SourceLine& line : file.lines)
    if (isIt(line)) return line.number;
  return 0;
}

// "... at line 12 in file": counted from 0.
Int ReadSecondKernel(std::string_view message) {
  constexpr std::string_view kMark = "Second Kernel function at line ";
  const std::size_t at = message.find(kMark);
  if (at == std::string_view::npos) return 0;
  Int line = 0;
  const std::string_view digits = message.substr(at + kMark.size());
  return std::from_chars(digits.data(), digits.data() + digits.size(), line).ec == std::errc() ? line + 1 : 0;
}

}  // namespace

Int LocateParseError(const LintedFile& file, std::string_view message) {
  if (const Int line = ReadSecondKernel(message); line > 0) return line;
  if (message.starts_with("GROUPSIZE"))
    return FindLine(file, [](const SourceLine& line) {
      return line.text.starts_with("GROUPSIZE") && CountPieces(line.text, " ") != 3;
    });
  for (const std::string_view word : {"MAKELOCAL", "LOCALDATA", "GROUPSHAREDMEM"})
    if (message.starts_with(word))
      return FindLine(file, [word](const SourceLine& line) { return IsBrokenMacro(line, word); });
  if (message.starts_with("GetFramebufferTexel")) return FindLine(file, IsBrokenTexel);
  if (message.starts_with("struct entry is not conforming")) {
    Bool isInside = false;
    return FindLine(file, [&isInside](const SourceLine& line) {
      if (line.text.empty()) isInside = false;
      const Bool isIt = isInside && line.text.find(' ') == std::string::npos;
      if (line.text.starts_with("#define KERNELINPUTS")) isInside = true;
      return isIt;
    });
  }
  if (message.starts_with("wrong combination of numChannels")) {
    const Int line = FindLine(file, [](const SourceLine& candidate) {
      const std::size_t at = candidate.text.find("TextureSampler_");
      if (at == std::string::npos) return false;
      for (const std::string_view element : {"_F32_", "_F16_", "_U8_", "_U16_", "_U32_", "_S32_"})
        for (const std::string_view channels : {"D_R", "D_RG", "D_RGB", "D_RGBA"})
          if (candidate.text.find(std::string(channels).append(element)) != std::string::npos) return false;
      return true;
    });
    return line;
  }
  return 0;
}

}  // namespace ostra::tool
