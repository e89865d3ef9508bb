#include "apps/ostra/check/program_check.h"

#include <filesystem>
#include <map>
#include <set>

#include "parallelprogram/shaderassembly/assembly_records.h"
#include "plans/names/nearest_name.h"
#include "plans/values/scalar_type.h"

namespace ostra::tool {

using namespace plans;

namespace {

struct Stage {
  const FileCheck* check = nullptr;
  const ShaderParser* parser = nullptr;
};
// In the order in which the stages run.
using Program = std::map<DrawportStage, Stage>;

const ShaderInputEntry* FindVarying(const ShaderParser& parser, std::string_view name) {
  for (const ShaderInputEntry& input : parser.GetInputEntries())
    if ((input.kind & kShaderInputVarying) != 0 && input.name == name) return &input;
  return nullptr;
}

std::vector<std::string> ListVaryings(const ShaderParser& parser) {
  std::vector<std::string> names;
  for (const ShaderInputEntry& input : parser.GetInputEntries())
    if ((input.kind & kShaderInputVarying) != 0) names.emplace_back(input.name.GetString().GetView());
  return names;
}

// The lines that the stage receives something in, with its name: declarations of a fragment stage, uses of the control
// points in the others.
std::vector<std::pair<Int, std::string>> ListReceived(const Stage& stage, DrawportStage kind) {
  std::vector<std::pair<Int, std::string>> received;
  if (kind == DrawportStage::Fragment) {
    for (const ShaderInputEntry& input : stage.parser->GetInputEntries())
      if ((input.kind & kShaderInputVarying) != 0)
        received.emplace_back(input.origin.line, input.name.GetString().GetView());
    return received;
  }
  for (const SourceLine& line : SplitSource(stage.check->source))
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      std::string_view arguments;
      if (name == "InPatch" && GetArguments(line.code, at, arguments))
        received.emplace_back(line.number, arguments.substr(0, arguments.find(',')));
    });
  return received;
}

// A file of a stage between two others, which was not given: those do not meet then.
Bool IsStageLeftOut(const std::string& file, DrawportStage before, DrawportStage after) {
  for (const auto& [suffix, stage] : {std::pair(".tsc", DrawportStage::TessellationControl),
                                      std::pair(".tse", DrawportStage::TessellationEvaluation)}) {
    std::error_code ignored;
    if (before < stage && stage < after &&
        std::filesystem::exists(std::filesystem::path(file).replace_extension(suffix), ignored))
      return true;
  }
  return false;
}

void CheckStage(const Stage& before, const Stage& stage, DrawportStage kind, Findings& findings) {
  const auto add = [&](Int line, std::string text) {
    findings.Add({stage.check->file, line, Severity::Error, std::move(text)});
  };
  std::set<std::string> said;
  for (const auto& [line, name] : ListReceived(stage, kind)) {
    if (!said.insert(name).second) continue;
    const ShaderInputEntry* const source = FindVarying(*before.parser, name);
    if (!source) {
      const std::vector<std::string> names = ListVaryings(*before.parser);
      add(line, "the varying " + Quote(name) + " is not handed on by " + before.check->file + SuggestName(name, names));
      continue;
    }
    const ShaderInputEntry* const target = FindVarying(*stage.parser, name);
    if (target && !(target->dataType == source->dataType))
      add(target->origin.line, "the varying " + Quote(name) + " is " + DescribeType(target->dataType) + " here, and " +
                                   DescribeType(source->dataType) + " in " + before.check->file);
  }
}

}  // namespace

void CheckPrograms(const std::vector<FileCheck>& checks, Findings& findings) {
  std::map<std::string, Program> programs;
  for (const FileCheck& check : checks) {
    const auto url = Url::Create(check.file);
    if (!url || check.targets.empty() || !check.targets.front().translation.result) continue;
    const DrawportStage stage = GetStageOfFile(*url);
    if (stage == DrawportStage::Compute) continue;
    Url name = *url;
    name.ClearSuffix();
    programs[std::string(name.GetView())][stage] = {&check, check.targets.front().translation.parser.GetPointer()};
  }
  for (const auto& [name, program] : programs) {
    const Stage* before = nullptr;
    DrawportStage kindBefore = DrawportStage::Vertex;
    for (const auto& [kind, stage] : program) {
      if (before && !IsStageLeftOut(stage.check->file, kindBefore, kind)) CheckStage(*before, stage, kind, findings);
      before = &stage;
      kindBefore = kind;
    }
  }
}

}  // namespace ostra::tool
