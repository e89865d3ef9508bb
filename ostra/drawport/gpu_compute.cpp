#include "ostra/drawport/gpu_compute.h"

#include <atomic>

#include "ostra/core/format.h"
#include "ostra/drawport/host_classes.h"
#include "ostra/object/host_classes.h"

OSTRA_UNIT("gpucompute");

namespace ostra {
namespace {

constexpr UInt32 kMaxGroups = 65535;

// Each object has programs of its own: equal hashes of two objects say nothing.
UInt64 TakeObjectNumber() {
  static constinit std::atomic<UInt64> counter{1};
  return counter.fetch_add(1, std::memory_order_relaxed);
}

class GpuCompute final : public Component<GpuCompute, GpuComputeInterface> {
 public:
  static constexpr const char* kComponentName = "GpuCompute";

  Result<void> Init(const DrawportContextRef& context, const GpuComputeCallbacks& callbacks,
                    const GpuComputeOptions& options) override {
    Reset();
    const Bool isComplete = callbacks.hash && callbacks.build;
    if (isComplete) _callbacks = callbacks;  // a context may come later
    if (!context) return OSTRA_ILLEGAL_STATE("A GPU program needs a drawport context.");
    if (!isComplete) return OSTRA_ILLEGAL_ARGUMENT("A GPU program needs a hash callback and a builder.");
    Result<void> built = Build(context, _callbacks.build);
    if (built && !options.keepsCallbacks) {
      _callbacks.hash = {};
      _callbacks.build = {};
    }
    return built;
  }

  Result<void> UpdateUniforms(const DrawportContextRef& context, Bool setsAll) override {
    return Update(context, setsAll, nullptr);
  }

  Result<void> UpdateUniformsWith(const DrawportContextRef& context, const DrawportParameterBinder& bind) override {
    return Update(context, true, &bind);
  }

  Result<void> Dispatch(UInt32 x, UInt32 y, UInt32 z) override {
    OSTRA_RETURN_IF_ERROR(CheckUpdated());
    for (const UInt32 count : {x, y, z}) {
      if (count < 1 || count > kMaxGroups)
        return OSTRA_ILLEGAL_ARGUMENT("@ x @ x @ work groups are not between 1 and @ in each direction.", x, y, z,
                                      kMaxGroups);
    }
    return _context->GetCommandList().Dispatch(*_factory, *_values, x, y, z);
  }

  Result<void> DispatchIndirect(DrawportCommandList& commandList, DrawportDeviceBuffer& buffer, Int offset) override {
    OSTRA_RETURN_IF_ERROR(CheckUpdated());
    constexpr Int kRecordSize = 4 * sizeof(Int32);
    const Int count = buffer.GetSize() / kRecordSize;
    if (offset < 0 || offset >= count)
      return OSTRA_ILLEGAL_ARGUMENT("Element @ is outside a buffer of @ records of work group counts.", offset, count);
    return commandList.DispatchIndirect(*_factory, *_values, buffer, offset * kRecordSize);
  }

  Result<GpuComputeProgram> GetProgram() const override {
    OSTRA_RETURN_IF_ERROR(CheckUpdated());
    return GpuComputeProgram{_item, _factory, _values};
  }

  Result<void> ReloadProgramFactory(const DrawportContextRef& context) override {
    return ReloadProgramFactoryWith(context, _callbacks.build);
  }

  Result<void> ReloadProgramFactoryWith(const DrawportContextRef& context,
                                        const DrawportProgramBuilder& build) override {
    if (!context) return OSTRA_ILLEGAL_STATE("A GPU program needs a drawport context.");
    if (!_callbacks.hash) return OSTRA_ILLEGAL_STATE("The GPU program has no callbacks to be rebuilt with.");
    DrawportHashStream stream;
    OSTRA_RETURN_IF_ERROR(_callbacks.hash(stream));
    if (_item && stream.GetHash() == _hash) return OK;
    if (!build) return OSTRA_ILLEGAL_ARGUMENT("A GPU program needs a builder.");
    return Build(context, build);
  }

  void Reset() override {
    DropProgram();
    _item = {};
    _context = {};
    _callbacks = {};
    _hash = 0;
  }

 private:
  // `bind`: in place of the binder of the program, unless it is null.
  Result<void> Update(const DrawportContextRef& context, Bool setsAll, const DrawportParameterBinder* bind) {
    if (!context) {
      DropProgram();
      _context = {};
      return OSTRA_ILLEGAL_STATE("A GPU program needs a drawport context.");
    }
    Bool isNew = false;
    if (!_item) {
      if (!_callbacks.build) return OSTRA_ILLEGAL_STATE("The GPU program has not been initialized.");
      OSTRA_RETURN_IF_ERROR(Build(context, _callbacks.build));
      isNew = true;
    }
    OSTRA_ASSIGN_OR_RETURN(DrawportProgramFactory * factory, _item->MakeValid(*context));
    if (factory != _factory) DropProgram();  // the factory for another device has gone
    OSTRA_ASSIGN_OR_RETURN(DrawportParameterValueSet * values, factory->GetParameterValueSet(*context, _number, _hash));
    isNew = isNew || values != _values || !(_context == context);
    if (setsAll || isNew) OSTRA_RETURN_IF_ERROR(Bind(*context, *factory, *values, bind));
    _factory = factory;
    _values = values;
    _context = context;
    return OK;
  }

  Result<void> Build(const DrawportContextRef& context, const DrawportProgramBuilder& build) {
    const DrawportRef drawport = context->GetDrawport();
    DrawportHashStream stream;
    OSTRA_RETURN_IF_ERROR(_callbacks.hash(stream));
    DrawportCacheKey key = MakeDrawportCacheKey(drawport, DrawportCacheKeyKind::ProgramFactory);
    key.Append(_number);
    key.Append(stream.GetHash());
    key.Append(_buildCount++);  // a hash may come back with other sources behind it
    DrawportProgramFactoryItemRef item;
    OSTRA_RETURN_IF_ERROR(drawport->GetDrawportCache()->GetProgramFactory(key, build, item, *context));
    OSTRA_RETURN_IF_ERROR(item->MakeValid(*context));
    // Only a program that compiled replaces the one that is in use.
    DropProgram();
    _item = std::move(item);
    _hash = stream.GetHash();
    return OK;
  }

  Result<void> Bind(DrawportContextInterface& context, DrawportProgramFactory& factory,
                    DrawportParameterValueSet& values, const DrawportParameterBinder* bind) {
    const DrawportProgramDescription& program = _item->GetSpecification();
    const DrawportParameterBinder& own = program.GetParameterBinder() ? program.GetParameterBinder() : _callbacks.bind;
    const DrawportParameterBinder& binder = bind ? *bind : own;
    OSTRA_RETURN_IF_ERROR(factory.StartSetParameters(context, values));
    if (binder) OSTRA_RETURN_IF_ERROR(binder(factory, values, program.GetParameters().GetBlock()));
    return factory.EndSetParameters(context, values);
  }

  Result<void> CheckUpdated() const {
    if (_factory) return OK;
    return OSTRA_ILLEGAL_STATE("The uniforms of the GPU program have not been updated.");
  }

  void DropProgram() {
    _factory = nullptr;
    _values = nullptr;
  }

  const UInt64 _number = TakeObjectNumber();
  UInt64 _buildCount = 0;
  GpuComputeCallbacks _callbacks;
  UInt64 _hash = 0;
  DrawportContextRef _context;
  DrawportProgramFactoryItemRef _item;
  DrawportProgramFactory* _factory = nullptr;  // of the item
  DrawportParameterValueSet* _values = nullptr;
};

}  // namespace

Result<void> RegisterGpuCompute() {
  OSTRA_ASSIGN_OR_RETURN(ClassRef computeClass, Class::Create<GpuCompute>(kGpuComputeClass));
  return InsertOnce(ClassRegistry::GetClasses(), computeClass);
}

}  // namespace ostra
