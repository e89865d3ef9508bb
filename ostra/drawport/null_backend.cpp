#include "ostra/drawport/null_backend.h"

#include "ostra/core/format.h"
#include "ostra/drawport/host_classes.h"
#include "ostra/object/host_classes.h"

OSTRA_UNIT("drawport_null");

namespace ostra {
namespace {

inline constexpr Id kNullCacheClass = "net.ostra.drawport.cache.null"_id;

Error MakeUnsupportedError() { return OSTRA_NOT_IMPLEMENTED("There is no GPU backend."); }

class NullCache final : public Component<NullCache, DrawportCacheInterface> {
 public:
  static constexpr const char* kComponentName = "NullCache";

  const Id& GetCacheType() const override {
    static constexpr Id kNoType;
    return kNoType;
  }
  Result<DrawportRef> AllocDrawport(const Id&, const Id&) override { return MakeUnsupportedError(); }
  Result<DrawportVertexBufferItemRef> GetVertexbuffer(const DrawportResourceKey&) override {
    return MakeUnsupportedError();
  }
  Result<DrawportTextureItemRef> GetTexture(const DrawportResourceKey&, const DrawportTextureDescribe&) override {
    return MakeUnsupportedError();
  }
  Result<DrawportTextureSamplerItemRef> GetTextureSampler(UInt8) override { return MakeUnsupportedError(); }
  Result<DrawportAtomicCounterItemRef> GetAtomicCounter(const DrawportCounterKey&) override {
    return MakeUnsupportedError();
  }
  Result<void> GetProgramFactory(const DrawportCacheKey&, const DrawportProgramBuilder&, DrawportProgramFactoryItemRef&,
                                 DrawportContextInterface&) override {
    return MakeUnsupportedError();
  }
  Result<DrawportVertexAttributeLayoutItemRef> GetVertexAttributeLayout(
      const DrawportVertexAttributeLayoutDescribe&) override {
    return MakeUnsupportedError();
  }
  Result<void> GetVertexAttributeSet(const DrawportVertexAttributeLayoutItemRef&,
                                     const DrawportVertexAttributeSetDescribe&, DrawportVertexAttributeSetItemRef&,
                                     DrawportContextInterface&) override {
    return MakeUnsupportedError();
  }
  Result<DrawportStateObject*> GetStateObject(const DrawportCacheKey&, const DrawportStateDescribe&,
                                              DrawportStateObjectItemRef&) override {
    return MakeUnsupportedError();
  }
  Result<DrawportRenderTargetRef> CreateRenderTarget(DrawportContextInterface&,
                                                     const DrawportRenderTargetDescription&) override {
    return MakeUnsupportedError();
  }
  Result<DrawportStagingBuffer*> AllocStagingBuffer(DrawportContextInterface&, const DrawportStagingOptions&) override {
    return MakeUnsupportedError();
  }
  Result<void> FreeTrashCaches(DrawportContextInterface&) override { return MakeUnsupportedError(); }
};

class NullContext final : public DrawportCounted<NullContext, DrawportContextInterface> {
 public:
  explicit NullContext(DrawportRef drawport) : _drawport(std::move(drawport)) {}
  DrawportRef GetDrawport() const override { return _drawport; }
  Bool IsFeatureSupported(DrawportFeature) const override { return false; }
  DrawportPixelFormatAccess GetPixelFormatAccessFlags(PixelFormatRef, Bool) const override {
    return DrawportPixelFormatAccess::None;
  }
  DrawportCommandList& GetCommandList() override { return GetDefaultCommandList(); }
  VideoMemoryBudget GetAvailableAndTotalVRAMBudget() const override { return GetDefaultVRAMBudget(); }

 private:
  DrawportRef _drawport;
};

class NullDrawport final : public DrawportCounted<NullDrawport, DrawportInterface> {
 public:
  explicit NullDrawport(DrawportCacheRef cache) : _cache(std::move(cache)) {}
  DrawportCacheRef GetDrawportCache() const override { return _cache; }
  Result<DrawportContextRef> CreateOffscreenRenderContext(Bool, Int32 deviceIndex) override {
    // The first one stands for none.
    if (deviceIndex != 0) return OSTRA_ILLEGAL_ARGUMENT("There is no GPU device @.", deviceIndex);
    auto* context = NewObj<NullContext>(DrawportRef(this));
    if (!context) return OSTRA_OUT_OF_MEMORY();
    return DrawportContextRef::Adopt(context);
  }
  const Id& GetShadingLanguage() const override { return kShadingLanguageGlsl; }
  const DrawportCapabilities& GetCapabilities() const override { return _capabilities; }

 private:
  DrawportCacheRef _cache;
  DrawportCapabilities _capabilities;
};

}  // namespace

Result<void> RegisterNullCache() {
  OSTRA_ASSIGN_OR_RETURN(ClassRef cacheClass, Class::Create<NullCache>(kNullCacheClass));
  return InsertOnce(ClassRegistry::GetClasses(), cacheClass);
}

Result<DrawportCacheRef> CreateNullCache() { return CreateObject<DrawportCacheInterface>(kNullCacheClass); }

Result<DrawportRef> CreateNullDrawport() {
  OSTRA_ASSIGN_OR_RETURN(DrawportCacheRef cache, CreateNullCache());
  auto* drawport = NewObj<NullDrawport>(std::move(cache));
  if (!drawport) return OSTRA_OUT_OF_MEMORY();
  return DrawportRef::Adopt(drawport);
}

}  // namespace ostra
