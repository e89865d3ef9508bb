#include "bench/graphics_program.h"

#include <algorithm>

#include "bench/gpu_program.h"
#include "ostra/object/class.h"

namespace bench {

using namespace ostra;

GraphicsProgram::GraphicsProgram(Int width, Int height, bool hasDepth) : _hasDepth(hasDepth) {
  const DrawportCacheRef cache = Need(GetDefaultDrawportCache());
  const DrawportRef drawport = Need(cache->AllocDrawport(cache->GetCacheType(), kDrawportSubtypeSystem));
  _renderer = std::make_unique<DrawportRenderer>(
      Need(drawport->CreateOffscreenRenderContext(false, drawport->GetDrawingDevice())));
  DrawportRenderTargetDescription description;
  description.width = width;
  description.height = height;
  description.colorFormats[0] = Need(GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
  if (hasDepth) description.depthFormat = DrawportDepthFormat::Float32;
  _target = Need(_renderer->CreateTarget(description));
  _loader = Need(CreateObject<GeneralShaderLoaderInterface>(kGeneralShaderLoaderClass));
  Need(_loader->Init(Need(Url::Create(GetProgramFolder())), &_renderer->GetContext()));
}

void GraphicsProgram::Build(const std::vector<std::string>& stages) {
  BaseArray<Url> files;
  for (const std::string& stage : stages) Need(files.Append(Need(Url::Create("relative://" + stage))));
  DataDictionary parameters;
  Need(parameters.Set("useAlphaBlending"_iid, Bool{false}));
  if (_hasDepth) Need(parameters.Set("depthTest"_iid, Int32{1}));
  Need(_loader->AddShaders("drawn"_iid, files, 0, _target.GetPointer(), parameters, true));
}

void GraphicsProgram::SetVertices(const std::vector<float>& numbers) {
  BaseArray<Float32> elements;
  Need(elements.Resize(static_cast<Int>(numbers.size())));
  std::copy(numbers.begin(), numbers.end(), elements.begin());
  Need(_loader->StoreVertexBufferData("vertices"_iid, elements));
  Need(_loader->SetVertexBufferToActiveProgramSameId("vertices"_iid));
}

DrawportDrawCall GraphicsProgram::MakeCall(Int count) {
  DrawportDrawCall call;
  call.program = Need(_loader->GetActiveProgramFactory());
  call.values = Need(_loader->GetActiveValueSet());
  call.state = Need(_loader->GetActiveStateObject());
  call.attributes = Need(_loader->GetActiveAttributeSet());
  call.vertices = Need(_loader->GetActiveAttributeBuffer());
  call.count = count;
  return call;
}

std::vector<float> GraphicsProgram::Read() {
  const Image image = Need(_renderer->ReadImage(*_target, 0));
  return {image.rgba.begin(), image.rgba.end()};
}

}  // namespace bench
