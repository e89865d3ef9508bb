// Scenes that tests write and let the tool draw, with the validation layer listening.
#pragma once

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

#include "ostra/image/image.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {

class RenderTest : public testing::Test {
 protected:
  // Skips the test, with the reason, on a machine without a device.
  void SetUp() override;

  // Draws a scene of the given text into out.png, 16 x 16 pixels unless the options say otherwise. Expects success and
  // a silent validation layer.
  Image Draw(const std::string& scene, const std::vector<std::string>& options = {"--size", "16x16"});
  // The same, whatever comes of it.
  ToolResult Run(const std::string& scene, const std::vector<std::string>& options = {"--size", "16x16"});

  // "flat.vert" and "flat.frag" draw vertices `position` (2 numbers) at the depth of a uniform in the colour of
  // another.
  void WriteFlatStages();
  // A stage file of the folder: declarations without line ends, and the body.
  void WriteStage(const std::string& name, const std::vector<std::string>& inputs, const std::string& body);

  const TemporaryFolder _folder;
};

// A draw with the flat stages. `more` are further members, such as "\"state\": {}".
std::string MakeFlatDraw(const std::string& vertices, const std::string& color, const std::string& depth = "0.5",
                         const std::string& more = "");
// A scene of one pass.
std::string MakeScene(const std::string& draws, const std::string& more = "");

// Red, green, blue and alpha in steps of 8 bits.
std::vector<int> GetPixel(const Image& image, Int x, Int y);
// How many pixels are not as the first one.
Int CountDrawnPixels(const Image& image);

// The whole picture; its left half.
inline constexpr const char* kWholeQuad = R"({"shape": "quad"})";
inline constexpr const char* kLeftHalf =
    R"({"attributes": {"position": [[-1, -1], [0, -1], [0, 1], [-1, -1], [0, 1], [-1, 1]]}})";

}  // namespace ostra
