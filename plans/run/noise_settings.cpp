#include "plans/run/noise_settings.h"

#include <algorithm>
#include <charconv>
#include <map>

#include "parallelprogram/program/noise_modes.h"
#include "plans/names/nearest_name.h"
#include "plans/usage_error.h"
#include "plans/values/typed_value.h"

OSTRA_UNIT("noise_settings");

namespace ostra::plans {

namespace {

constexpr std::string_view kMode = "noiseMode_", kSeed = "noiseSeed_";

std::string_view GetNoiseName(const Id& noiseClass) {
  const std::string_view id = noiseClass.GetView();
  return id.substr(id.rfind('.') + 1);
}

// Texts that begin like a number are one.
Result<Int32> ParseMode(std::string_view text) {
  if (!text.empty() && text.find_first_of("0123456789+-") == 0) {
    OSTRA_ASSIGN_OR_RETURN(const Data value, ParseValue(GetDataType<Int32>(), text));
    OSTRA_ASSIGN_OR_RETURN(const Int32 mode, value.ConvertTo<Int32>());
    if (mode >= 0 && mode < kNoiseModeCount) return mode;
    return OSTRA_USAGE_ERROR("there is no mode @: modes go from 0 (@) to @ (@)", mode, GetNoiseName(GetNoiseClass(0)),
                             kNoiseModeCount - 1, GetNoiseName(GetNoiseClass(kNoiseModeCount - 1)));
  }
  std::vector<std::string> names;
  for (Int32 mode = 0; mode < kNoiseModeCount; ++mode) {
    names.emplace_back(GetNoiseName(GetNoiseClass(mode)));
    if (names.back() == text) return mode;
  }
  return OSTRA_USAGE_ERROR("there is no noise \"@\"@", text, SuggestName(text, names));
}

Result<Int32> ParseSeed(std::string_view text) {
  OSTRA_ASSIGN_OR_RETURN(const Data value, ParseValue(GetDataType<Int32>(), text));
  return value.ConvertTo<Int32>();
}

Result<PlannedUniform> MakeUniform(std::string_view prefix, Int number, std::optional<Int32> value) {
  OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(std::string(prefix) + std::to_string(number)));
  OSTRA_ASSIGN_OR_RETURN(Data data, Data::Create(value.value_or(0)));
  return PlannedUniform{name, std::move(data), !value};
}

}  // namespace

std::optional<NoiseSetting> FindNoiseSetting(std::string_view name) {
  const Bool isMode = name.starts_with(kMode);
  if (!isMode && !name.starts_with(kSeed)) return std::nullopt;
  const std::string_view digits = name.substr(kMode.size());
  Int number = 0;
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const Bool isNumber = code == std::errc() && std::to_string(number) == digits;
  if (!isNumber || number < 0) return std::nullopt;
  return NoiseSetting{isMode, number};
}

Result<std::vector<PlannedUniform>> PlanNoises(const Assignments& settings, std::string_view option) {
  std::map<Int, Int32> modes, seeds;
  for (const auto& [name, text] : settings) {
    const auto setting = FindNoiseSetting(name);
    if (!setting) continue;
    if (setting->number >= kMaxNoises)
      return OSTRA_USAGE_ERROR("@ @: a kernel has at most @ noises, numbered from 0", option, name, kMaxNoises);
    const auto value = setting->isMode ? ParseMode(text) : ParseSeed(text);
    if (!value) return OSTRA_USAGE_ERROR("@ @: @", option, name, value.GetError());
    (setting->isMode ? modes : seeds)[setting->number] = *value;
  }
  Int count = 1;
  for (const auto* values : {&modes, &seeds})
    if (!values->empty()) count = std::max(count, values->rbegin()->first + 1);
  std::vector<PlannedUniform> uniforms;
  for (Int i = 0; i < count; ++i) {
    const auto find = [i](const std::map<Int, Int32>& values) {
      const auto found = values.find(i);
      return found == values.end() ? std::nullopt : std::optional(found->second);
    };
    const auto mode = find(modes);
    if (!mode && i > 0)
      return OSTRA_USAGE_ERROR("@: @@ is set, but not @@: noises are numbered without gaps", option,
                               modes.count(count - 1) > 0 ? kMode : kSeed, count - 1, kMode, i);
    OSTRA_ASSIGN_OR_RETURN(PlannedUniform modeUniform, MakeUniform(kMode, i, mode));
    OSTRA_ASSIGN_OR_RETURN(PlannedUniform seedUniform, MakeUniform(kSeed, i, find(seeds)));
    uniforms.push_back(std::move(modeUniform));
    uniforms.push_back(std::move(seedUniform));
  }
  return uniforms;
}

}  // namespace ostra::plans
