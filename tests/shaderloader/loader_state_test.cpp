// Render states: what is read from the draw pass's parameters, and the keys of state objects.
#include "tests/shaderloader/loader_fixture.h"

namespace ostra::test {
namespace {

class LoaderStateTest : public LoaderTest {
 protected:
  void SetUp() override {
    LoaderTest::SetUp();
    WriteSimpleProgram();
    AddProgram("p"_iid, {"simple.vert", "simple.frag"});
    TakeCalls();
  }
  const DrawportStateDescription& GetState() { return (*loader->GetActiveStateObject())->GetDescription(); }
};

TEST_F(LoaderStateTest, WithoutParametersOnlyBlendingIsOn) {
  const DrawportStateDescription& state = GetState();
  EXPECT_EQ(state.GetDepthTestMode(), DrawportDepthTestMode::Off);
  EXPECT_EQ(state.GetCullFace(), DrawportCullFace::None);
  EXPECT_EQ(state.GetFrontFace(), DrawportFrontFace::CounterClockwise);
  EXPECT_EQ(state.GetAlphaBlendingMode(), DrawportAlphaBlendingMode::On);
  EXPECT_EQ(state.GetSourceColorFactor(), DrawportBlendFactor::SourceAlpha);
  EXPECT_EQ(state.GetTargetColorFactor(), DrawportBlendFactor::OneMinusSourceAlpha);
  EXPECT_EQ(state.GetSourceAlphaFactor(), DrawportBlendFactor::One);
  EXPECT_EQ(state.GetTargetAlphaFactor(), DrawportBlendFactor::One);
}

TEST_F(LoaderStateTest, ParametersBecomeTheState) {
  DataDictionary parameters;
  ASSERT_THAT(parameters.Set("depthTest"_iid, Int32(3)), IsOk());
  ASSERT_THAT(parameters.Set("cullMode"_iid, Int(2)), IsOk());
  ASSERT_THAT(parameters.Set("frontFace"_iid, UInt32(1)), IsOk());
  ASSERT_THAT(parameters.Set("useAlphaBlending"_iid, false), IsOk());
  ASSERT_THAT(loader->UpdateActiveStateSet(5, parameters), IsOk());
  const DrawportStateDescription& state = GetState();
  EXPECT_EQ(state.GetDepthTestMode(), DrawportDepthTestMode::LessEqual);
  EXPECT_EQ(state.GetCullFace(), DrawportCullFace::Back);
  EXPECT_EQ(state.GetFrontFace(), DrawportFrontFace::Clockwise);
  EXPECT_EQ(state.GetAlphaBlendingMode(), DrawportAlphaBlendingMode::Off);
  EXPECT_EQ(state.GetSourceColorFactor(), DrawportBlendFactor::One);
}

TEST_F(LoaderStateTest, NumbersAndTypesOutOfRangeAreErrorsAndTheStateStays) {
  DrawportStateObject* before = *loader->GetActiveStateObject();
  for (const char* name : {"depthTest", "cullMode", "frontFace"}) {
    for (const Int32 number : {-1, 8}) {
      DataDictionary parameters;
      ASSERT_THAT(parameters.Set(*InternedId::Create(name), number), IsOk());
      EXPECT_THAT(loader->UpdateActiveStateSet(6, parameters), IsErrorOfKind(kIllegalArgumentError)) << name << number;
    }
    DataDictionary parameters;
    ASSERT_THAT(parameters.Set(*InternedId::Create(name), "less"_s), IsOk());
    EXPECT_THAT(loader->UpdateActiveStateSet(6, parameters), IsErrorOfKind(kIllegalArgumentError)) << name;
  }
  DataDictionary parameters;
  ASSERT_THAT(parameters.Set("useAlphaBlending"_iid, Int32(1)), IsOk());
  EXPECT_THAT(loader->UpdateActiveStateSet(6, parameters), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(*loader->GetActiveStateObject(), before);
}

TEST_F(LoaderStateTest, TheKeyIsMadeOfTheContextTheHashCodeAndTheState) {
  DataDictionary depthTest;
  ASSERT_THAT(depthTest.Set("depthTest"_iid, Int32(1)), IsOk());
  ASSERT_THAT(loader->UpdateActiveStateSet(7, depthTest), IsOk());
  DrawportStateObject* first = *loader->GetActiveStateObject();
  ASSERT_THAT(loader->UpdateActiveStateSet(8, depthTest), IsOk());
  EXPECT_NE(*loader->GetActiveStateObject(), first);
  ASSERT_THAT(loader->UpdateActiveStateSet(7, DataDictionary()), IsOk());
  EXPECT_EQ(GetState().GetDepthTestMode(), DrawportDepthTestMode::Off);
  ASSERT_THAT(loader->UpdateActiveStateSet(7, depthTest), IsOk());
  EXPECT_EQ(*loader->GetActiveStateObject(), first);
  const auto before = GetCache().stateKeys.back();

  const DrawportContextRef old = context;
  context = DrawportContextRef::Adopt(NewObj<RecordingContext>(device, old->GetDrawport()));
  ASSERT_TRUE(loader->UpdateContext(context));
  ASSERT_THAT(loader->UpdateActiveStateSet(7, depthTest), IsOk());
  EXPECT_FALSE(GetCache().stateKeys.back() == before);
  EXPECT_NE(*loader->GetActiveStateObject(), first);
}

TEST_F(LoaderStateTest, ProgramsOfOneNameShareTheObjectOfOneState) {
  DrawportStateObject* first = *loader->GetActiveStateObject();
  AddProgram("q"_iid, {"simple.vert", "simple.frag"});
  EXPECT_EQ(*loader->GetActiveStateObject(), first);
}

}  // namespace
}  // namespace ostra::test
