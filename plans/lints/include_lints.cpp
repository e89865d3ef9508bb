// Headers that reach the CPU alone: the translator reads the header of a kernel file, and what that one includes
// between its marks.
#include <algorithm>

#include "ostra/io/file.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "plans/lints/lints.h"
#include "plans/values/text.h"

namespace ostra::plans {

using namespace kernelruntime;

namespace {

// The name in the quotes of an #include line; empty for other lines, and for headers of the system.
std::string_view GetIncludedName(std::string_view code) {
  if (!code.starts_with('#')) return {};
  code = TrimText(code.substr(1));
  if (!code.starts_with("include")) return {};
  const std::size_t open = code.find('"');
  const std::size_t close = open == std::string_view::npos ? open : code.find('"', open + 1);
  return close == std::string_view::npos ? std::string_view() : code.substr(open + 1, close - open - 1);
}

Bool IsRead(const ShaderParser& parser, const Url& file) {
  const auto& files = parser.GetFiles();
  return std::any_of(files.begin(), files.end(), [&file](const Url& read) { return read == file; });
}

}  // namespace

void LintIncludes(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  const auto url = Url::Create(file.name);
  if (!url) return;
  for (const SourceLine& line : file.lines) {
    const std::string_view name = line.use == LineUse::CpuScope ? std::string_view() : GetIncludedName(line.code);
    if (name.empty()) continue;
    const auto header = url->GetDirectory() + name;
    // Headers of the framework, and what is missing altogether, are the compiler's.
    if (!header || IoDetect(*header) != IODETECT::FILE || IsRead(parser, *header)) continue;
    findings.Add({file.name, line.number, Severity::Warning,
                  Quote(name) +
                      " is for the CPU alone: the GPU gets the header of the same name as the kernel file, and "
                      "what that one includes between INCLUDE_STRUCTS_BEGIN and INCLUDE_STRUCTS_END"});
  }
}

void LintMissingHeaders(const ShaderParser& parser, Findings& findings) {
  for (const ShaderMissingHeader& missing : parser.GetPieces().missingHeaders) {
    const Url& file = parser.GetFiles()[missing.origin.file];
    std::string text = "the header " + Quote(missing.name.GetView()) + " is not found: the GPU goes without it";
    if (const auto header = file.GetDirectory() + missing.name.GetView(); header && IoDetect(*header) != IODETECT::FILE)
      if (const std::string similar = FindSimilarFile(*header); !similar.empty())
        text += "; did you mean " + Quote(similar) + "?";
    findings.Add({TextOf(file.GetView()), missing.origin.line, Severity::Warning, std::move(text)});
  }
}

}  // namespace ostra::plans
