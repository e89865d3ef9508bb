// Uniform values and counters, and the order in which everything is bound.
#include "tests/shaderloader/loader_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class LoaderUniformsTest : public LoaderTest {
 protected:
  void AddStages() {
    WriteStage("u.vert", {"(attribute Vector32) position", "(Float32) scale", "(Matrix32) transform"});
    WriteStage("u.frag", {"(Float32) scale", "(Vector4d32) tint", "(Vector2d32) shift", "(Vector32) light",
                          "(UInt32) count", "(Int32) mode", "(Vec4<Int32>) corners", "(Vec4<UInt32>) masks",
                          "(Matrix32) transform", "(SquareMatrix32) rotation", "(GradientRenderData) ramp",
                          "(AtomicUInt32*) hits", "(const Block<Float32>) values", "(out Vector4d32) f_color"});
    AddProgram("p"_iid, {"u.vert", "u.frag"});
    TakeCalls();
  }
  std::vector<std::string> UpdateAndTakeCalls() {
    TakeCalls();
    EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
    return TakeCalls();
  }
  static GradientRenderData MakeRed() {
    const GradientRef gradient = *CreateObject<GradientInterface>(kGradientClass);
    for (const Float32 position : {0.0f, 1.0f}) {
      GradientKnot knot;
      knot.color = Vector32(4, 0, 0);
      knot.position = position;
      EXPECT_THAT(gradient->InsertKnot(knot), IsOk());
    }
    return *gradient->InitRender();
  }
};

TEST_F(LoaderUniformsTest, AnUpdateMakesValidAndBracketsTheSetters) {
  AddStages();
  ASSERT_THAT(loader->StoreUniformBufferData("values"_iid, MakeFloats(3)), IsOk());
  ASSERT_THAT(loader->AddAtomicCounter("hits"_iid), IsOk());
  ASSERT_THAT(loader->SetAtomicCounterToActiveProgram("hits"_iid, 1), IsOk());
  ASSERT_THAT(loader->SetUniform("scale"_iid, 2.0f, 0), IsOk());
  ASSERT_THAT(loader->SetUniform("scale"_iid, 3.0f, 1), IsOk());
  EXPECT_THAT(UpdateAndTakeCalls(),
              ElementsAre("valid program for attributes targets", "value set", "start", "float 0.scale = 2",
                          "float 6.scale = 3", "buffer 6.values = 12", "counter 6.hits = 0", "end"));
  EXPECT_EQ(device.valueSets.front(), device.valueSets.back());
  ASSERT_THAT(loader->UpdateUniforms(nullptr), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("valid program for attributes"));
}

TEST_F(LoaderUniformsTest, EveryTypeHasItsSetter) {
  AddStages();
  ASSERT_THAT(loader->SetUniform("scale"_iid, HalfFloat(1.5f), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("tint"_iid, Vec4<HalfFloat>(HalfFloat(2.0f)), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("shift"_iid, Vector2d32(3, 0), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("light"_iid, Vector32(4, 0, 0), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("count"_iid, UInt32(5), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("mode"_iid, Int32(-6), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("corners"_iid, Vec4<Int32>(7), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("masks"_iid, Vec4<UInt32>(8), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("transform"_iid, SquareMatrix4d32(), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("rotation"_iid, SquareMatrix32(), 1), IsOk());
  ASSERT_THAT(loader->SetUniform("unknown"_iid, 9.0f, 1), IsOk());
  const std::vector<std::string> calls = UpdateAndTakeCalls();
  EXPECT_THAT(calls, testing::IsSupersetOf({"float 6.scale = 1.5", "float4 6.tint = 2", "float2 6.shift = 3",
                                            "float3 6.light = 4", "uint 6.count = 5", "int 6.mode = -6",
                                            "int4 6.corners = 7", "uint4 6.masks = 8"}));
  EXPECT_THAT(calls, Contains(testing::StartsWith("mat4 6.transform")));
  EXPECT_THAT(calls, Contains(testing::StartsWith("mat3 6.rotation")));
  EXPECT_THAT(calls, Not(Contains(testing::HasSubstr("unknown"))));
  EXPECT_THAT(calls, Not(Contains(testing::HasSubstr(" 0."))));
}

TEST_F(LoaderUniformsTest, AnEmptyGradientIsDrawnFromBlackToWhite) {
  AddStages();
  EXPECT_THAT(UpdateAndTakeCalls(), Not(Contains(testing::StartsWith("gradient"))));
  ASSERT_THAT(loader->SetUniform("ramp"_iid, GradientRenderData(), 1), IsOk());
  EXPECT_THAT(UpdateAndTakeCalls(), Contains("gradient 6.ramp = 0.5"));
  ASSERT_THAT(loader->SetUniform("ramp"_iid, MakeRed(), 1), IsOk());
  EXPECT_THAT(UpdateAndTakeCalls(), Contains("gradient 6.ramp = 4"));
  // Init makes it anew, with two knots again.
  ASSERT_THAT(loader->Init(*Url::Create(folder.string()), &context), IsOk());
  ASSERT_THAT(loader->SetUniform("ramp"_iid, GradientRenderData(), 1), IsOk());
  EXPECT_THAT(UpdateAndTakeCalls(), Contains("gradient 6.ramp = 0.5"));
}

TEST_F(LoaderUniformsTest, ValuesWithoutSetterAndWithoutValueAreNamed) {
  AddStages();
  EXPECT_THAT(loader->SetUniform("scale"_iid, Data(), 0),
              IsErrorWith(kIllegalArgumentError, "The uniform \"scale\" was given no value."));
  ASSERT_THAT(loader->SetUniform("scale"_iid, Float64(2), 0), IsOk());
  EXPECT_THAT(loader->UpdateUniforms(&pass),
              IsErrorWith(kIllegalArgumentError, "The uniform \"scale\" cannot be given a value of type \"float64\"."));
  ASSERT_THAT(loader->SetUniform("scale"_iid, 2.0f, 0), IsOk());
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
}

TEST_F(LoaderUniformsTest, CountersAreSetReadAndLinked) {
  AddStages();
  const auto isUnknown = IsErrorWith(kIllegalArgumentError, "atomic identifier not found");
  EXPECT_THAT(loader->SetAtomicCounter("hits"_iid, 1), isUnknown);
  EXPECT_THAT(loader->GetAtomicCounter("hits"_iid), isUnknown);
  EXPECT_THAT(loader->SetAtomicCounterToActiveProgram("hits"_iid, 0), isUnknown);
  ASSERT_THAT(loader->AddAtomicCounter("hits"_iid), IsOk());
  EXPECT_EQ(*loader->GetAtomicCounter("hits"_iid), 0u);
  ASSERT_THAT(loader->SetAtomicCounter("hits"_iid, 7), IsOk());
  EXPECT_EQ(*loader->GetAtomicCounter("hits"_iid), 7u);
  // Linked to a stage that does not declare it, it is bound nowhere.
  ASSERT_THAT(loader->SetAtomicCounterToActiveProgram("hits"_iid, 0), IsOk());
  EXPECT_THAT(UpdateAndTakeCalls(), Not(Contains(testing::StartsWith("counter"))));
  ASSERT_THAT(loader->SetAtomicCounterToActiveProgram("hits"_iid, 1), IsOk());
  EXPECT_THAT(UpdateAndTakeCalls(), Contains("counter 6.hits = 0"));
}

TEST_F(LoaderUniformsTest, AProgramWithoutFactoryCannotBeUpdated) {
  WriteSimpleProgram();
  device.hasFactories = false;
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  EXPECT_EQ(*loader->GetActiveProgramFactory(), nullptr);
  EXPECT_EQ(*loader->GetActiveValueSet(), nullptr);
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsErrorWith(kIllegalStateError, "Program factory not initialized"));
  device.hasFactories = true;
  ASSERT_THAT(loader->UpdateActiveProgram(0, &pass), IsOk());
  device.hasFactories = false;
  EXPECT_THAT(
      loader->UpdateUniforms(&pass),
      IsErrorWith(kIllegalStateError, "Illegal state: Condition activeProgram._programFactory not fulfilled. "));
}

TEST_F(LoaderUniformsTest, TheFirstErrorOfTheGpuLayerEndsAnUpdate) {
  AddStages();
  ASSERT_THAT(loader->SetUniform("scale"_iid, 2.0f, 0), IsOk());
  for (const char* call : {"valid program", "value set", "start", "float", "end"}) {
    device.failing = call;
    EXPECT_THAT(loader->UpdateUniforms(&pass), IsErrorWith(kIllegalStateError, "made-up failure")) << call;
    EXPECT_THAT(TakeCalls().back(), testing::StartsWith(call));
  }
  device.failing = "";
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_TRUE(*loader->GetActiveProgramFactory());
}

}  // namespace
}  // namespace ostra::test
