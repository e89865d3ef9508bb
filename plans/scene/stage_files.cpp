#include "plans/scene/stage_files.h"

#include <algorithm>

#include "ostra/core/atomic.h"
#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "plans/lints/lint_file.h"
#include "plans/lints/lints.h"

OSTRA_UNIT("stage_files");

namespace ostra::plans {

using namespace kernelruntime;

namespace {

constexpr Int32 kPassedOn = kShaderInputVarying | kShaderInputOut | kShaderInputAttribute;

// `parser` has parsed the file; null before that.
Result<LintedFile> ReadLines(const Url& file, const ShaderParser* parser) {
  OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadSourceText(file));
  LintedFile linted{std::string(file.GetView()), SplitSource(source.text), false, false, true};
  if (parser)
    SetNotes(linted.lines, parser->GetLineNotes()[0]);
  else
    OSTRA_RETURN_IF_ERROR(FindNotes(linted.lines, source.text));
  return linted;
}

class StageReader {
 public:
  StageReader(const Scene& scene, const SceneDraw& draw, Int sampleCount, const Url& folder)
      : _scene(scene), _draw(draw), _sampleCount(sampleCount), _folder(folder) {}

  Result<std::vector<StageFile>> Read() {
    for (std::size_t i = 0; i < _draw.stages.size(); ++i) {
      const std::string path = _draw.path + ".stages[" + std::to_string(i) + "]";
      OSTRA_ASSIGN_OR_RETURN(const Url file, FindStage(_draw.stages[i]));
      const DrawportStage stage = GetStageOfFile(file);
      if (stage == DrawportStage::Compute)
        return MakeError(path,
                         std::string(file.GetView()) + " is no stage: these are .vert, .frag, .tsc and .tse files");
      if (Has(stage))
        return MakeError(path, "the program has two ." + std::string(file.GetSuffix().GetView()) + " files");
      const auto source = ReadSourceBytes(file);
      if (!source) return MakeError(path, source.GetError().GetMessage().GetView());
      OSTRA_RETURN_IF_ERROR(CheckRules(file));
      OSTRA_RETURN_IF_ERROR(CheckTextures(file, nullptr));
      OSTRA_ASSIGN_OR_RETURN(StrongRef<ShaderParser> parser, Parse(file));
      OSTRA_RETURN_IF_ERROR(CheckTextures(file, parser.GetPointer()));
      OSTRA_RETURN_IF_ERROR(CheckPatchDefines(file, stage, *parser));
      if (parser->GetKernelCode().IsEmpty())
        return MakeSourceError(file.GetView(), 0, DescribeMissingKernel(), kOstraUnit, __LINE__);
      OSTRA_ASSIGN_OR_RETURN(const std::optional<Finding> mistake, FindStageFinding(*parser, stage));
      if (mistake) return OSTRA_ILLEGAL_ARGUMENT("@", FormatFinding(*mistake));
      OSTRA_ASSIGN_OR_RETURN(const ShaderRecords records, MakeShaderRecords(*parser, stage));
      StageFile& added = _stages.emplace_back(StageFile{file, stage, std::move(parser), {}});
      for (const ShaderTexture& texture : records.textures)
        if (texture.isMultisampled) added.multisampledTextures.emplace_back(texture.name.GetView());
    }
    OSTRA_RETURN_IF_ERROR(CheckStages());
    return std::move(_stages);
  }

 private:
  Error MakeError(std::string_view path, std::string_view text) const {
    return OSTRA_ILLEGAL_ARGUMENT("@: @: @", _scene.file, path, text);
  }

  Result<Url> FindStage(const std::string& name) const {
    if (_scene.stageFolder.empty()) return FindSceneFile(_folder, name);
    OSTRA_ASSIGN_OR_RETURN(const Url stages, FindSceneFile(_folder, _scene.stageFolder));
    return FindSceneFile(stages, name);
  }

  Bool Has(DrawportStage stage) const {
    return std::any_of(_stages.begin(), _stages.end(), [stage](const StageFile& file) { return file.stage == stage; });
  }

  // Rules about lines that `ostra check` and the loader know as well.
  static Result<void> CheckRules(const Url& file) {
    OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadSourceText(file));
    const auto mistakes = FindSourceMistakes(source.text.GetView());
    if (mistakes.empty()) return OK;
    const std::string_view before = source.text.GetView().substr(0, mistakes[0].position);
    const Int line = std::count(before.begin(), before.end(), '\n') + 1;
    return MakeSourceError(file.GetView(), line, mistakes[0].text, kOstraUnit, __LINE__);
  }

  Result<StrongRef<ShaderParser>> Parse(const Url& file) const {
    OSTRA_ASSIGN_OR_RETURN(StrongRef<ShaderParser> parser, ShaderParser::Create(kTargetGlsl));
    DataDictionary options;
    OSTRA_RETURN_IF_ERROR(options.Set(kShaderMultisampling, static_cast<Int32>(_sampleCount)));
    const auto parsed = parser->Init(file, options, EndlessSource::Refuse, LineEnds::LineFeeds);
    if (parsed) return parser;
    return parser->PlaceError(parsed.GetError());
  }

  // What translator and compiler say about wrong textures is about something else: types before the parse, uses after.
  static Result<void> CheckTextures(const Url& file, const ShaderParser* parser) {
    OSTRA_ASSIGN_OR_RETURN(const LintedFile linted, ReadLines(file, parser));
    Findings findings;
    if (parser)
      LintTextureCalls(linted, *parser, findings);
    else
      LintTextureTypes(linted, findings);
    return findings.GetAll().empty() ? Result<void>(OK)
                                     : OSTRA_ILLEGAL_ARGUMENT("@", FormatFinding(findings.GetAll()[0]));
  }

  // Patches would be divided in another way than the file says.
  Result<void> CheckPatchDefines(const Url& file, DrawportStage stage, const ShaderParser& parser) const {
    if (stage != DrawportStage::TessellationControl && stage != DrawportStage::TessellationEvaluation) return OK;
    OSTRA_ASSIGN_OR_RETURN(const LintedFile linted, ReadLines(file, &parser));
    const std::optional<Finding> found = FindDroppedPatchDefine(linted, parser);
    return found ? OSTRA_ILLEGAL_ARGUMENT("@", FormatFinding(*found)) : Result<void>(OK);
  }

  Result<void> CheckStages() const {
    const std::string path = _draw.path + ".stages";
    const Bool hasControl = Has(DrawportStage::TessellationControl);
    const Bool hasEvaluation = Has(DrawportStage::TessellationEvaluation);
    if (!Has(DrawportStage::Vertex)) return MakeError(path, "a program needs a .vert file");
    if (hasControl != hasEvaluation)
      return MakeError(path, "a program that divides patches needs a .tsc and a .tse file");
    if (hasEvaluation != (_draw.topology == SceneTopology::Patches))
      return MakeError(_draw.path + ".topology", hasEvaluation
                                                     ? R"(a program with .tsc and .tse files draws "patches")"
                                                     : R"(only programs with .tsc and .tse files draw "patches")");
    return OK;
  }

  const Scene& _scene;
  const SceneDraw& _draw;
  const Int _sampleCount;
  const Url& _folder;
  std::vector<StageFile> _stages;
};

}  // namespace

Result<Url> FindSceneFile(const Url& folder, const std::string& name) {
  if (name.starts_with('/') || folder.IsEmpty()) return Url::Create(name);
  return folder + name;
}

Result<std::vector<StageFile>> ReadStageFiles(const Scene& scene, const SceneDraw& draw, Int sampleCount,
                                              const Url& folder) {
  return StageReader(scene, draw, sampleCount, folder).Read();
}

std::string FindLostDeclaration(const std::vector<StageFile>& stages, std::string_view name) {
  for (const StageFile& stage : stages) {
    const auto linted = ReadLines(stage.file, stage.parser.GetPointer());
    if (!linted) continue;
    Findings findings;
    LintDeclarations(*linted, *stage.parser, findings);
    for (const Finding& finding : findings.GetAll())
      if (finding.kind == FindingKind::LostDeclaration && (finding.name == name || finding.name.empty()))
        return FormatFinding({.file = finding.file, .line = finding.line, .text = finding.text});
  }
  return {};
}

Bool IsCounter(const ShaderInputEntry& input) {
  return (input.kind & kPassedOn) == 0 && input.dataType == GetDataType<AtomicUInt32>();
}
Bool IsUniform(const ShaderInputEntry& input) {
  return (input.kind & kPassedOn) == 0 && input.dataType.IsPopulated() && !IsCounter(input);
}
Bool IsBuffer(const ShaderInputEntry& input) { return !input.dataType.IsPopulated(); }
Bool IsAttribute(const ShaderInputEntry& input) { return (input.kind & kShaderInputAttribute) != 0; }

std::vector<std::string> ListInputs(const std::vector<StageFile>& stages, Bool (*isMeant)(const ShaderInputEntry&)) {
  std::vector<std::string> names;
  for (const StageFile& stage : stages)
    for (const ShaderInputEntry& input : stage.parser->GetInputEntries())
      if (isMeant(input)) names.emplace_back(input.name.GetString().GetView());
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

std::vector<std::string> ListTextures(const std::vector<StageFile>& stages) {
  std::vector<std::string> names;
  for (const StageFile& stage : stages)
    for (const ShaderTextureEntry& texture : stage.parser->GetTextureEntries())
      names.emplace_back(texture.name.GetString().GetView());
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

}  // namespace ostra::plans
