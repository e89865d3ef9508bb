#include "plans/run/kernel_parameters.h"

#include <algorithm>

#include "ostra/object/class.h"
#include "ostra/render/render_noise.h"
#include "parallelprogram/program/kernel_interface.h"
#include "parallelprogram/program/kernel_report.h"
#include "plans/names/nearest_name.h"
#include "plans/usage_error.h"
#include "plans/values/scalar_type.h"

OSTRA_UNIT("kernel_parameters");

namespace ostra::plans {

namespace {

Parameter DescribeParameter(std::string_view name, DataType type) {
  const std::string text(name);
  if (type.IsMadeWith(kBlockParametricType) && type.GetInnerType() == GetDataType<RenderNoiseRef>())
    return {text, ParameterKind::Noise, type};
  if (type.IsMadeWith(kBlockParametricType)) return {text, ParameterKind::Buffer, type.GetInnerType()};
  const Bool isCounter = type.IsPointer() && type.GetInnerType().IsMadeWith(kAtomicParametricType);
  if (isCounter) return {text, ParameterKind::Counter, GetDataType<UInt32>()};
  const TextureLayout* texture = type.IsPointer() ? FindTextureLayout(type.GetInnerType()) : nullptr;
  if (texture) return {text, ParameterKind::Texture, type.GetInnerType(), texture};
  return {text, GetElementLayout(type) ? ParameterKind::Uniform : ParameterKind::Other, type};
}

}  // namespace

const char* GetKindName(ParameterKind kind) {
  switch (kind) {
    case ParameterKind::Uniform:
      return "uniform";
    case ParameterKind::Buffer:
      return "buffer";
    case ParameterKind::Texture:
      return "texture";
    case ParameterKind::Counter:
      return "counter";
    default:
      return "parameter";
  }
}

Result<KernelParameters> KernelParameters::Read(std::string_view classId) {
  OSTRA_ASSIGN_OR_RETURN(const ClassRegistry& registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const Id id, Id::Create(classId));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, registry.FindEntryValue(id));
  OSTRA_ASSIGN_OR_RETURN(const KernelRef kernel, kernelClass->CreateObject<KernelInterface>());
  OSTRA_RETURN_IF_ERROR(kernel->Init());
  std::vector<Parameter> parameters;
  for (const auto& [name, parameter] : kernel->GetKernelParameterMap())
    parameters.push_back(DescribeParameter(name.GetView(), parameter.type));
  return KernelParameters(std::move(parameters));
}

KernelParameters::KernelParameters(std::vector<Parameter> parameters) : _parameters(std::move(parameters)) {
  // The program gives it.
  std::erase_if(_parameters, [](const Parameter& parameter) { return parameter.name == kReportBuffer; });
  std::sort(_parameters.begin(), _parameters.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
}

const Parameter* KernelParameters::Find(std::string_view name) const {
  for (const Parameter& parameter : _parameters)
    if (parameter.name == name) return &parameter;
  return nullptr;
}

Bool KernelParameters::HasNoise() const {
  return std::any_of(_parameters.begin(), _parameters.end(),
                     [](const Parameter& parameter) { return parameter.kind == ParameterKind::Noise; });
}

// "buffer or texture": the kinds that this kernel has, or the first one when it has none.
std::string KernelParameters::NameKinds(std::initializer_list<ParameterKind> kinds) const {
  std::string text;
  for (const ParameterKind kind : kinds) {
    const Bool isThere = std::any_of(_parameters.begin(), _parameters.end(),
                                     [kind](const Parameter& parameter) { return parameter.kind == kind; });
    if (isThere) text += (text.empty() ? "" : " or ") + std::string(GetKindName(kind));
  }
  return text.empty() ? GetKindName(*kinds.begin()) : text;
}

Result<const Parameter&> KernelParameters::Get(std::string_view option, std::string_view name,
                                               std::initializer_list<ParameterKind> kinds) const {
  const auto fits = [&](const Parameter& parameter) {
    return std::count(kinds.begin(), kinds.end(), parameter.kind) > 0;
  };
  const Parameter* found = Find(name);
  if (found && fits(*found)) return *found;
  if (found)
    return OSTRA_USAGE_ERROR("@: \"@\" is a @, not a @", option, name, GetKindName(found->kind), NameKinds(kinds));
  std::vector<std::string> names;
  for (const Parameter& parameter : _parameters)
    if (fits(parameter)) names.push_back(parameter.name);
  const Bool isUniform = std::count(kinds.begin(), kinds.end(), ParameterKind::Uniform) > 0;
  if (isUniform && HasNoise()) names.insert(names.end(), {"noiseMode_0", "noiseSeed_0"});
  return OSTRA_USAGE_ERROR("@: the kernel has no @ \"@\"@", option, NameKinds(kinds), name, SuggestName(name, names));
}

}  // namespace ostra::plans
