#include "apps/ostra/render_command_line.h"

#include "apps/ostra/output/quiet_option.h"
#include "apps/ostra/profile/profile_option.h"
#include "apps/ostra/render/render_command.h"
#include "apps/ostra/render/render_help.h"
#include "apps/ostra/tool_error.h"
#include "ostra/image/picture_format.h"
#include "plans/scene/scene.h"
#include "plans/values/text.h"

OSTRA_UNIT("render_command_line");

namespace ostra::tool {

using namespace plans;

CLI::App& AddRenderCommand(CLI::App& app, RenderArguments& arguments) {
  CLI::App& render = *app.add_subcommand("render", kRenderSummary);
  render.footer(kRenderDetails);
  render.add_option("scene", arguments.scene, "The scene file")->type_name("SCENE.json")->required();
  render.add_option("--out", arguments.target, "The picture to write: " OSTRA_PICTURE_SUFFIXES)
      ->type_name("FILE")
      ->required();
  render.add_option("--size", arguments.size, "Size of the picture (default: that of the scene)")->type_name("WxH");
  render.add_option("--set", arguments.values, "Replace a value of the scene")
      ->type_name("NAME=NUMBER,...")
      ->allow_extra_args(false);
  render
      .add_option("--cache-dir", arguments.cacheFolder,
                  "Where compiled kernels are kept (default: $XDG_CACHE_HOME/ostra or ~/.cache/ostra)")
      ->type_name("DIR");
  AddProfileOption(render, arguments.profile);
  render.add_flag("--json", arguments.isJson, "Report as JSON");
  AddQuietOption(render)->excludes("--json");
  return render;
}

Result<void> RunRender(const RenderArguments& arguments, std::span<const char* const> processArguments) {
  RenderOptions options;
  OSTRA_ASSIGN_OR_RETURN(options.sceneFile, Url::Create(arguments.scene));
  OSTRA_ASSIGN_OR_RETURN(options.target, Url::Create(arguments.target));
  if (!arguments.size.empty()) {
    auto size = ParseExtents(arguments.size);
    if (!size) return OSTRA_USAGE_ERROR("--size: @", size.GetError());
    if (arguments.size.find('x') == std::string::npos)
      return OSTRA_USAGE_ERROR("--size: a picture has a width and a height, such as @x@", arguments.size,
                               arguments.size);
    if (size->depth != 1 || size->width > kMaxSceneSide || size->height > kMaxSceneSide)
      return OSTRA_USAGE_ERROR("--size: a picture has two sides of at most @ pixels, not @", kMaxSceneSide,
                               size->ToText());
    if (size->GetCount() > kMaxImagePixels)
      return OSTRA_USAGE_ERROR("--size: a picture has at most @ pixels, not @", kMaxImagePixels, size->ToText());
    options.size = *size;
  }
  for (const std::string& value : arguments.values) {
    OSTRA_ASSIGN_OR_RETURN(const auto parts, SplitAssignment("--set", value));
    options.values.emplace_back(parts.first, parts.second);
  }
  options.cacheFolder = arguments.cacheFolder;
  options.isProfiled = !arguments.profile.empty();
  OSTRA_ASSIGN_OR_RETURN(options.traceFile, GetTraceFile(arguments.profile));
  options.isJson = arguments.isJson;
  return Render(options, processArguments);
}

}  // namespace ostra::tool
