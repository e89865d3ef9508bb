// The module as a program meets it: loaded by name through the host.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "ostra/config/configuration.h"
#include "ostra/host.h"
#include "ostra/object/class.h"
#include "ostra/object/framework.h"
#include "ostra/object/reflection.h"
#include "ostra/object/registration.h"
#include "parallelprogram/program/kernel_base.h"
#include "parallelprogram/program/kernel_loops.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"
#include "parallelprogram/textures/texture_bind_data.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

constexpr Id kFramework = "net.ostra.parallelprogram.framework"_id;

class ModuleLoadTest : public testing::Test {
 protected:
  static Result<Host> StartHost(std::span<const char* const> arguments = {}) {
    return Host::Create({.arguments = arguments, .readsEnvironment = false});
  }
};

Bool IsMapped(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle;
}

TEST_F(ModuleLoadTest, TheModuleIsFoundByNameAndPublishesItsFramework) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  EXPECT_EQ(module->GetId(), "net.ostra.parallelprogram"_id);
  EXPECT_TRUE(module->GetVersion().IsPopulated());
  EXPECT_TRUE(Frameworks::IsPublished(kFramework));
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  EXPECT_FALSE(Frameworks::IsPublished(kFramework));
}

TEST_F(ModuleLoadTest, WithoutTheHostsFrameworksTheModuleIsNotLoaded) {
  auto folder = Host::GetLibraryFolder();
  ASSERT_THAT(folder, IsOk());
  EXPECT_THAT(ModuleLoader::Load(std::string(folder->GetView()) + "/parallelprogram.so"),
              IsErrorWith(kIllegalStateError,
                          "The module \"net.ostra.parallelprogram\" needs the framework "
                          "\"net.ostra.core.framework\", which is not published."));
}

#ifndef OSTRA_KERNEL_IS_SANITIZED
// The names of the symbols that a shared object offers to others, each with a line end.
std::string ReadExports(const char* path) {
  FILE* list = popen((std::string(OSTRA_TEST_NM " -D --defined-only --format=just-symbols ") + path).c_str(), "r");
  std::string names;
  for (int c = list ? std::fgetc(list) : EOF; c != EOF; c = std::fgetc(list)) names += static_cast<char>(c);
  EXPECT_EQ(list ? pclose(list) : -1, 0);
  return names;
}
#endif

TEST_F(ModuleLoadTest, TheSharedObjectExportsItsDescriptorAndTheYieldDelegateOnly) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  auto path = CString::Create(module->GetPath());
  ASSERT_THAT(path, IsOk());
  void* library = dlopen(path->GetCString(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_TRUE(library);
#ifdef OSTRA_KERNEL_IS_SANITIZED
  std::puts("Not compared: sanitizers add exports of their own.");
#else
  EXPECT_EQ(ReadExports(path->GetCString()), "g_CpuYieldDelegate\ng_ostra\n");
#endif
  EXPECT_TRUE(dlsym(library, "g_ostra"));
  auto* delegate = static_cast<void (**)(void*, void*)>(dlsym(library, "g_CpuYieldDelegate"));
  ASSERT_TRUE(delegate);
  (*delegate)(nullptr, nullptr);  // at first it returns at once
  dlclose(library);
}

TEST_F(ModuleLoadTest, TheCpuProgramIsCreatedThroughItsClass) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  EXPECT_THAT(CreateObject<ParallelProgramInterface>(kCpuProgramClass), IsErrorOfKind(kIllegalArgumentError));
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  {
    auto program = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
    ASSERT_THAT(program, IsOk());
    EXPECT_THAT((*program)->Init(Url(), nullptr, 0, false), IsOk());
  }
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  EXPECT_THAT(CreateObject<ParallelProgramInterface>(kCpuProgramClass), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(ModuleLoadTest, TheShaderLoaderIsCreatedThroughItsClassAndLeavesWithTheModule) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  EXPECT_THAT(CreateObject<GeneralShaderLoaderInterface>(kGeneralShaderLoaderClass),
              IsErrorOfKind(kIllegalArgumentError));
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  const std::string path(module->GetPath().GetView());
  {
    auto loader = CreateObject<GeneralShaderLoaderInterface>(kGeneralShaderLoaderClass);
    ASSERT_THAT(loader, IsOk());
    EXPECT_THAT((*loader)->Init(Url(), nullptr), IsOk());
    EXPECT_THAT((*loader)->Reset(), IsOk());
  }
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  EXPECT_THAT(CreateObject<GeneralShaderLoaderInterface>(kGeneralShaderLoaderClass),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_FALSE(IsMapped(path));
}

TEST_F(ModuleLoadTest, TheKernelBaseClassIsAKernelWithTheFixedTuningValues) {
  DiagnosticRecorder recorder;
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  ASSERT_THAT(host->LoadModule("parallelprogram"), IsOk());
  auto kernel = CreateObject<KernelInterface>(kKernelBaseClass);
  ASSERT_THAT(kernel, IsOk());
  EXPECT_THAT((*kernel)->Init(), IsOk());
  EXPECT_EQ((*kernel)->GetGranularity(), 16);
  EXPECT_EQ((*kernel)->GetSingleThreadedThreshold(), 0);
  EXPECT_EQ((*kernel)->GetKernelWorkGroupSize(), Vec3<UInt32>(0, 0, 0));
  EXPECT_TRUE((*kernel)->GetKernelParameterMap().IsEmpty());
  EXPECT_THAT((*kernel)->Set("unknown", nullptr), IsOk());
  EXPECT_THAT((*kernel)->Kernel({}, {}, {}), IsErrorOfKind(kNotImplementedError));
  EXPECT_THAT((*kernel)->CopyFrom(**kernel),
              IsErrorWith(kNotImplementedError,
                          "Component net.ostra.kernelclasses.base has members, but CopyFrom is "
                          "not implemented!"));
  kernel->Detach()->Release();
}

TEST_F(ModuleLoadTest, UnloadingTakesTheBaseClassFromTheKernelRegistryAndLeavesOtherModulesKernels) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  ASSERT_THAT(ClassRegistry::Declare(kKernelClassRegistry), IsOk());
  auto registry = ClassRegistry::Find(kKernelClassRegistry);
  ASSERT_THAT(registry, IsOk());
  EXPECT_THAT(registry->FindEntryValue(kKernelBaseClass), IsOk());
  auto other = Class::Create("com.example.kernel"_id, [](const Class&) -> ObjectInterface* { return nullptr; });
  ASSERT_THAT(other, IsOk());
  ASSERT_THAT(registry->Insert(*other), IsOk());
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  EXPECT_THAT(GetTexts(*registry->GetIds()), testing::ElementsAre("com.example.kernel"));
  EXPECT_TRUE(registry->Erase("com.example.kernel"_id));
  ClassRegistry::Withdraw(kKernelClassRegistry);
  EXPECT_FALSE(ClassRegistry::Find(kKernelClassRegistry));
}

TEST_F(ModuleLoadTest, TheTypesOfTexturesAreKnownWhileTheModuleIsLoadedAndItsCodeGoesWithThem) {
  constexpr Id kSamplingData = "net.ostra.datatype.parallelprogram.textures.samplingdata"_id;
  constexpr Id kSampler = "net.ostra.datatype.parallelprogram.textures.texturesamplerobj_2D_RGBA_F32_linear"_id;
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  for (int round = 0; round < 2; ++round) {
    auto module = host->LoadModule("parallelprogram");
    ASSERT_THAT(module, IsOk());
    EXPECT_THAT(DataType::Find(kSamplingData), IsOk());
    EXPECT_THAT(DataType::Find(kSampler), IsOk());
    const std::string path(module->GetPath().GetView());
    EXPECT_THAT(host->UnloadModule(*module), IsOk());
    EXPECT_FALSE(DataType::Find(kSamplingData));
    EXPECT_FALSE(DataType::Find(kSampler));
    EXPECT_FALSE(IsMapped(path));
  }
}

// A program that has stored, described and read a texture and buffers: what makes types be described on the way.
void UseAProgram() {
  auto program = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
  ASSERT_THAT(program, IsOk());
  ASSERT_THAT((*program)->Init(Url(), nullptr, 0, false), IsOk());
  Float32 texels[16] = {1, 2, 3};
  TextureBindData texture;
  texture._data = reinterpret_cast<Byte*>(texels);
  texture._dataSize = sizeof(texels);
  texture._dimensions = {4, 4, 1};
  texture._format = TextureFormat::F32;
  texture._numChannels = 1;
  ASSERT_THAT((*program)->StoreTextureBindData("texture"_iid, texture, false), IsOk());
  ASSERT_THAT((*program)->GetTextureData("texture"_iid, {0, 0, 0}, {4, 4, 1}), IsOk());
  ASSERT_THAT((*program)->CreateUniformBuffer("buffer"_iid, GetDataType<Float32>(), 100), IsOk());
  ASSERT_THAT((*program)->AddAtomicCounter("counter"_iid, Int32(1)), IsOk());
  ASSERT_THAT((*program)->GetGlobalBufferData("buffer"_iid), IsOk());
}

TEST_F(ModuleLoadTest, AfterUseAndARefusedSecondLoadTheModuleLeavesMemoryAndCanBeLoadedAgain) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  for (int round = 0; round < 2; ++round) {
    auto module = host->LoadModule("parallelprogram");
    ASSERT_THAT(module, IsOk());
    const std::string path(module->GetPath().GetView());
    UseAProgram();
    EXPECT_THAT(host->LoadModule("parallelprogram"),
                IsErrorWith(kIllegalStateError, "The module \"net.ostra.parallelprogram\" is already loaded."));
    UseAProgram();
    EXPECT_TRUE(IsMapped(path));
    EXPECT_THAT(host->UnloadModule(*module), IsOk());
    EXPECT_FALSE(IsMapped(path));
  }
}

TEST_F(ModuleLoadTest, EveryRegisteredDataTypeIsThereWhileTheModuleIsLoaded) {
  const std::string textures = "net.ostra.datatype.parallelprogram.textures.";
  std::vector<std::string> ids = {"net.ostra.datatype.shaderdataentries.databufferentry",
                                  "net.ostra.datatype.shaderdataentries.texturesamplerentry"};
  for (const char* name :
       {"imagestoragebuffer", "samplingdata", "packedtextureflags", "texturebinddata", "texturesamplerdatahelper"})
    ids.push_back(textures + name);
  for (const char* kind : {"R_F32_point", "R_F32_linear", "RG_F32_linear", "RGB_F32_linear", "RGBA_F32_linear",
                           "R_I32_point", "R_U16_point", "R_U8_point"}) {
    for (const char* dimensions : {"1D_", "2D_", "3D_"})
      ids.push_back(textures + "texturesamplerobj_" + dimensions + kind);
  }
  ASSERT_EQ(ids.size(), 31U);
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  for (const std::string& id : ids) EXPECT_THAT(DataType::Find(*Id::Create(id)), IsOk()) << id;
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  for (const std::string& id : ids) EXPECT_FALSE(DataType::Find(*Id::Create(id))) << id;
}

TEST_F(ModuleLoadTest, ADataTypeWhoseIdIsTakenFailsTheLoadAndStaysWithItsOwner) {
  struct Rival {
    Int32 number;
  };
  constexpr Id kSamplingData = "net.ostra.datatype.parallelprogram.textures.samplingdata"_id;
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  const auto rival = DataType::Register(DescribeType<Rival>(kSamplingData, "Rival"_s));
  ASSERT_THAT(rival, IsOk());
  EXPECT_THAT(host->LoadModule("parallelprogram"),
              IsErrorWith(kIllegalArgumentError,
                          "The module \"net.ostra.parallelprogram\" cannot be loaded: the registration "
                          "\"texture_sampling_structs\" failed: The data type "
                          "\"net.ostra.datatype.parallelprogram.textures.samplingdata\" is already registered."));
  EXPECT_EQ(*DataType::Find(kSamplingData), *rival);
  EXPECT_TRUE(DataType::Erase(kSamplingData));
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  EXPECT_EQ(DataType::Find(kSamplingData)->GetName(), "ostra::SamplingData");
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
}

struct ExpectedInterface {
  Id id;
  const char* name;
  Int methodCount;
  const char* firstMethod;
  const char* lastMethod;
};
const ExpectedInterface kInterfaces[] = {
    {ParallelProgramInterface::kInterfaceId, "ParallelProgramInterface", 59, "Init", "GetAvailableAndTotalVRAMBudget"},
    {KernelInterface::kInterfaceId, "KernelInterface", 7, "Kernel", "GetGranularity"},
    {GeneralShaderLoaderInterface::kInterfaceId, "GeneralShaderLoaderInterface", 58, "Init", "GetActiveAttributeSet"},
};

TEST_F(ModuleLoadTest, TheThreeInterfacesAreKnownWithTheirMethodsInSlotOrder) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  for (const ExpectedInterface& expected : kInterfaces) {
    EXPECT_EQ(*InterfaceRegistry::FindName(expected.id), expected.name);
    auto record = Reflection::Find(expected.id);
    ASSERT_THAT(record, IsOk());
    const BaseArray<MethodRecord>& methods = (*record)->methods;
    ASSERT_EQ(methods.GetCount(), expected.methodCount);
    EXPECT_EQ(methods[0].name, expected.firstMethod);
    EXPECT_EQ(methods[methods.GetCount() - 1].name, expected.lastMethod);
    for (Int i = 1; i < methods.GetCount(); ++i) EXPECT_EQ(methods[i].slot, methods[i - 1].slot + 1) << i;
  }
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  for (const ExpectedInterface& expected : kInterfaces) {
    EXPECT_FALSE(Reflection::Find(expected.id));
    EXPECT_FALSE(InterfaceRegistry::FindName(expected.id));
  }
}

// The module's own variables in the order of its units.
constexpr const char* kVariables[][2] = {
    {"g_checkActiveProgramForUpdatedShaders", "enables reloading of shader files from hd"},
    {"g_reloadKernelsParallelProgram", "enables reloading of kernel files from hd"},
    {"g_32bitOnlyParallelProgram", "sets all textures to 32-bit"},
    {"g_outOfCoreParallelProgram", "enables out of core simulation"},
};
constexpr Int kHostVariableCount = 5;

TEST_F(ModuleLoadTest, TheModulesVariablesAreOfferedInOrderAndFalseWithoutConfiguration) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  auto module = host->LoadModule("parallelprogram");
  ASSERT_THAT(module, IsOk());
  {
    auto variables = Configuration::GetVariables();
    ASSERT_THAT(variables, IsOk());
    ASSERT_EQ(variables->GetCount(), kHostVariableCount + 4);
    for (Int i = 0; i < 4; ++i) {
      const ConfigurationInformation& variable = (*variables)[kHostVariableCount + i];
      EXPECT_EQ(variable.name, kVariables[i][0]);
      EXPECT_EQ(variable.help, kVariables[i][1]);
      EXPECT_EQ(variable.kind, ConfigKind::Bool);
      EXPECT_FALSE(variable.value);
    }
  }
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), kHostVariableCount);
}

TEST_F(ModuleLoadTest, ConfiguredValuesReachTheModulesVariablesAlsoWhenItIsLoadedAgain) {
  const std::array arguments = {"--config", "g_outOfCoreParallelProgram=true"};
  auto host = StartHost(arguments);
  ASSERT_THAT(host, IsOk());
  for (int round = 0; round < 2; ++round) {
    auto module = host->LoadModule("parallelprogram");
    ASSERT_THAT(module, IsOk());
    auto variables = Configuration::GetVariables();
    ASSERT_THAT(variables, IsOk());
    ASSERT_EQ(variables->GetCount(), kHostVariableCount + 4);
    EXPECT_TRUE((*variables)[kHostVariableCount + 3].value);
    EXPECT_FALSE((*variables)[kHostVariableCount + 2].value);
    EXPECT_EQ(Configuration::GetUnknownNames()->GetCount(), 0);
    EXPECT_THAT(host->UnloadModule(*module), IsOk());
  }
}

TEST_F(ModuleLoadTest, AModuleThatTakesNoPartInConfigurationOffersNothing) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  auto module = host->LoadModule("parallelprogram", {.takesPartInConfiguration = false});
  ASSERT_THAT(module, IsOk());
  EXPECT_EQ(Configuration::GetVariables()->GetCount(), kHostVariableCount);
  EXPECT_THAT(host->UnloadModule(*module), IsOk());
}

TEST_F(ModuleLoadTest, AHostWithoutTheServicesTheModuleCallsMakesItsStartFailClearly) {
  DiagnosticRecorder recorder;
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  ASSERT_TRUE(HostInterfaces::Withdraw(kConfigurationInterface));
  EXPECT_THAT(host->LoadModule("parallelprogram"),
              IsErrorWith(kIllegalStateError,
                          "The module \"net.ostra.parallelprogram\" cannot be loaded: the start-up entry "
                          "\"configuration\" failed: Method invocation of unresolvable interface"));
  EXPECT_THAT(recorder.GetLines(), testing::Contains("net.ostra.interface.configuration"));
  EXPECT_FALSE(Frameworks::IsPublished(kFramework));
}

TEST_F(ModuleLoadTest, EveryFailingAllocationFailsTheLoadAndLeavesNothing) {
  auto host = StartHost();
  ASSERT_THAT(host, IsOk());
  for (int round = 0; round < 2; ++round) {  // interns names and describes types for good
    auto module = host->LoadModule("parallelprogram");
    ASSERT_THAT(module, IsOk());
    ASSERT_THAT(host->UnloadModule(*module), IsOk());
  }
  const Int before = AllocationFaults::GetLiveCount();
  Int failures = 0;
  Int survivals = 0;  // describing a type is tried twice
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 10000);
    AllocationFaults::FailNth(n);
    auto module = host->LoadModule("parallelprogram");
    AllocationFaults::Disable();
    if (module) {
      EXPECT_THAT(host->UnloadModule(*module), IsOk());
    } else {
      ASSERT_THAT(module, IsErrorOfKind(kOutOfMemoryError)) << "allocation " << n;
    }
    ASSERT_EQ(AllocationFaults::GetLiveCount(), before) << "allocation " << n;
    ASSERT_EQ(Configuration::GetVariables()->GetCount(), kHostVariableCount);
    if (!AllocationFaults::HasFired()) break;
    ++(module ? survivals : failures);
  }
  EXPECT_GT(failures, survivals);
}

}  // namespace
}  // namespace ostra
