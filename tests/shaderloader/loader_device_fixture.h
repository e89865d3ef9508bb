// A shader loader on the GPU backend of this machine, which draws into small targets.
//
//   Write("p.vert", {"(attribute Vector2d32) position"}, "\tOutPosition = vec4(position.x, position.y, 0.5, 1.0);\n");
//   Write("p.frag", {"(out Vector4d32) f_color"}, "\tf_color = vec4(1.0, 0.0, 0.0, 1.0);\n");
//   Add("p"_iid, {"p.vert", "p.frag"});
//   StoreVertices({-1, -1, 1, -1, -1, 1});
//   EXPECT_EQ(Draw(3).At(0, 7), kRed);
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>

#include "ostra/config/configuration.h"
#include "ostra/render/gradient.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/program/shader_data_entries.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"
#include "tests/drawport_vulkan/graphics_fixture.h"
#include "tests/shaderloader/stage_text.h"
#include "tests/support/arrays.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {

class LoaderDeviceTest : public GraphicsTest {
 protected:
  void SetUp() override {
    GraphicsTest::SetUp();
    if (!_context) return;
    Take(_host->LoadModule("parallelprogram"));
    std::filesystem::create_directories(folder / "shaders");
    loader = MakeLoader();
    target = MakeTarget(8, 8);
  }
  void TearDown() override {
    loader = nullptr;
    GraphicsTest::TearDown();
  }
  GeneralShaderLoaderRef MakeLoader() {
    auto made = Take(CreateObject<GeneralShaderLoaderInterface>(kGeneralShaderLoaderClass));
    Take(made->Init(*Url::Create(folder.string()), &_context));
    return made;
  }
  static void Set(const char* variable, const char* value) {
    EXPECT_THAT(Configuration::SetValue(variable, value, "test"), IsOk());
  }

  // Writes a file of the resource folder with a stamp of its own.
  void WriteText(const std::string& name, const std::string& text) {
    const auto path = folder / "shaders" / name;
    std::ofstream(path) << text;
    std::filesystem::last_write_time(path, std::filesystem::file_time_type(std::chrono::seconds(1'000'000 + ++stamp)));
  }
  void Write(const std::string& name, const std::vector<std::string>& inputs, const std::string& body) {
    WriteText(name, MakeStageText(inputs, body));
  }
  // A vertex stage that hands its position of two floats on as it is.
  void WritePlainVertexStage(const std::string& name, const std::string& depth = "0.5") {
    Write(name, {"(attribute Vector2d32) position"},
          "\tOutPosition = vec4(position.x, position.y, " + depth + ", 1.0);\n");
  }
  void WriteColor(const std::string& name, const std::string& color) {
    Write(name, {"(out Vector4d32) f_color"}, "\tf_color = " + color + ";\n");
  }

  static BaseArray<Url> MakeFiles(const std::vector<std::string>& names) {
    BaseArray<Url> files;
    for (const std::string& name : names) Take(files.Append(*Url::Create("relative://" + name)));
    return files;
  }
  Result<Bool> TryAdd(InternedId id, const std::vector<std::string>& names,
                      const DataDictionary& parameters = DataDictionary()) {
    return loader->AddShaders(id, MakeFiles(names), 0, target.GetPointer(), parameters, true);
  }
  void Add(InternedId id, const std::vector<std::string>& names, const DataDictionary& parameters = DataDictionary()) {
    Take(TryAdd(id, names, parameters));
  }
  // Makes `values` what the active program is drawn from.
  void StoreVertices(const std::vector<Float32>& values) {
    Take(loader->StoreVertexBufferData("vertices"_iid, MakeArray(values)));
    Take(loader->SetVertexBufferToActiveProgramSameId("vertices"_iid));
  }
  // Two triangles over everything.
  void StoreAll() { StoreVertices({-1, -1, 1, -1, 1, 1, -1, -1, 1, 1, -1, 1}); }

  // What the getters return.
  DrawportDrawCall GetCall(Int count) {
    DrawportDrawCall call;
    call.program = Take(loader->GetActiveProgramFactory());
    call.values = Take(loader->GetActiveValueSet());
    call.state = Take(loader->GetActiveStateObject());
    call.attributes = Take(loader->GetActiveAttributeSet());
    call.vertices = Take(loader->GetActiveAttributeBuffer());
    call.count = count;
    return call;
  }
  // Draws the active program with its values of now.
  Picture Draw(Int count, DrawportTopology topology = DrawportTopology::Triangles) {
    Take(loader->UpdateUniforms(target.GetPointer()));
    DrawportDrawCall call = GetCall(count);
    call.topology = topology;
    DrawInto(target, {call});
    return Read(target);
  }

  TemporaryFolder temporary;
  const std::filesystem::path folder = temporary.GetPath();
  int stamp = 0;
  GeneralShaderLoaderRef loader;
};

}  // namespace ostra::test
