// The same SPIR-V converted to Metal text by another program: numbers of resources and layouts have to be those that
// our own Metal text has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

ShaderRecords MakeSample(const Id& language) {
  ShaderRecords records =
      MakeRecords(language,
                  "uint i = InGlobalInvocationID.x;\nuint old;\nAtomicAdd(GetAtomicCounter(hits), 1u, old);\n"
                  "UNIFORM_BUFFER(bodies)[i].place = mul(UNIFORM_BUFFER(turns)[i], UNIFORM_BUFFER(vectors)[i]);\n"
                  "UNIFORM_BUFFER(bodies)[i].turn = UNIFORM(view);\n"
                  "UNIFORM_BUFFER(bodies)[i].mass = SampleTexture(image, vec2(0.5, 0.5)).x * UNIFORM(scale);");
  ShaderStruct body{"Body"_s, {}, {}};
  EXPECT_THAT(body.members.Append(ShaderMember{"float"_s, "mass"_s, {}}), IsOk());
  EXPECT_THAT(body.members.Append(ShaderMember{"mat4"_s, "turn"_s, {}}), IsOk());
  EXPECT_THAT(body.members.Append(ShaderMember{"vec3"_s, "place"_s, {}}), IsOk());
  EXPECT_THAT(records.structs.Append(std::move(body)), IsOk());
  AddValue(records, "scale", DrawportShaderValueType::Float);
  AddValue(records, "view", DrawportShaderValueType::Matrix4);
  AddBuffer(records, "bodies", "Body");
  AddBuffer(records, "vectors", "vec3", DrawportBufferAccess::ReadOnly);
  AddBuffer(records, "turns", "mat3", DrawportBufferAccess::ReadOnly);
  AddCounter(records, "hits");
  AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  return records;
}

// "buffer" to the numbers of all arguments with [[buffer(n)]]; likewise textures and samplers.
std::map<std::string, std::multiset<int>> GetNumbers(const std::string& text) {
  std::map<std::string, std::multiset<int>> numbers;
  const std::regex attribute("\\[\\[(buffer|texture|sampler)\\(([0-9]+)\\)\\]\\]");
  for (std::sregex_iterator i(text.begin(), text.end(), attribute), end; i != end; ++i)
    numbers[(*i)[1]].insert(std::stoi((*i)[2]));
  return numbers;
}

class CrossCheckTest : public testing::Test {
 protected:
  // What the converter prints about the GLSL program.
  std::string Convert(const std::string& options) {
    ShaderRecords records = MakeSample(kShadingLanguageGlsl);
    const AssembledShader shader = Assemble(records);
    auto compiled = CompileShader(records.language, records.stage, shader, {.isOptimized = false, .keepsNames = true});
    EXPECT_THAT(compiled, IsOk());
    if (!compiled || !compiled->IsCompiled()) return {};
    std::ofstream(_folder / "k.spv", std::ios::binary)
        .write(reinterpret_cast<const char*>(compiled->words.GetFirst()), compiled->words.GetCount() * 4);
    const std::string command =
        "spirv-cross " + (_folder / "k.spv") + " " + options + " --output " + (_folder / "k.out");
    EXPECT_EQ(std::system(command.c_str()), 0) << "spirv-cross is one of the packages of scripts/test_packages.txt";
    std::stringstream text;
    text << std::ifstream(_folder / "k.out").rdbuf();
    return text.str();
  }

  TemporaryFolder _folder;
};

TEST_F(CrossCheckTest, ResourcesHaveTheNumbersOfTheBindings) {
  ShaderRecords metal = MakeSample(kShadingLanguageMetal);
  const auto own = GetNumbers(std::string(Assemble(metal).text.GetView()));
  const auto converted = GetNumbers(Convert("--msl --msl-version 20100 --msl-decoration-binding"));
  EXPECT_EQ(own, converted);
  EXPECT_EQ(own.at("buffer").size(), 5u);
  EXPECT_EQ(own.at("sampler"), own.at("texture"));
}

// Metal text has the same numbers in static_assert, see metal_text_test.cpp.
TEST_F(CrossCheckTest, StructsHaveTheLayoutThatMetalTextIsHeldAgainst) {
  const nlohmann::json reflection = nlohmann::json::parse(Convert("--reflect"));
  std::map<std::string, int> offsets;
  for (const auto& [id, type] : reflection.at("types").items())
    if (type.at("name") == "Body")
      for (const auto& member : type.at("members")) offsets[member.at("name")] = member.at("offset");
  EXPECT_EQ(offsets, (std::map<std::string, int>{{"mass", 0}, {"turn", 4}, {"place", 68}}));
}

}  // namespace
}  // namespace ostra::test
