// The program of docs/shader-loader.md: it is what the page shows, and it draws its picture.
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "ostra/image/image.h"
#include "tests/drawport_vulkan/gpu_test.h"

namespace ostra::test {
namespace {

std::string ReadText(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

TEST(LoaderExampleTest, ThePageShowsTheProgramThatIsBuilt) {
  const std::string page = ReadText(OSTRA_TEST_PAGE);
  for (const char* file :
       {"triangle.cpp", "CMakeLists.txt", "shaders/net.example.triangle.vert", "shaders/net.example.triangle.frag"}) {
    const std::string text = ReadText(std::string(OSTRA_TEST_EXAMPLE "/") + file);
    ASSERT_FALSE(text.empty()) << file;
    EXPECT_NE(page.find(text), std::string::npos) << file;
  }
}

TEST_F(GpuTest, TheExampleDrawsItsTriangle) {
  const std::string picture = testing::TempDir() + "ostra_triangle.png";
  std::remove(picture.c_str());
  ASSERT_EQ(std::system((std::string(OSTRA_TEST_TRIANGLE " " OSTRA_TEST_EXAMPLE " ") + picture).c_str()), 0);
  const Image image = Take(ReadImage(*Url::Create(picture)));
  std::remove(picture.c_str());
  ASSERT_EQ(image.width, 256);
  const auto getRed = [&](Int x, Int y) { return image.rgba[4 * (y * image.width + x)]; };
  EXPECT_EQ(getRed(5, 5), 0.0f);
  EXPECT_NEAR(getRed(128, 128), 0.5f, 0.02f);
  EXPECT_GT(getRed(128, 60), getRed(128, 200));
}

}  // namespace
}  // namespace ostra::test
