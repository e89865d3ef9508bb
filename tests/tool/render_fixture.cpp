#include "tests/tool/render_fixture.h"

#include <cmath>
#include <cstdlib>

#include "tests/support/result_matchers.h"

namespace ostra {

void RenderTest::SetUp() {
  setenv("OSTRA_VULKAN_VALIDATION", "1", 1);
  WriteFlatStages();
  const ToolResult result = Run(MakeScene(""));
  if (result.exitStatus == 0) return;
  const Bool isMissing = result.errors.find("scenes are drawn on a GPU") != std::string::npos;
  EXPECT_TRUE(isMissing) << result.errors;
  GTEST_SKIP() << "There is no GPU device on this machine: " << result.errors;
}

ToolResult RenderTest::Run(const std::string& scene, const std::vector<std::string>& options) {
  _folder.Write("scene.json", scene);
  std::vector<std::string> arguments = {"render", _folder / "scene.json", "--out", _folder / "out.png"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  return RunTool(arguments);
}

Image RenderTest::Draw(const std::string& scene, const std::vector<std::string>& options) {
  const ToolResult result = Run(scene, options);
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  // What the driver writes where there is no layer to listen.
  EXPECT_THAT(result.errors, testing::AnyOf("", testing::HasSubstr("the validation layer is not installed")));
  auto image = ReadImage(_folder.MakeUrl("out.png"));
  EXPECT_THAT(image, IsOk());
  return image ? std::move(*image) : Image::Create(1, 1).GetValue();
}

void RenderTest::WriteStage(const std::string& name, const std::vector<std::string>& inputs, const std::string& body) {
  std::string text = "#define KERNELINPUTS";
  for (const std::string& input : inputs) text += (input == inputs.front() ? " \\\n" : ", \\\n") + input;
  _folder.Write(
      name, text + "\n\nOSTRA_PARALLEL_KERNEL(Stage, KERNELINPUTS)\n{\n" + body + "\n}\nOSTRA_PARALLEL_KERNEL_END\n");
}

void RenderTest::WriteFlatStages() {
  WriteStage("flat.vert", {"(attribute Vector2d32) position", "(Float32) depth"},
             "\tOutPosition = vec4(position.x, position.y, UNIFORM(depth), 1.0);");
  WriteStage("flat.frag", {"(Vector4d32) tint", "(out Vector4d32) color"}, "\tcolor = UNIFORM(tint);");
}

std::string MakeFlatDraw(const std::string& vertices, const std::string& color, const std::string& depth,
                         const std::string& more) {
  return R"({"stages": ["flat.vert", "flat.frag"], "vertices": )" + vertices + R"(, "uniforms": {"tint": )" + color +
         R"(, "depth": )" + depth + "}" + (more.empty() ? "" : ", " + more) + "}";
}

std::string MakeScene(const std::string& draws, const std::string& more) {
  return R"({"passes": [{"draws": [)" + draws + "]" + (more.empty() ? "" : ", " + more) + "}]}";
}

std::vector<int> GetPixel(const Image& image, Int x, Int y) {
  std::vector<int> pixel;
  for (Int i = 0; i < 4; ++i)
    pixel.push_back(static_cast<int>(std::lround(image.rgba[4 * (y * image.width + x) + i] * 255)));
  return pixel;
}

Int CountDrawnPixels(const Image& image) {
  Int count = 0;
  for (Int y = 0; y < image.height; ++y)
    for (Int x = 0; x < image.width; ++x) count += GetPixel(image, x, y) != GetPixel(image, 0, 0);
  return count;
}

}  // namespace ostra
