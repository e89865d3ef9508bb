#include "parallelprogram/kernelfront/plain_kernel.h"

#include <algorithm>
#include <charconv>

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernellanguage/cpp_text.h"

namespace ostra::kernelfront {
namespace {

using kernellanguage::SourceMap;

// Calls `use` with each line.
template <class Use>
void ForEachLine(std::string_view text, Use&& use) {
  while (true) {
    const std::size_t end = text.find('\n');
    use(text.substr(0, end));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

// Where the lines of a text that was written anew come from.
class LineOrigins {
 public:
  LineOrigins(std::string_view text, const std::vector<kernellanguage::TextMark>& marks)
      : _size(text.size()), _marks(marks) {
    for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1))
      _begins.push_back(at + 1);
  }

  std::size_t GetCount() const { return _begins.size(); }
  std::size_t GetBegin(std::size_t line) const { return _begins[line]; }

  // The first mark of the line tells; a line without one belongs to the line before.
  kernellanguage::SourceOffset Find(std::size_t line) const {
    const std::size_t end = line + 1 < _begins.size() ? _begins[line + 1] : _size + 1;
    auto mark = std::lower_bound(_marks.begin(), _marks.end(), _begins[line],
                                 [](const auto& entry, std::size_t at) { return entry.position < at; });
    if (mark == _marks.end() || mark->position >= end) {
      if (mark == _marks.begin()) return kernellanguage::kNoOffset;
      --mark;
    }
    return mark->source;
  }

 private:
  const std::size_t _size;
  const std::vector<kernellanguage::TextMark>& _marks;
  std::vector<std::size_t> _begins{0};
};

}  // namespace

Bool KeepsLineRules(const KernelSourceOptions& options, std::string_view text) {
  try {
    KernelFile(options, text).Read();
    return true;
  } catch (const CpuFailure&) {
    return true;
  } catch (const Failure&) {
    return false;
  }
}

PlainKernel SplitPlainForm(kernellanguage::PlainForm form, const SourceMap& sources) {
  PlainKernel plain;
  for (Int i = 0; i < sources.GetFileCount(); ++i) {
    plain.files.push_back(sources.GetFile(i).name);
    plain.lineCounts.push_back(static_cast<Int>(sources.GetFile(i).lineBegins.size()));
  }
  const LineOrigins lines(form.text, form.marks);
  for (std::size_t line = 0; line < lines.GetCount(); ++line) {
    const auto source = lines.Find(line);
    const Int file = sources.FindFile(sources.GetUse(source));
    auto& origins = lines.GetBegin(line) < form.headerSize ? plain.headerLines : plain.textLines;
    origins.push_back({static_cast<Int32>(std::max<Int>(file, 0)), sources.Locate(source).line});
  }
  plain.reportTable = std::move(form.reportTable);
  plain.header = form.text.substr(0, form.headerSize);
  plain.text = form.text.substr(form.headerSize);
  return plain;
}

std::string MapLines(std::string_view source, const SourceText& plain, const kernellanguage::TextOrigin& origin) {
  const LineOrigins lines(plain.text, origin.marks);
  const std::string ending = Join({" ", Quote(plain.name)});
  std::string mapped;
  std::size_t line = 0;                     // of the plain text, from 1 on; 0 outside of it
  kernellanguage::SourceLocation expected;  // what the compiler takes the next line for
  ForEachLine(source, [&](std::string_view text) {
    if (text.starts_with("#line ")) {
      line = 0;
      expected = {};
      if (text.ends_with(ending)) {
        std::from_chars(text.data() + 6, text.data() + text.size(), line);
        return;
      }
    } else if (line != 0 && line <= lines.GetCount()) {
      const auto place = origin.sources->Locate(lines.Find(line - 1));
      if (place.line != expected.line || place.file != expected.file)
        mapped += kernellanguage::MakeLineDirective(place);
      expected = place;
      ++expected.line;
      ++line;
    }
    mapped += text;
    mapped += '\n';
  });
  if (!mapped.empty()) mapped.pop_back();
  return mapped;
}

}  // namespace ostra::kernelfront
