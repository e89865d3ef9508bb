// A shader loader on the GPU layer that only records, with stage files of the test's own.
//
//   class X : public LoaderTest {};
//   TEST_F(X, ...) {
//     AddProgram("p"_iid, {"a.vert", "a.frag"});       // files that WriteStage has written
//     EXPECT_THAT(TakeCalls(), ...);
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ostra/math/data_types.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/program/shader_data_entries.h"
#include "parallelprogram/shaderloader/general_shader_loader.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"
#include "tests/gpu/recording_drawport.h"
#include "tests/shaderloader/stage_text.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {

class LoaderTest : public testing::Test {
 protected:
  void SetUp() override {
    device.drawsGraphics = true;
    std::filesystem::create_directories(folder / "shaders");
    loaderClass = *CreateGeneralShaderLoaderClass();
    context = device.MakeContext();
    loader = MakeLoader();
  }
  void TearDown() override {
    loader = nullptr;
    context = nullptr;
    g_checkActiveProgramForUpdatedShaders = false;
    ResetStageParserCache();
  }
  GeneralShaderLoaderRef MakeLoader() {
    auto made = *loaderClass->CreateObject<GeneralShaderLoaderInterface>();
    EXPECT_THAT(made->Init(*Url::Create(folder.string()), &context), IsOk());
    return made;
  }
  RecordingCache& GetCache() { return static_cast<RecordingCache&>(*context->GetDrawport()->GetDrawportCache()); }
  std::vector<std::string> TakeCalls() { return device.TakeCalls(); }
  // What a program of the fake was described as.
  const DrawportProgramDescription& GetDescription(const std::string& id) {
    return GetCache().programs.at(id)->description;
  }

  // Writes a file of the resource folder; `seconds` is when it was last changed.
  void WriteFile(const std::string& name, const std::string& text, int seconds = 100) {
    const auto path = folder / "shaders" / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << text;
    std::filesystem::last_write_time(path, std::filesystem::file_time_type(std::chrono::seconds(seconds)));
  }
  void WriteStage(const std::string& name, const std::vector<std::string>& inputs, const std::string& body = "",
                  int seconds = 100) {
    WriteFile(name, MakeStageText(inputs, body), seconds);
  }
  // Two stages: attributes, a varying, a uniform each, a colour.
  void WriteSimpleProgram(const std::string& name = "simple") {
    WriteStage(name + ".vert", {"(attribute Vector32) position", "(attribute Vector2d32) uv",
                                "(varying Vector2d32) texUv", "(Matrix32) transform", "(Float32) scale"});
    WriteStage(name + ".frag", {"(varying Vector2d32) texUv", "(Float32) scale", "(out Vector4d32) f_color"});
  }

  static BaseArray<Url> MakeFiles(const std::vector<std::string>& names) {
    BaseArray<Url> files;
    for (const std::string& name : names)
      EXPECT_THAT(files.Append(name.empty() ? Url() : *Url::Create("relative://" + name)), IsOk());
    return files;
  }
  Result<Bool> TryAddProgram(InternedId id, const std::vector<std::string>& names,
                             const DataDictionary& parameters = DataDictionary()) {
    return loader->AddShaders(id, MakeFiles(names), 0, &pass, parameters, true);
  }
  void AddProgram(InternedId id, const std::vector<std::string>& names,
                  const DataDictionary& parameters = DataDictionary()) {
    const auto added = TryAddProgram(id, names, parameters);
    ASSERT_THAT(added, IsOk());
    EXPECT_TRUE(*added);
  }
  static BaseArray<Float32> MakeFloats(Int count) {
    BaseArray<Float32> values;
    EXPECT_THAT(values.Resize(count), IsOk());
    for (Int i = 0; i < count; ++i) values[i] = static_cast<Float32>(i);
    return values;
  }

  RecordingDevice device;
  RecordingDrawPass pass;
  TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.GetPath();
  ClassRef loaderClass;
  DrawportContextRef context;
  GeneralShaderLoaderRef loader;
};

}  // namespace ostra::test
