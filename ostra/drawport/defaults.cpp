// What is used unless the client chooses: the default command list and the default cache.
#include "ostra/core/format.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/null_backend.h"
#include "ostra/drawport/selector_test.h"

OSTRA_UNIT("drawport");

namespace ostra {
namespace {

class DefaultCommandList final : public DrawportCommandList {
 public:
  Result<void> AddMemoryBarrier(DrawportBarrierBits) override { return OK; }
  Result<void> Execute(Bool) override { return OK; }
  Result<Byte*> PrivateMapBuffer(DrawportStagingBuffer&, DrawportMapMode, DrawportDeviceBuffer&, Int, Int,
                                 Int) override {
    return MakeNoContextError();
  }
  Result<void> UnmapBuffer(DrawportStagingBuffer&, DrawportUnmapMode) override { return MakeNoContextError(); }
  Result<Byte*> PrivateMapTexture(DrawportStagingBuffer&, DrawportMapMode, DrawportTexture&, const DrawportRegion&, Int,
                                  Int, Int, Int) override {
    return MakeNoContextError();
  }
  Result<void> UnmapTexture(DrawportStagingBuffer&) override { return MakeNoContextError(); }
  void ReleaseStagingBuffer(DrawportStagingBuffer*) override {}
  Result<void> SetAtomicCounterValue(DrawportAtomicCounter&, UInt32) override { return OK; }
  Result<UInt32> GetAtomicCounterValue(DrawportAtomicCounter&) override { return MakeNoContextError(); }
  Result<void> Dispatch(DrawportProgramFactory&, DrawportParameterValueSet&, UInt32, UInt32, UInt32) override {
    return MakeNoContextError();
  }
  Result<void> DispatchIndirect(DrawportProgramFactory&, DrawportParameterValueSet&, DrawportDeviceBuffer&,
                                Int) override {
    return MakeNoContextError();
  }
  Result<void> BeginDrawPass(DrawportRenderTarget&, const DrawportClearValues&) override {
    return MakeNoContextError();
  }
  Result<void> Draw(const DrawportDrawCall&) override { return MakeNoContextError(); }
  Result<void> EndDrawPass() override { return MakeNoContextError(); }

 private:
  static Error MakeNoContextError() { return OSTRA_ILLEGAL_STATE("There is no drawport context."); }
};

constinit DefaultCommandList g_defaultCommandList;

Error MakeNoClockError() { return OSTRA_NOT_IMPLEMENTED("The GPU device has no clock that could be read."); }

Error MakeNoCounterReadsError() {
  return OSTRA_NOT_IMPLEMENTED("The GPU backend reads counters only when it waits for them.");
}

Error MakeNoRecordedWorkError() { return OSTRA_NOT_IMPLEMENTED("The GPU backend cannot record work to be replayed."); }

}  // namespace

Result<void> DrawportCommandList::BeginRecordedWork() { return MakeNoRecordedWorkError(); }
Result<UInt64> DrawportCommandList::EndRecordedWork() { return MakeNoRecordedWorkError(); }
Result<void> DrawportCommandList::ReplayWork(UInt64) { return MakeNoRecordedWorkError(); }
Result<void> DrawportCommandList::UpdateRecordedParameter(UInt64, DrawportProgramFactory&, DrawportParameterValueSet&,
                                                          DrawportParameterHandle) {
  return MakeNoRecordedWorkError();
}
void DrawportCommandList::ReleaseRecordedWork(UInt64) {}
Result<UInt64> DrawportCommandList::RecordCounterRead(DrawportAtomicCounter&) { return MakeNoCounterReadsError(); }
Result<UInt32> DrawportCommandList::TakeCounterRead(UInt64) { return MakeNoCounterReadsError(); }
Result<UInt64> DrawportCommandList::BeginTimedWork() { return MakeNoClockError(); }
Result<void> DrawportCommandList::EndTimedWork(UInt64) { return MakeNoClockError(); }
Result<DrawportWorkTime> DrawportCommandList::TakeWorkTime(UInt64) { return MakeNoClockError(); }

DrawportCommandList& GetDefaultCommandList() { return g_defaultCommandList; }

Result<DrawportCacheRef> FindSupportedCache(std::string_view name) {
  OSTRA_ASSIGN_OR_RETURN(const String testName, String::Concatenate(kSelectorTestClassPrefix, name));
  auto testClass = ClassRegistry::GetClasses().FindEntryValue(Id(testName));
  if (!testClass) return DrawportCacheRef();
  OSTRA_ASSIGN_OR_RETURN(DrawportSelectorTestRef test, (*testClass)->CreateObject<DrawportSelectorTestInterface>());
  if (!test->IsSupported()) return DrawportCacheRef();
  OSTRA_ASSIGN_OR_RETURN(const String cacheName, String::Concatenate(kDrawportCacheClassPrefix, name));
  return CreateObject<DrawportCacheInterface>(Id(cacheName));
}

Result<DrawportCacheRef> GetDefaultDrawportCache() {
  for (const std::string_view name : kDrawportBackendNames) {
    OSTRA_ASSIGN_OR_RETURN(DrawportCacheRef cache, FindSupportedCache(name));
    if (cache) return cache;
  }
  return CreateNullCache();
}

}  // namespace ostra
