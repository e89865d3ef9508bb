#include <algorithm>

#include "ostra/drawport_vulkan/cache_items.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// The item of a key; a new one is made with `create` (→ Result<StrongRef<Item>>), while nothing is locked.
template <class Item, class Key, class CreateItem>
Result<StrongRef<Item>> FindOrCreate(ItemTable<Key, Item>& table, const Key& key, CreateItem&& create) {
  if (StrongRef<Item> known = table.Find(key)) return known;
  OSTRA_ASSIGN_OR_RETURN(StrongRef<Item> item, create());
  return table.Insert(key, item);
}

template <class Item, class Key>
Result<StrongRef<Item>> NewItem(Cache& cache, const Key& key) {
  Item* item = NewObj<Item>(CacheRef(&cache), key);
  if (!item) return OSTRA_OUT_OF_MEMORY();
  return StrongRef<Item>::Adopt(item);
}

}  // namespace

Result<DrawportRef> Cache::AllocDrawport(const Id& type, const Id& subtype) {
  if (!(type == kDrawportTypeVulkan) || !(subtype == kDrawportSubtypeSystem))
    return OSTRA_ILLEGAL_ARGUMENT("The Vulkan backend has no drawport of type \"@\" and subtype \"@\".", type, subtype);
  return GetDrawport(0, {});
}

Result<DrawportRef> Cache::GetDrawport(Int index, const DeviceRef& device) {
  StrongRef<Drawport> made;  // goes after the lock, for which it asks then
  const std::scoped_lock lock(_drawportMutex);
  for (Drawport* known : _drawports)
    if (known->Serves(index, device) && known->TryAddRef()) return DrawportRef(StrongRef<Drawport>::Adopt(known));
  OSTRA_ASSIGN_OR_RETURN(made, Drawport::Create(DrawportCacheRef(this), index));
  OSTRA_RETURN_IF_ERROR(_drawports.Append(made.GetPointer()));
  made->Serves(index, device);
  return DrawportRef(made);
}

void Cache::Forget(const Drawport& drawport) {
  const std::scoped_lock lock(_drawportMutex);
  Drawport** const place = std::find(_drawports.begin(), _drawports.end(), &drawport);
  if (place != _drawports.end()) _drawports.RemoveUnordered(place - _drawports.begin());
}

Result<DrawportVertexBufferItemRef> Cache::GetVertexbuffer(const DrawportResourceKey& key) {
  OSTRA_ASSIGN_OR_RETURN(auto item,
                         FindOrCreate(vertexBuffers, key, [&] { return NewItem<VertexBufferItem>(*this, key); }));
  return DrawportVertexBufferItemRef(item);
}

Result<DrawportTextureItemRef> Cache::GetTexture(const DrawportResourceKey& key,
                                                 const DrawportTextureDescribe& describe) {
  const auto create = [&]() -> Result<StrongRef<TextureItem>> {
    OSTRA_ASSIGN_OR_RETURN(StrongRef<TextureItem> item, NewItem<TextureItem>(*this, key));
    item->Describe(describe);
    return item;
  };
  OSTRA_ASSIGN_OR_RETURN(auto item, FindOrCreate(textures, key, create));
  return DrawportTextureItemRef(item);
}

Result<DrawportTextureSamplerItemRef> Cache::GetTextureSampler(UInt8 key) {
  OSTRA_ASSIGN_OR_RETURN(auto item, FindOrCreate(samplers, key, [&] { return NewItem<SamplerItem>(*this, key); }));
  return DrawportTextureSamplerItemRef(item);
}

Result<DrawportAtomicCounterItemRef> Cache::GetAtomicCounter(const DrawportCounterKey& key) {
  OSTRA_ASSIGN_OR_RETURN(auto item, FindOrCreate(counters, key, [&] { return NewItem<CounterItem>(*this, key); }));
  return DrawportAtomicCounterItemRef(item);
}

Result<void> Cache::GetProgramFactory(const DrawportCacheKey& key, const DrawportProgramBuilder& builder,
                                      DrawportProgramFactoryItemRef& slot, DrawportContextInterface&) {
  const auto create = [&]() -> Result<StrongRef<ProgramItem>> {
    OSTRA_ASSIGN_OR_RETURN(StrongRef<ProgramItem> item, NewItem<ProgramItem>(*this, key));
    OSTRA_RETURN_IF_ERROR(item->Build(builder));
    return item;
  };
  OSTRA_ASSIGN_OR_RETURN(auto item, FindOrCreate(programs, key, create));
  slot = DrawportProgramFactoryItemRef(item);
  return OK;
}

StateObjectItem::~StateObjectItem() { _cache->stateObjects.Forget(_key, this); }

Result<DrawportVertexAttributeLayoutItemRef> Cache::GetVertexAttributeLayout(
    const DrawportVertexAttributeLayoutDescribe& describe) {
  return MakeVertexAttributeLayout(describe);
}

Result<void> Cache::GetVertexAttributeSet(const DrawportVertexAttributeLayoutItemRef& layout,
                                          const DrawportVertexAttributeSetDescribe& describe,
                                          DrawportVertexAttributeSetItemRef& slot, DrawportContextInterface&) {
  OSTRA_ASSIGN_OR_RETURN(DrawportVertexAttributeSetItemRef item, MakeVertexAttributeSet(layout, describe));
  slot = std::move(item);
  return OK;
}

Result<DrawportStateObject*> Cache::GetStateObject(const DrawportCacheKey& key, const DrawportStateDescribe& describe,
                                                   DrawportStateObjectItemRef& slot) {
  const auto create = [&]() -> Result<StrongRef<StateObjectItem>> {
    OSTRA_ASSIGN_OR_RETURN(StrongRef<StateObjectItem> item, NewItem<StateObjectItem>(*this, key));
    OSTRA_RETURN_IF_ERROR(item->Describe(describe));
    return item;
  };
  OSTRA_ASSIGN_OR_RETURN(auto item, FindOrCreate(stateObjects, key, create));
  slot = DrawportStateObjectItemRef(item);
  return static_cast<DrawportStateObject*>(item.GetPointer());
}

Result<DrawportRenderTargetRef> Cache::CreateRenderTarget(DrawportContextInterface& context,
                                                          const DrawportRenderTargetDescription& description) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindContext(context));
  const auto create = [&](MemorySpill spill) { return RenderTarget::Create(found->GetDevice(), description, spill); };
  OSTRA_ASSIGN_OR_RETURN(RenderTargetRef target, found->MakeWithRoom(create));
  return DrawportRenderTargetRef(target);
}

Result<DrawportStagingBuffer*> Cache::AllocStagingBuffer(DrawportContextInterface& context,
                                                         const DrawportStagingOptions& options) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindContext(context));
  const auto capability = options.use == DrawportStagingUse::BufferUpload ? DrawportCapability::BufferTransferChunk
                          : options.use == DrawportStagingUse::HostRead   ? DrawportCapability::ReadBackStagingCapacity
                                                                          : DrawportCapability::TextureStagingCapacity;
  const Int limit = context.GetDrawport()->GetCapabilities().GetValue(capability);
  if (options.bytes < 1 || options.bytes > limit)
    return OSTRA_ILLEGAL_ARGUMENT("A staging buffer of @ bytes is not possible; it has at least 1 and at most @.",
                                  options.bytes, limit);
  return found->GetCommands().AllocStagingBuffer(options.bytes, options.use);
}

Result<void> Cache::FreeTrashCaches(DrawportContextInterface& context) {
  OSTRA_ASSIGN_OR_RETURN(Context * found, FindContext(context));
  return found->FreeTrash();
}

}  // namespace ostra::vulkan
