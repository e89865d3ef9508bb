#include "plans/run/run_plan.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "parallelprogram/kernelruntime/position_axes.h"
#include "parallelprogram/program/noise_modes.h"
#include "plans/profile/profile.h"
#include "plans/run/default_size.h"
#include "plans/run/noise_settings.h"
#include "plans/run/plan_textures.h"
#include "plans/usage_error.h"
#include "plans/values/scalar_type.h"
#include "plans/values/typed_value.h"

OSTRA_UNIT("run_plan");

namespace ostra::plans {

using namespace kernelruntime;

namespace {

// Makes a plan step by step, in the order of the functions.
class Planner {
 public:
  Planner(const RunOptions& options, const OpenedKernel& opened, const KernelParameters& parameters)
      : _options(options), _opened(opened), _parameters(parameters) {}

  Result<RunPlan> Make() {
    _plan.isRunOnce = _options.repeatCount == 1 && _options.backend != Backend::Both;
    OSTRA_RETURN_IF_ERROR(CheckNames());
    OSTRA_RETURN_IF_ERROR(LoadInputs());
    OSTRA_RETURN_IF_ERROR(AddTextures());
    OSTRA_RETURN_IF_ERROR(ChooseSize());
    OSTRA_RETURN_IF_ERROR(AddMissingBuffers());
    OSTRA_RETURN_IF_ERROR(AddOutputs());
    OSTRA_RETURN_IF_ERROR(AddSettings());
    OSTRA_RETURN_IF_ERROR(AddNoises());
    OSTRA_RETURN_IF_ERROR(AddAutomaticValues());
    OSTRA_RETURN_IF_ERROR(CheckComplete());
    return std::move(_plan);
  }

 private:
  // Before files are read: names of all options.
  Result<void> CheckNames() {
    OSTRA_RETURN_IF_ERROR(CheckOption(_names.input, _options.inputs, {ParameterKind::Buffer, ParameterKind::Texture}));
    OSTRA_RETURN_IF_ERROR(CheckOption(_names.output, _options.outputs, {ParameterKind::Buffer}));
    OSTRA_RETURN_IF_ERROR(
        CheckOption(_names.value, _options.settings, {ParameterKind::Uniform, ParameterKind::Counter}));
    for (const auto& [first, second] : _options.swaps) {
      OSTRA_ASSIGN_OR_RETURN(const Parameter& a, _parameters.Get(_names.swap, first, {ParameterKind::Buffer}));
      OSTRA_ASSIGN_OR_RETURN(const Parameter& b, _parameters.Get(_names.swap, second, {ParameterKind::Buffer}));
      if (a.type != b.type)
        return OSTRA_USAGE_ERROR("@: \"@\" has elements of @, and \"@\" of @", _names.swap, first, DescribeType(a.type),
                                 second, DescribeType(b.type));
      OSTRA_ASSIGN_OR_RETURN(const InternedId firstName, InternedId::Create(first));
      OSTRA_ASSIGN_OR_RETURN(const InternedId secondName, InternedId::Create(second));
      _plan.swaps.emplace_back(firstName, secondName);
    }
    return OK;
  }

  Result<void> CheckOption(std::string_view option, const Assignments& assignments,
                           std::initializer_list<ParameterKind> kinds) {
    std::set<std::string> names;
    for (const auto& [name, value] : assignments) {
      const Parameter* parameter = _parameters.Find(name);
      if (!parameter && &assignments == &_options.settings && FindNoiseSetting(name)) {
        OSTRA_RETURN_IF_ERROR(CheckNoise(name));
      } else {
        OSTRA_RETURN_IF_ERROR(_parameters.Get(option, name, kinds));
      }
      // Several files are the layers of a texture.
      const Bool mayRepeat = parameter && parameter->kind == ParameterKind::Texture;
      if (!names.insert(name).second && !mayRepeat) return OSTRA_USAGE_ERROR("@: \"@\" is given twice", option, name);
    }
    return OK;
  }

  Result<void> CheckNoise(const std::string& name) {
    if (_parameters.HasNoise()) return OK;
    return OSTRA_USAGE_ERROR("@: the kernel calls no noises, so that \"@\" would change nothing", _names.value, name);
  }

  Result<void> LoadInputs() {
    for (const auto& [name, source] : _options.inputs) {
      if (_parameters.Find(name)->kind == ParameterKind::Texture) continue;
      const DataType type = _parameters.Find(name)->type;
      ProfilePart part("read files");
      auto contents = LoadBuffer(source, type);
      if (!contents) {
        if (contents.GetError().GetKind() != kUsageError) return contents.TakeError();
        return OSTRA_USAGE_ERROR("@ @: @", _names.input, name, contents.GetError());
      }
      const auto kind = contents->isPicture ? SizeSource::Kind::Picture : SizeSource::Kind::Array;
      const Extents& size = contents->size;
      _sizes.push_back({kind, name, source, size, contents->isPicture || size.height > 1 || size.depth > 1});
      OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
      const Int count = contents->elements.GetCount();
      part.AddBytes(count * type.GetSize());
      _plan.buffers.push_back({id, type, count, std::move(contents->elements), source, std::nullopt});
    }
    return OK;
  }

  Result<void> AddTextures() {
    OSTRA_ASSIGN_OR_RETURN(_plan.textures, PlanTextures(_options, _parameters));
    for (const PlannedTexture& texture : _plan.textures)
      _sizes.push_back({SizeSource::Kind::Texture, std::string(texture.name.GetView()), texture.sources.front(),
                        texture.contents.sourceSize, texture.layout->dimensions > 1});
    return OK;
  }

  Result<void> ChooseSize() {
    _domain = FindDomain(_sizes);
    _plan.size = _options.size;
    if (!_plan.size.IsKnown()) {
      const ProfilePart part("front end");
      // Reports ask for positions of their own.
      OSTRA_ASSIGN_OR_RETURN(const KernelSource source, _opened.MakeSource({.isSilent = true}));
      OSTRA_ASSIGN_OR_RETURN(_plan.size,
                             ChooseDefaultSize(_sizes, CountPositionAxes(source.text.GetView()), _names.size));
    }
    // One line of as many invocations as the picture has pixels makes a picture of the same sides.
    const Bool isPictureInOneLine = _domain.IsKnown() && _plan.size == Extents{_domain.GetCount(), 1, 1};
    _plan.pictureSize = isPictureInOneLine ? _domain : _plan.size;
    return OK;
  }

  PlannedBuffer* FindBuffer(std::string_view name) {
    for (PlannedBuffer& buffer : _plan.buffers)
      if (buffer.name.GetView() == name) return &buffer;
    return nullptr;
  }

  // What is only written, and the partners of exchanges, start as zeros.
  Result<void> AddMissingBuffers() {
    std::vector<std::string> names;
    for (const auto& [name, file] : _options.outputs) names.push_back(name);
    for (const auto& [first, second] : _options.swaps) names.insert(names.end(), {first, second});
    for (const std::string& name : names) {
      if (FindBuffer(name)) continue;
      const DataType type = _parameters.Find(name)->type;
      OSTRA_ASSIGN_OR_RETURN(GenericBaseArray zeros, GenericBaseArray::Create(type, _plan.size.GetCount()));
      OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
      const Int count = zeros.GetCount();
      _plan.buffers.push_back({id, type, count, std::move(zeros), "", std::nullopt});
    }
    return OK;
  }

  Result<void> AddOutputs() {
    std::map<std::string, std::string> names;  // of buffers, by file
    for (const auto& [name, file] : _options.outputs) {
      PlannedBuffer& buffer = *FindBuffer(name);
      OSTRA_ASSIGN_OR_RETURN(const Url target, Url::Create(file));
      OSTRA_RETURN_IF_ERROR(CheckBufferTarget(target, buffer.elementType));
      std::error_code code;
      const std::filesystem::path place = std::filesystem::weakly_canonical(file, code);
      const auto [other, isNew] = names.emplace(code ? file : place.native(), name);
      if (!isNew)
        return OSTRA_USAGE_ERROR("@: \"@\" and \"@\" would be written to the same file @", _names.output, other->second,
                                 name, file);
      buffer.target = target;
    }
    return OK;
  }

  Result<void> AddSettings() {
    for (const auto& [name, text] : _options.settings) {
      if (!_parameters.Find(name)) continue;  // a noise
      const Parameter& parameter = *_parameters.Find(name);
      auto value = ParseValue(parameter.type, text);
      if (!value) return OSTRA_USAGE_ERROR("@ @: @", _names.value, name, value.GetError());
      OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(name));
      if (parameter.kind == ParameterKind::Uniform) {
        _plan.uniforms.push_back({id, std::move(*value), false});
      } else {
        OSTRA_ASSIGN_OR_RETURN(const UInt32 start, value->ConvertTo<UInt32>());
        _plan.counters.push_back({id, start});
      }
    }
    return OK;
  }

  Result<void> AddNoises() {
    if (!_parameters.HasNoise()) return OK;
    OSTRA_ASSIGN_OR_RETURN(std::vector<PlannedUniform> noises, PlanNoises(_options.settings, _names.value));
    for (PlannedUniform& noise : noises)
      if (!_parameters.Find(noise.name.GetView())) _plan.uniforms.push_back(std::move(noise));
    return CheckNoiseNumbers();
  }

  // What a kernel with plain numbers in its calls never asks for.
  Result<void> CheckNoiseNumbers() {
    std::optional<Int> count;
    for (const auto& [name, text] : _options.settings) {
      const auto setting = FindNoiseSetting(name);
      if (!setting || setting->number == 0 || _parameters.Find(name)) continue;
      if (!count) {
        OSTRA_ASSIGN_OR_RETURN(const std::optional<Int> called, _opened.CountNoises());
        count = called.value_or(kMaxNoises);
      }
      if (setting->number >= *count)
        return OSTRA_USAGE_ERROR("@: the kernel calls no noise @, so that \"@\" would change nothing", _names.value,
                                 setting->number, name);
    }
    return OK;
  }

  // Counters start at zero; "width" and "height" are those of what is read in rows, or of the run.
  Result<void> AddAutomaticValues() {
    const Extents& size = _domain.IsKnown() ? _domain : _plan.size;
    for (const Parameter& parameter : _parameters.GetAll()) {
      if (IsSet(parameter.name)) continue;
      OSTRA_ASSIGN_OR_RETURN(const InternedId id, InternedId::Create(parameter.name));
      if (parameter.kind == ParameterKind::Counter) _plan.counters.push_back({id, 0});
      const Bool isWidth = parameter.name == "width";
      if (parameter.kind != ParameterKind::Uniform || (!isWidth && parameter.name != "height")) continue;
      auto value = ParseValue(parameter.type, std::to_string(isWidth ? size.width : size.height));
      if (value) _plan.uniforms.push_back({id, std::move(*value), true});
    }
    return OK;
  }

  Bool IsSet(std::string_view name) const {
    return std::any_of(_options.settings.begin(), _options.settings.end(),
                       [&](const auto& setting) { return setting.first == name; });
  }

  Error ExplainMissingBuffer(const Parameter& parameter) const {
    const std::string& name = parameter.name;
    const std::string type = DescribeType(parameter.type);
    if (_names.output.empty())
      return OSTRA_USAGE_ERROR("the buffer \"@\" (@) has no elements: give @ @=FILE or @ @=zeros:SIZE", name, type,
                               _names.input, name, _names.input, name);
    return OSTRA_USAGE_ERROR("the buffer \"@\" (@) has no elements: give @ @=FILE, @ @=zeros:SIZE or @ @=FILE", name,
                             type, _names.input, name, _names.input, name, _names.output, name);
  }

  // A parameter that is left out would silently be zero or point nowhere.
  Result<void> CheckComplete() {
    for (const Parameter& parameter : _parameters.GetAll()) {
      const std::string& name = parameter.name;
      if (parameter.kind == ParameterKind::Buffer && !FindBuffer(name)) return ExplainMissingBuffer(parameter);
      const auto hasName = [&](const PlannedUniform& uniform) { return uniform.name.GetView() == name; };
      if (parameter.kind == ParameterKind::Uniform &&
          std::none_of(_plan.uniforms.begin(), _plan.uniforms.end(), hasName))
        return OSTRA_USAGE_ERROR("the uniform \"@\" (@) has no value: give @ @=VALUE", name,
                                 DescribeType(parameter.type), _names.value, name);
      const DataType pointed = parameter.type.IsPointer() ? parameter.type.GetInnerType() : DataType();
      if (parameter.kind == ParameterKind::Other && pointed.IsPopulated() &&
          pointed.GetName().GetView().find("TextureSamplerObj_") != std::string_view::npos)
        return OSTRA_ILLEGAL_ARGUMENT(
            "The texture \"@\" has the type @, which programs on the CPU cannot have, and this command not fill.", name,
            pointed);
      if (parameter.kind == ParameterKind::Other)
        return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" has the type @, which this command cannot fill.", name,
                                      parameter.type);
    }
    return OK;
  }

  const RunOptions& _options;
  const SettingNames& _names = _options.names;
  const OpenedKernel& _opened;
  const KernelParameters& _parameters;
  RunPlan _plan;
  std::vector<SizeSource> _sizes;  // of buffers and textures that are read
  Extents _domain;                 // of the first picture, or of the first with rows; unknown without both
};

}  // namespace

Result<RunPlan> MakeRunPlan(const RunOptions& options, const OpenedKernel& opened, const KernelParameters& parameters) {
  return Planner(options, opened, parameters).Make();
}

}  // namespace ostra::plans
