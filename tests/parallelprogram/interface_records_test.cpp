// The reflection records of the program's and the kernels' interface, against lists of every method.
#include "ostra/object/reflection.h"
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

struct ExpectedMethod {
  const char* name;
  std::string resultType;
  std::vector<std::string> parameterNames;
  std::vector<std::string> parameterTypes;
  Bool isConst;
};

// The spelling of a type in a record, which leaves out the host's namespace wherever it stands.
template <class T>
std::string SpellType() {
  std::string text(GetTypeName<T>());
  const std::string space = "ostra::";
  for (auto place = text.find(space); place != std::string::npos; place = text.find(space))
    text.erase(place, space.size());
  return text;
}

constexpr Bool kConst = true;

template <class R, class... Parameters>
ExpectedMethod Method(const char* name, std::vector<std::string> names, Bool isConst = false) {
  return {name, SpellType<R>(), std::move(names), {SpellType<Parameters>()...}, isConst};
}

void ExpectRecord(const Id& interfaceId, const std::vector<ExpectedMethod>& expected) {
  const auto record = Reflection::Find(interfaceId);
  ASSERT_THAT(record, IsOk());
  const BaseArray<MethodRecord>& methods = (*record)->methods;
  ASSERT_EQ(methods.GetCount(), static_cast<Int>(expected.size()));
  for (Int i = 0; i < methods.GetCount(); ++i) {
    const MethodRecord& method = methods[i];
    const ExpectedMethod& wanted = expected[static_cast<std::size_t>(i)];
    SCOPED_TRACE(testing::Message() << "method " << i + 1 << ", " << wanted.name);
    EXPECT_EQ(method.name, wanted.name);
    EXPECT_EQ(method.resultType, wanted.resultType.c_str());
    EXPECT_EQ(method.isConst, wanted.isConst);
    EXPECT_EQ(method.slot, methods[0].slot + i);
    std::vector<std::string> names;
    std::vector<std::string> types;
    for (const ParameterRecord& parameter : method.parameters) {
      names.emplace_back(parameter.name.GetView());
      types.emplace_back(parameter.type.GetView());
    }
    EXPECT_EQ(names, wanted.parameterNames);
    EXPECT_EQ(types, wanted.parameterTypes);
  }
}

using Done = Result<void>;
using Name = const InternedId&;
using Value = ForwardingDataPtr&&;

const std::vector<ExpectedMethod>& GetProgramMethods() {
  static const std::vector<ExpectedMethod> methods = {
      Method<Done, const Url&, const DrawportContextRef*, Int32, Bool>(
          "Init", {"resourcePath", "context", "deviceIndex", "createOffscreenContext"}),
      Method<Done, Bool>("Execute", {"wait"}),
      Method<Done, Name, const Url&, Bool>("AddKernel", {"kernelId", "file", "wait"}),
      Method<Done, Name, Name, Bool>("CopyKernel", {"sourceKernelId", "newKernelId", "wait"}),
      Method<void>("WaitForKernelCompile", {}),
      Method<Bool, Name>("HasKernel", {"kernelId"}),
      Method<Int32, const String&>("GetProgramCount", {"programName"}),
      Method<void, Name>("SetActiveKernel", {"kernelId"}),
      Method<InternedId>("GetActiveKernelId", {}, kConst),
      Method<Done, Name>("SetBufferToActiveKernelSameId", {"attr"}),
      Method<Done, Name, Name>("SetBufferToActiveKernel", {"attr", "attrKernel"}),
      Method<Done, Name, const Data&>("SetGlobalBufferLink", {"attr", "data"}),
      Method<Result<Data>, Name>("GetGlobalBufferLink", {"attr"}, kConst),
      Method<Result<Data>, Name>("GetGlobalBufferData", {"attr"}, kConst),
      Method<Result<Data>, Name, Int, Int>("GetGlobalBufferData", {"attr", "offset", "count"}, kConst),
      Method<Done, Name, const Data&>("SetKernelBufferLink", {"attr", "data"}),
      Method<Result<Data>, Name>("GetKernelBufferLink", {"attr"}, kConst),
      Method<Result<Data>, Name>("GetKernelBufferData", {"attr"}, kConst),
      Method<Done, Name, const DataType&, Int>("CreateUniformBuffer", {"attr", "dataType", "count"}),
      Method<Done, Name, Int, Bool>("ResizeUniformBuffer", {"attr", "count", "forceResize"}),
      Method<Done, Name, Value>("StoreUniformBufferData", {"attr", "data"}),
      Method<Done, Name, const DataType&, GenericBaseArray&&>("StoreUniformBufferData", {"attr", "dataType", "data"}),
      Method<Done, Name, Int, Value>("UpdateUniformBufferData", {"attr", "offset", "data"}),
      Method<Done, Name, Name, Int, Int, Int>("CopyBufferData",
                                              {"sourceAttr", "targetAttr", "count", "sourceOffset", "targetOffset"}),
      Method<Done, Name, Name, Int, Int, Int>(
          "CopyBufferDataBytes", {"sourceAttr", "targetAttr", "bytesCount", "sourceBytesOffset", "targetBytesOffset"}),
      Method<Done, const BaseArray<InternedId>&>("SetTextureOutOfCoreDeleteOrder", {"deleteOrder"}),
      Method<Done, Name>("SetTextureToActiveKernelSameId", {"attr"}),
      Method<Done, Name, Name>("SetTextureToActiveKernel", {"attr", "attrKernel"}),
      Method<Done, Name, TextureBindData&, Bool>("StoreTextureBindData", {"attr", "texBindData", "outOfCore"}),
      Method<Result<DrawportTextureSampler*>, Name>("GetTextureSamplerHandle", {"attr"}),
      Method<Result<DrawportTexture*>, Name>("GetTextureHandle", {"attr"}),
      Method<Result<DrawportTextureSamplerItemRef>, Name>("GetTextureSamplerCacheRef", {"attr"}),
      Method<Result<DrawportTextureItemRef>, Name>("GetTextureCacheRef", {"attr"}),
      Method<Done, Name, TextureBindData&>("CreateTexture", {"attr", "texBindData"}),
      Method<Done, Name, const TextureBindData&>("UpdateTextureBindData", {"attr", "texBindData"}),
      Method<Done, Name, const Data&>("SetKernelTextureLink", {"attr", "data"}),
      Method<Result<Data>, Name, const Vec3<Int32>&, const Vec3<Int32>&>("GetTextureData",
                                                                         {"attr", "regionMin", "regionMax"}, kConst),
      Method<Done, Name, Name, Int, Int, Int>(
          "CopyTextureBytes", {"sourceAttr", "targetAttr", "bytesCount", "sourceBytesOffset", "targetBytesOffset"}),
      Method<Done, Name, Value>("AddAtomicCounter", {"attr", "data"}),
      Method<Done, Name>("SetAtomicCounterToActiveKernel", {"attr"}),
      Method<Done, Name, UInt32>("SetAtomicCounter", {"attr", "value"}),
      Method<Result<UInt32>, Name>("GetAtomicCounter", {"attr"}, kConst),
      Method<Done, Name, Value>("SetUniform", {"attr", "data"}),
      Method<Done, Name, Name>("SwapBuffers", {"bufferOne", "bufferTwo"}),
      Method<Done, Name, Name>("SwapTextures", {"textureOne", "textureTwo"}),
      Method<Done, Name, Bool>("DeleteTexture", {"textureId", "softDelete"}),
      Method<Done, Name>("DeleteUniformBuffer", {"bufferId"}),
      Method<Done>("UpdateUniforms", {}),
      Method<Done, UInt32, UInt32, UInt32, Bool>("DispatchKernel", {"countX", "countY", "countZ", "disableBarrier"}),
      Method<Done, Name, UInt32, Bool>("DispatchIndirectKernel", {"buffer", "offset", "disableBarrier"}),
      Method<Done>("AddMemoryBarrier", {}),
      Method<Done>("AddTextureMemoryBarrier", {}),
      Method<Done>("CheckActiveKernelForUpdatedShaders", {}),
      Method<Done, const DrawportContextRef&>("UpdateDrawportContext", {"newDrawportContext"}),
      Method<Done>("Reset", {}),
      Method<void>("ReloadKernels", {}),
      Method<Bool, Int64&, Int64&>("GetMemoryInformation", {"freeMemory", "totalMemory"}, kConst),
      Method<void, Bool&, Bool&>("GetSupportReadWritePixelFormats", {"readWrite16bit", "readWrite8bit"}, kConst),
      Method<std::pair<Int64, Int64>>("GetAvailableAndTotalVRAMBudget", {}, kConst),
  };
  return methods;
}

TEST(InterfaceRecordsTest, TheProgramHas59MethodsInThisOrderWithTheseParametersAndResults) {
  ASSERT_EQ(GetProgramMethods().size(), 59u);
  ExpectRecord("net.ostra.drawportmisc.interface.parallelprogram"_id, GetProgramMethods());
}

TEST(InterfaceRecordsTest, AKernelHasSevenMethodsInThisOrderWithTheseParametersAndResults) {
  using Ids = const Vec3<UInt32>&;
  const std::vector<ExpectedMethod> methods = {
      Method<Done, Ids, Ids, Ids>("Kernel", {"InGlobalInvocationID", "InLocalInvocationID", "InWorkGroupID"}),
      Method<Done, const CString&, const void*>("Set", {"paramName", "data"}),
      Method<Done>("Init", {}),
      Method<const HashMap<CString, KernelParameter>&>("GetKernelParameterMap", {}, kConst),
      Method<Ids>("GetKernelWorkGroupSize", {}, kConst),
      Method<const Int&>("GetSingleThreadedThreshold", {}, kConst),
      Method<const Int&>("GetGranularity", {}, kConst),
  };
  ExpectRecord("net.ostra.interface.kernelinterface"_id, methods);
}

}  // namespace
}  // namespace ostra::test
