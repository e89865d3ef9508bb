#include "ostra/shadercompiler/spirv_checks.h"

#include <new>
#include <spirv-tools/libspirv.hpp>
#include <spirv-tools/optimizer.hpp>
#include <string>

namespace ostra::shadercompiler {

namespace {

spv_target_env GetEnvironment(Bool isHlsl) { return isHlsl ? SPV_ENV_VULKAN_1_1 : SPV_ENV_VULKAN_1_2; }

spvtools::ValidatorOptions MakeRules() {
  spvtools::ValidatorOptions rules;
  rules.SetScalarBlockLayout(true);
  return rules;
}

void RunPasses(Bool isHlsl, Bool isOptimized, std::vector<UInt32>& words) {
  spvtools::Optimizer optimizer(GetEnvironment(isHlsl));
  optimizer.SetMessageConsumer([](spv_message_level_t, const char*, const spv_position_t&, const char*) {});
  if (isHlsl) optimizer.RegisterLegalizationPasses();
  if (isOptimized) optimizer.RegisterPerformancePasses();
  std::vector<UInt32> changed;
  spvtools::OptimizerOptions options;
  options.set_run_validator(false);
  if (optimizer.Run(words.data(), words.size(), &changed, options)) words = std::move(changed);
}

}  // namespace

void CheckSpirv(Bool isHlsl, const std::vector<UInt32>& words, std::vector<ShaderMessage>& messages) {
  spvtools::SpirvTools tools(GetEnvironment(isHlsl));
  std::string report;
  tools.SetMessageConsumer([&report](spv_message_level_t, const char*, const spv_position_t&, const char* message) {
    report.append(report.empty() ? "" : "; ").append(message);
  });
  if (tools.Validate(words.data(), words.size(), MakeRules())) return;
  for (char& c : report)
    if (c == '\n') c = ' ';
  auto text = String::Create("the compiled shader is not valid: " + report);
  if (!text) throw std::bad_alloc();
  messages.push_back({true, 0, std::move(*text)});
}

void LegalizeSpirv(std::vector<UInt32>& words) { RunPasses(true, false, words); }

void OptimizeSpirv(Bool isHlsl, std::vector<UInt32>& words) { RunPasses(isHlsl, true, words); }

}  // namespace ostra::shadercompiler
