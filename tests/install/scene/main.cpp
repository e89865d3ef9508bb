// Draws a scene that is a text into a picture.
//
//   scene FOLDER PICTURE.png      the folder has the stage files
#include <cstdio>

#include "plans/render_scene.h"
#include "plans/usage_error.h"

using namespace ostra;

static constexpr std::string_view kScene = R"({"passes": [{"draws": [{
  "stages": ["net.example.triangle.vert", "net.example.triangle.frag"],
  "vertices": {"attributes": {"corner": [[-1, -1], [1, -1], [0, 1]]}},
  "uniforms": {"tint": [1, 0, 0, 1]}}]}]})";

static Result<void> Draw(const char* folder, const char* file) {
  OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create());
  OSTRA_RETURN_IF_ERROR(host.LoadModule("parallelprogram"));
  OSTRA_ASSIGN_OR_RETURN(const Url stages, Url::Create(folder));
  OSTRA_ASSIGN_OR_RETURN(const Image picture,
                         RenderSceneText(host, kScene, "triangle", stages, {.width = 32, .height = 24}));
  // The triangle becomes brighter towards the top.
  const auto getRed = [&](Int x, Int y) { return picture.rgba[4 * (y * picture.width + x)]; };
  if (getRed(16, 12) < 0.4f || getRed(16, 12) > 0.6f || getRed(0, 0) != 0)
    return MakeError(kIllegalStateError, "scene", __LINE__, "Other colours: @, @.", getRed(16, 12), getRed(0, 0));
  const auto refused = RenderSceneText(host, kScene, "triangle", stages, {.values = {{"none", {1}}}});
  if (refused || refused.GetError().GetKind() != plans::kUsageError)
    return MakeError(kIllegalStateError, "scene", __LINE__, "An unknown value is not refused.");
  OSTRA_ASSIGN_OR_RETURN(const Url target, Url::Create(file));
  return WriteImage(target, picture);
}

int main(int argc, char** argv) {
  const Result<void> drawn = argc == 3 ? Draw(argv[1], argv[2]) : Result<void>(OK);
  if (!drawn) std::fprintf(stderr, "%s\n", std::string(drawn.GetError().GetMessage().GetView()).c_str());
  return drawn && argc == 3 ? 0 : 1;
}
