// Any texts as a kernel file and two headers, for every target: the parse must end with pieces or an error. The first
// byte chooses target and options; bytes of value 1 part the files.
#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "ostra/core/silent_diagnostics.h"
#include "ostra/host_classes.h"
#include "parallelprogram/shaderparser/shader_parser.h"
#include "tests/support/temporary_folder.h"

using namespace ostra;

namespace {

constexpr unsigned char kFileEnd = 1;
// Lines that grow with every rule are for the tests; here they only take time.
constexpr std::size_t kMaxBytes = 4096;

class Folder {
 public:
  // The text up to the next file end; takes it off `texts`.
  void Write(const char* name, std::string_view& texts) const {
    const std::size_t end = std::min(texts.find(static_cast<char>(kFileEnd)), texts.size());
    _folder.Write(name, texts.substr(0, end));
    texts.remove_prefix(std::min(end + 1, texts.size()));
  }
  Url GetUrl(const char* name) const { return _folder.MakeUrl(name); }

 private:
  TemporaryFolder _folder;
};

void Check(bool condition) {
  if (!condition) std::abort();
}

// Every line of a text knows where it came from, in a file that there is.
void CheckOrigins(const ShaderParser& parser, std::string_view text, const ShaderTextOrigins& origins) {
  Check(origins.GetCount() >= std::count(text.begin(), text.end(), '\n'));
  for (const ShaderTextOrigin& origin : origins)
    Check(origin.file >= 0 && origin.file < parser.GetFiles().GetCount() && origin.line >= 0);
}

// No line of a file is left without a note.
void CheckNotes(const ShaderParser& parser) {
  Check(parser.GetLineNotes().GetCount() == parser.GetFiles().GetCount());
  for (const LineNotes& notes : parser.GetLineNotes())
    for (const LineNote& note : notes) Check(note.use != LineUse::Unread);
}

void CheckPieces(const ShaderParser& parser) {
  CheckNotes(parser);
  CheckOrigins(parser, parser.GetKernelCode(), parser.GetKernelCodeOrigins());
  Check(parser.GetGlobalCode().GetCount() == parser.GetGlobalCodeOrigins().GetCount());
  for (Int i = 0; i < parser.GetGlobalCode().GetCount(); ++i)
    CheckOrigins(parser, parser.GetGlobalCode()[i], parser.GetGlobalCodeOrigins()[i]);
  for (const ShaderFunctionDefinition& function : parser.GetFunctions())
    CheckOrigins(parser, function.body, function.bodyOrigins);
  for (const ShaderStructDefinition& found : parser.GetStructs())
    Check(found.members.GetCount() == found.memberLines.GetCount());
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries()) Check(texture.format != nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0 || size > kMaxBytes) return 0;
  // What the parser says about endless headers and full tables stays off the terminal.
  static const SilentDiagnosticStream silence;
  static const Bool isReady = RegisterHostClasses().IsOk();
  Check(isReady);
  static const Folder folder;
  std::string_view texts(reinterpret_cast<const char*>(data) + 1, size - 1);
  folder.Write("k.krn", texts);
  folder.Write("k.h", texts);
  folder.Write("b.h", texts);

  DataDictionary options;
  if (data[0] & 4) Check(options.Set(kShaderTemplateArgument, "Float32"_s).IsOk());
  if (data[0] & 8) Check(options.Set(kShaderMultisampling, Int32(data[0] >> 6)).IsOk());
  static const Id targets[] = {kTargetHlsl, kTargetGlsl, kTargetMetal, "OTHER"_id};
  const auto parser = ShaderParser::Create(targets[data[0] & 3]).GetValue();
  const auto result = parser->Init(folder.GetUrl("k.krn"), options, EndlessSource::Refuse);
  if (result)
    CheckPieces(*parser);
  else
    Check(!parser->PlaceError(result.GetError()).GetMessage().IsEmpty());
  return 0;
}
