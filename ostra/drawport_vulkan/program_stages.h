// The stages of a program: their records with numbers that do not meet, their texts, and whether they fit each other.
#pragma once

#include "ostra/drawport/program_factory_item.h"
#include "ostra/drawport_vulkan/pipeline.h"

namespace ostra::vulkan {

struct ProgramStage {
  DrawportStage stage = DrawportStage::Compute;
  ShaderRecords records;
  AssembledShader shader;
};

// "vertex stage" and so on.
std::string_view GetStageName(DrawportStage stage);

// The stages of a description in the order in which they run: the compute stage, or those of graphics. Resources of all
// stages are numbered through, and a varying has one location in all stages. Errors: illegal argument for stages that
// make no program; those of assembly.
Result<BaseArray<ProgramStage>> MakeProgramStages(const DrawportProgramDescription& description, const Id& language);

// What all stages declare, sorted by number, whether the compiler keeps it or not. Error: out of memory.
Result<BaseArray<PipelineBinding>> ListBindings(const BaseArray<ProgramStage>& stages);

// Whether each stage receives what the one before it gives. Error: illegal argument that names the varying and where it
// is declared.
Result<void> CheckVaryings(const BaseArray<ProgramStage>& stages, const Pipeline& pipeline);

template <class Record>
const Record* FindByName(const BaseArray<Record>& records, std::string_view name) {
  for (const Record& record : records)
    if (record.name == name) return &record;
  return nullptr;
}

}  // namespace ostra::vulkan
