// Kernels made from kernel files know what they declare: what they are given is held against it, and nothing that they
// use can be missing.
#include "kernel_declarations_test_kernels.h"
#include "tests/parallelprogram/program_fixture.h"
#include "tests/parallelprogram/texture_family.h"
#include "tests/support/diagnostic_recorder.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

Result<void> RegisterDeclaredKernel() {
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  for (const auto& entry : GetKernels_kernel_declarations_test()) {
    OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, entry.create());
    OSTRA_RETURN_IF_ERROR(registry.Insert(kernelClass));
  }
  return OK;
}

class DeclarationsTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    static const Result<void> registered = RegisterDeclaredKernel();
    ASSERT_THAT(registered, IsOk());
    ASSERT_THAT(program->AddKernel("k"_iid, Url("net.ostra.test.declared.krn"_s), true), IsOk());
    ASSERT_THAT(program->SetUniform("count"_iid, UInt32(2)), IsOk());
    ASSERT_THAT(program->SetUniform("limit"_iid, Float32(10)), IsOk());
    StoreBuffer<Float32>("source"_iid, {1, 2});
    StoreBuffer<Float32>("target"_iid, {0, 0});
    StoreCurve("curve"_iid, 0.5f);
    ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  }
  void StoreCurve(InternedId id, Float32 value) {
    const Texture texture = MakeFloatTexture({2, 1, 1}, 1, {value, value});
    TextureBindData bindData = texture.GetBindData();
    ASSERT_THAT(program->StoreTextureBindData(id, bindData, false), IsOk());
  }
  void LinkBuffers() {
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("source"_iid), IsOk());
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("target"_iid), IsOk());
  }
  void LinkAll() {
    LinkBuffers();
    ASSERT_THAT(program->SetTextureToActiveKernelSameId("curve"_iid), IsOk());
    ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  }
  Result<void> Run() {
    OSTRA_RETURN_IF_ERROR(program->UpdateUniforms());
    return program->DispatchKernel(2, 1, 1, false);
  }
  // Gives the parameter "limit" a value and says what the update makes of it.
  template <class T>
  Result<void> UpdateWith(InternedId name, T value) {
    OSTRA_RETURN_IF_ERROR(program->SetUniform(name, value));
    return program->UpdateUniforms();
  }
  template <class T>
  Result<void> UpdateWithSource(const std::vector<T>& values) {
    OSTRA_RETURN_IF_ERROR(program->StoreUniformBufferData("other"_iid, MakeArray(values)));
    OSTRA_RETURN_IF_ERROR(program->SetBufferToActiveKernel("other"_iid, "source"_iid));
    return program->UpdateUniforms();
  }
};

TEST_F(DeclarationsTest, AKernelRunsWithoutWhatItDeclaresAndDoesNotUse) {
  const DiagnosticRecorder recorder;
  LinkAll();
  ASSERT_THAT(Run(), IsOk());
  EXPECT_THAT(ReadBuffer<Float32>("target"_iid), ElementsAre(10.5f, 20.5f));
  EXPECT_EQ(GetCounter("hits"_iid), 2u);
  EXPECT_THAT(recorder.GetLines(), testing::IsEmpty());
}

TEST_F(DeclarationsTest, TheDispatchNamesTheFirstParameterThatIsNotSet) {
  const auto message = [](std::string_view kind, std::string_view name) {
    return "The " + std::string(kind) + " \"" + std::string(name) + "\" of the kernel \"k\" is not set: link a " +
           std::string(kind) + " to it and call UpdateUniforms before the dispatch.";
  };
  EXPECT_THAT(Run(), IsErrorWith(kIllegalStateError, message("buffer", "source")));
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("source"_iid), IsOk());
  EXPECT_THAT(Run(), IsErrorWith(kIllegalStateError, message("texture", "curve")));
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("curve"_iid), IsOk());
  EXPECT_THAT(Run(), IsErrorWith(kIllegalStateError, message("counter", "hits")));
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  EXPECT_THAT(program->DispatchKernel(2, 2, 1, false), IsErrorWith(kIllegalStateError, message("counter", "hits")));
  EXPECT_THAT(Run(), IsErrorWith(kIllegalStateError, message("buffer", "target")));
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("target"_iid), IsOk());
  EXPECT_THAT(Run(), IsOk());
  EXPECT_THAT(ReadBuffer<Float32>("target"_iid), ElementsAre(10.5f, 20.5f));
}

TEST_F(DeclarationsTest, ADispatchBeforeTheFirstUpdateIsRefused) {
  LinkAll();
  EXPECT_THAT(program->DispatchKernel(2, 1, 1, false), IsErrorContaining(kIllegalStateError, "\"source\""));
  EXPECT_THAT(program->DispatchKernel(0, 1, 1, false), IsOk());
  ASSERT_THAT(Run(), IsOk());
  ASSERT_THAT(program->CopyKernel("k"_iid, "copy"_iid, true), IsOk());
  program->SetActiveKernel("copy"_iid);
  EXPECT_THAT(program->DispatchKernel(2, 1, 1, false),
              IsErrorContaining(kIllegalStateError, "\"source\" of the kernel \"copy\""));
  EXPECT_THAT(Run(), IsOk());
}

TEST_F(DeclarationsTest, ATextureThatWasDeletedIsMissingUntilAnotherIsLinked) {
  LinkAll();
  ASSERT_THAT(Run(), IsOk());
  ASSERT_THAT(program->DeleteTexture("curve"_iid, false), IsOk());
  StoreCurve("other"_iid, 7);
  EXPECT_THAT(program->DispatchKernel(2, 1, 1, false), IsErrorContaining(kIllegalStateError, "The texture \"curve\""));
  EXPECT_THAT(Run(), IsErrorContaining(kIllegalStateError, "The texture \"curve\""));
  ASSERT_THAT(program->SetTextureToActiveKernel("other"_iid, "curve"_iid), IsOk());
  ASSERT_THAT(Run(), IsOk());
  EXPECT_THAT(ReadBuffer<Float32>("target"_iid), ElementsAre(17, 27));
}

TEST_F(DeclarationsTest, ValuesOfAnotherTypeAreRefused) {
  LinkAll();
  const auto message = [](std::string_view name, std::string_view wanted, std::string_view given) {
    return "The parameter \"" + std::string(name) + "\" of the kernel \"k\" is declared as " + std::string(wanted) +
           " and was given a value of type " + std::string(given) + ".";
  };
  EXPECT_THAT(UpdateWith("limit"_iid, 0.5), IsErrorWith(kIllegalArgumentError, message("limit", "float32", "float64")));
  EXPECT_THAT(UpdateWith("limit"_iid, Int32(1)),
              IsErrorWith(kIllegalArgumentError, message("limit", "float32", "int32")));
  EXPECT_THAT(UpdateWith("limit"_iid, "1"_s),
              IsErrorWith(kIllegalArgumentError, message("limit", "float32", "string")));
  ASSERT_THAT(UpdateWith("limit"_iid, Float32(10)), IsOk());
  EXPECT_THAT(UpdateWith("count"_iid, Int64(2)), IsErrorWith(kIllegalArgumentError, message("count", "uint32", "int")));
  // A number without a sign has the same bits as one with it, as on the GPU.
  ASSERT_THAT(UpdateWith("count"_iid, Int32(2)), IsOk());
  ASSERT_THAT(Run(), IsOk());
  EXPECT_THAT(ReadBuffer<Float32>("target"_iid), ElementsAre(10.5f, 20.5f));
}

TEST_F(DeclarationsTest, BuffersOfOtherElementsAreRefused) {
  LinkAll();
  const auto message = [](std::string_view given) {
    return "The buffer \"source\" of the kernel \"k\" is declared with elements of type float32 and was given a buffer "
           "of "
           "type " +
           std::string(given) + ".";
  };
  EXPECT_THAT(UpdateWithSource<Float64>({1, 2}), IsErrorWith(kIllegalArgumentError, message("float64")));
  EXPECT_THAT(UpdateWithSource<UInt8>({1, 2}), IsErrorWith(kIllegalArgumentError, message("uchar")));
  EXPECT_THAT(UpdateWithSource<Int32>({1, 2}), IsErrorWith(kIllegalArgumentError, message("int32")));
  EXPECT_THAT(UpdateWithSource<String>({"a"_s}), IsErrorWith(kIllegalArgumentError, message("string")));
  // What was refused is not in the kernel either.
  EXPECT_THAT(program->DispatchKernel(2, 1, 1, false), IsErrorContaining(kIllegalStateError, "\"source\""));
  EXPECT_THAT(UpdateWithSource<Float32>({3, 4}), IsOk());
  ASSERT_THAT(Run(), IsOk());
  EXPECT_THAT(ReadBuffer<Float32>("target"_iid), ElementsAre(30.5f, 40.5f));
}

TEST_F(DeclarationsTest, ParametersOfAnotherKindAreRefused) {
  const auto message = [](std::string_view name, std::string_view declared, std::string_view given) {
    return "The parameter \"" + std::string(name) + "\" of the kernel \"k\" is declared as a " + std::string(declared) +
           " and was given a " + std::string(given) + ".";
  };
  ASSERT_THAT(program->SetBufferToActiveKernel("source"_iid, "limit"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalArgumentError, message("limit", "value", "buffer")));
  ASSERT_THAT(program->AddKernel("second"_iid, Url("net.ostra.test.declared.krn"_s), true), IsOk());
  ASSERT_THAT(program->SetTextureToActiveKernel("curve"_iid, "hits"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorContaining(kIllegalArgumentError, "declared as a counter"));
  ASSERT_THAT(program->AddKernel("third"_iid, Url("net.ostra.test.declared.krn"_s), true), IsOk());
  EXPECT_THAT(UpdateWith("source"_iid, Float32(1)), IsErrorContaining(kIllegalArgumentError, "declared as a buffer"));
  EXPECT_THAT(program->DispatchKernel(2, 1, 1, false), IsErrorContaining(kIllegalStateError, "The buffer \"source\""));
  // The address of a counter is no counter either: the kernel would get the address of that address.
  ASSERT_THAT(program->AddKernel("pointer"_iid, Url("net.ostra.test.declared.krn"_s), true), IsOk());
  AtomicUInt32 counter;
  EXPECT_THAT(UpdateWith("hits"_iid, &counter),
              IsErrorContaining(kIllegalArgumentError, "declared as a counter and was given a value"));
  ASSERT_THAT(program->AddKernel("fourth"_iid, Url("net.ostra.test.declared.krn"_s), true), IsOk());
  ASSERT_THAT(program->AddAtomicCounter("source"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("source"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorContaining(kIllegalArgumentError, "given a counter"));
}

TEST_F(DeclarationsTest, NamesThatTheKernelDoesNotHaveAreReportedOnceWithTheNearest) {
  LinkAll();
  ASSERT_THAT(program->SetUniform("cuont"_iid, UInt32(2)), IsOk());
  ASSERT_THAT(program->SetUniform("elsewhere"_iid, UInt32(2)), IsOk());
  ASSERT_THAT(program->SetUniform("noiseMode_0"_iid, Int32(0)), IsOk());
  ASSERT_THAT(program->SetUniform("noiseSeed_0"_iid, Int32(0)), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("source"_iid, "sourc"_iid), IsOk());
  const DiagnosticRecorder recorder;
  for (int i = 0; i < 3; ++i) ASSERT_THAT(Run(), IsOk());
  EXPECT_THAT(recorder.GetLines(),
              ElementsAre("The kernel \"k\" has no parameter \"cuont\"; did you mean \"count\"?",
                          "The kernel \"k\" has no parameter \"elsewhere\"; what is set for it is not used.",
                          "The kernel \"k\" has no parameter \"sourc\"; did you mean \"source\"?"));
  EXPECT_THAT(recorder.GetLevels(),
              ElementsAre(DiagnosticLevel::Warning, DiagnosticLevel::Information, DiagnosticLevel::Warning));
}

TEST_F(DeclarationsTest, KernelsWrittenByHandTakeEverythingAsItIs) {
  const DiagnosticRecorder recorder;
  AddKernel("hand"_iid, kScale);
  ASSERT_THAT(program->SetUniform("factr"_iid, 0.5), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_THAT(recorder.GetLines(), testing::IsEmpty());
}

}  // namespace
}  // namespace ostra::test
