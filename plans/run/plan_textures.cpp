#include "plans/run/plan_textures.h"

#include <map>

#include "plans/profile/profile.h"
#include "plans/usage_error.h"

OSTRA_UNIT("plan_textures");

namespace ostra::plans {

namespace {

using SettingsByName = std::map<std::string, TextureSettings, std::less<>>;

Result<SettingsByName> ReadSettings(const Assignments& options, const KernelParameters& parameters,
                                    std::string_view option) {
  SettingsByName all;
  for (const auto& [name, text] : options) {
    OSTRA_ASSIGN_OR_RETURN(const Parameter& parameter, parameters.Get(option, name, {ParameterKind::Texture}));
    const auto added = AddTextureSettings(text, *parameter.texture, all[name]);
    if (!added) return OSTRA_USAGE_ERROR("@ @: @", option, name, added.GetError());
  }
  for (const auto& [name, settings] : all) {
    const auto checked = CheckTextureSettings(*parameters.Find(name)->texture, settings);
    if (!checked) return OSTRA_USAGE_ERROR("@ @: @", option, name, checked.GetError());
  }
  return all;
}

}  // namespace

Result<std::vector<PlannedTexture>> PlanTextures(const RunOptions& options, const KernelParameters& parameters) {
  OSTRA_ASSIGN_OR_RETURN(SettingsByName settings, ReadSettings(options.textures, parameters, options.names.texture));
  std::vector<PlannedTexture> textures;
  for (const Parameter& parameter : parameters.GetAll()) {
    if (parameter.kind != ParameterKind::Texture) continue;
    const TextureLayout& layout = *parameter.texture;
    std::vector<std::string> sources;
    for (const auto& [name, source] : options.inputs)
      if (name == parameter.name) sources.push_back(source);
    if (sources.empty())
      return OSTRA_USAGE_ERROR("the texture \"@\" (@) has no texels: give @ @=FILE", parameter.name, layout.name,
                               options.names.input, parameter.name);
    ProfilePart part("read files");
    OSTRA_ASSIGN_OR_RETURN(TextureContents contents,
                           LoadTexture(parameter.name, sources, layout, settings[parameter.name], options.names));
    part.AddBytes(contents.texels.GetCount());
    if (contents.layers > 1 && options.backend != Backend::Cpu)
      return OSTRA_USAGE_ERROR("@@the texture \"@\" has @ layers, and textures on the GPU have one",
                               options.names.backend, options.names.backend.empty() ? "" : ": ", parameter.name,
                               contents.layers);
    OSTRA_ASSIGN_OR_RETURN(const InternedId name, InternedId::Create(parameter.name));
    const TextureBindData description = DescribeTexture(layout, settings[parameter.name], contents);
    textures.push_back({name, &layout, std::move(sources), std::move(contents), description});
  }
  return textures;
}

}  // namespace ostra::plans
