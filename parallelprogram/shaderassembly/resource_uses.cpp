#include "parallelprogram/shaderassembly/resource_uses.h"

#include <algorithm>
#include <charconv>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/drawport/shader_assembly.h"
#include "parallelprogram/kernelfront/edited_text.h"

OSTRA_UNIT("resource_uses");

namespace ostra {

namespace {

using Code = kernelfront::EditedText;

// Every word that is looked for has one of these letters; most texts have none.
Bool MayUse(std::string_view text) {
  for (const std::string_view letters : {"TextureLayer", "GetFramebufferTexel", "RenderNoise"})
    if (text.find(letters) != std::string_view::npos) return true;
  return false;
}

std::string_view GetWord(const Code& code, std::size_t i) {
  return code.IsWord(i) ? code.GetText(code.GetTokens()[i]) : std::string_view();
}

// The name at token `i`: "name", or that of "UNIFORM(name)".
std::string_view GetName(const Code& code, std::size_t i) {
  return GetWord(code, code.Is(i, "UNIFORM") && code.Is(i + 1, "(") ? i + 2 : i);
}

// One more than the number at token `i`, 0 for anything else.
Int GetCountOfNumber(const Code& code, std::size_t i) {
  if (i >= code.GetTokens().size()) return 0;
  const std::string_view number = code.GetText(code.GetTokens()[i]);
  Int index = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), index);
  return error == std::errc() ? std::min(index, kMaxNoiseTables - 1) + 1 : 0;
}

// The texture that is read sample by sample in the arguments whose parenthesis is token `open`; empty without one.
std::string_view FindTextureOfSamples(const Code& code, std::size_t open) {
  if (!code.Is(open + 2, "(")) return {};
  if (code.Is(open + 1, "PassMultisampledTexture")) return GetName(code, open + 3);
  if (!code.Is(open + 1, "PassTexture")) return {};
  const std::size_t after = code.FindAfterClosing(open);
  const std::size_t end = after == 0 ? code.GetTokens().size() : after;
  for (std::size_t i = open + 3; i < end; ++i)
    if (code.Is(i, "InSampleID")) return GetName(code, open + 3);
  return {};
}

Bool Contains(const std::vector<std::string_view>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

Result<ResourceUses> ResourceUses::Find(const ShaderParser& parser) {
  ResourceUses uses;
  OSTRA_RETURN_IF_ERROR(CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<void> {
    uses.Read(parser.GetKernelCode(), false);
    for (const String& define : parser.GetDefines()) uses.Read(define, false);
    for (const ShaderFunctionDefinition& function : parser.GetFunctions()) uses.Read(function.body, true);
    return OK;
  }));
  const Int marks = parser.GetNoiseCallCount();
  uses._noiseTableCount = marks == 0 ? 0 : std::min(std::max(marks, uses._noiseTableCount), kMaxNoiseTables);
  return uses;
}

void ResourceUses::Read(std::string_view text, Bool isFunction) {
  if (!MayUse(text)) return;
  const Code code({"", text});
  for (std::size_t i = 0; i < code.GetTokens().size(); ++i) {
    if (!code.IsWord(i) || !code.Is(i + 1, "(")) continue;
    const std::string_view word = GetWord(code, i);
    if (word == "SampleTextureLayer" || word == "FetchTextureLayer") _layered.push_back(GetName(code, i + 2));
    if (word == "RenderNoise") _noiseTableCount = std::max(_noiseTableCount, GetCountOfNumber(code, i + 2));
    // Functions read the texels of their sampler parameters.
    if (word == "GetFramebufferTexel" && !isFunction) _bySample.push_back(FindTextureOfSamples(code, i + 1));
  }
}

Bool ResourceUses::IsReadWithLayer(std::string_view texture) const { return Contains(_layered, texture); }

Bool ResourceUses::IsReadBySample(std::string_view texture) const {
  return !texture.empty() && Contains(_bySample, texture);
}

}  // namespace ostra
