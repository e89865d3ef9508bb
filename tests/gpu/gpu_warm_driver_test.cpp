// What a dispatch costs the driver once everything has been used: no descriptor sets.
#include "parallelprogram/device/parser_cache.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/drawport_vulkan/internal_fixture.h"
#include "tests/drawport_vulkan/replaced_function.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

constexpr const char* kKernel = R"(#define KERNELINPUTS \
(Float32) step, \
(Block<Float32>) source, \
(Block<Float32>) target

GROUPSIZE(1, 1, 1)

OSTRA_PARALLEL_KERNEL(Step, KERNELINPUTS)
{
	UNIFORM_BUFFER(target)[0] = UNIFORM_BUFFER(source)[0] + UNIFORM(step);
}
OSTRA_PARALLEL_KERNEL_END
)";

PFN_vkCreateDescriptorPool g_createPool = nullptr;
PFN_vkAllocateDescriptorSets g_allocateSets = nullptr;
int g_made = 0;

VKAPI_ATTR VkResult VKAPI_CALL CountPool(VkDevice device, const VkDescriptorPoolCreateInfo* info,
                                         const VkAllocationCallbacks* callbacks, VkDescriptorPool* pool) {
  ++g_made;
  return g_createPool(device, info, callbacks, pool);
}
VKAPI_ATTR VkResult VKAPI_CALL CountSets(VkDevice device, const VkDescriptorSetAllocateInfo* info,
                                         VkDescriptorSet* sets) {
  ++g_made;
  return g_allocateSets(device, info, sets);
}

using GpuWarmDriverTest = vulkan::DriverTest;

TEST_F(GpuWarmDriverTest, WarmDispatchesMakeNoDescriptorSets) {
  const ClassRef programClass = Take(CreateGpuProgramClass());
  const TemporaryFolder sources;
  const DrawportContextRef context = Take(MakeContext());
  ParallelProgramRef program = Take(programClass->CreateObject<ParallelProgramInterface>());
  Take(program->Init(Url(), &context, 0, false));
  Take(program->AddKernel("k"_iid, Take(Url::Create(sources.Write("net.ostra.test.step.krn", kKernel))), true));
  for (const InternedId& id : {"source"_iid, "target"_iid})
    Take(program->StoreUniformBufferData(id, Take(BaseArray<Float32>::Create({0}))));
  Float32 expected = 0;
  const auto run = [&] {
    for (int i = 1; i <= 4; ++i) {
      Take(program->SetUniform("step"_iid, static_cast<Float32>(i)));
      Take(program->UpdateUniforms());
      Take(program->DispatchKernel(1, 1, 1, false));
      // What was written is read next: other buffers in the same places.
      Take(program->SwapBuffers("source"_iid, "target"_iid));
      expected += static_cast<Float32>(i);
    }
    Take(program->Execute(true));
  };
  g_createPool = vkCreateDescriptorPool;
  g_allocateSets = vkAllocateDescriptorSets;
  g_made = 0;
  const ReplacedFunction<PFN_vkCreateDescriptorPool> pools(vkCreateDescriptorPool, &CountPool);
  const ReplacedFunction<PFN_vkAllocateDescriptorSets> sets(vkAllocateDescriptorSets, &CountSets);
  for (int i = 0; i < 20; ++i) run();
  EXPECT_GT(g_made, 0);
  g_made = 0;
  for (int i = 0; i < 20; ++i) run();
  EXPECT_EQ(g_made, 0);
  const Data result = Take(program->GetKernelBufferData("source"_iid));
  EXPECT_EQ(Take(result.Get<Array<Float32>>())[0], expected);
  program = nullptr;
  ResetParserCache();
}

}  // namespace
}  // namespace ostra::test
