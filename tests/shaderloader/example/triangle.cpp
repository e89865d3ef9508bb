// Draws a triangle from two stage files into a picture:   triangle FOLDER PICTURE.png
// FOLDER holds the folder "shaders" with the stage files.
#include <cstdio>

#include "ostra/drawport/renderer.h"
#include "ostra/host.h"
#include "ostra/image/image.h"
#include "ostra/math/data_types.h"
#include "ostra/object/class.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"

using namespace ostra;

static Result<void> DrawTriangle(const Url& folder, const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(Host host, Host::Create());
  OSTRA_RETURN_IF_ERROR(host.LoadModule("parallelprogram"));
  OSTRA_RETURN_IF_ERROR(host.LoadModule("drawport_vulkan"));
  OSTRA_ASSIGN_OR_RETURN(DrawportCacheRef cache, GetDefaultDrawportCache());
  OSTRA_ASSIGN_OR_RETURN(DrawportRef drawport, cache->AllocDrawport(cache->GetCacheType(), kDrawportSubtypeSystem));
  OSTRA_ASSIGN_OR_RETURN(DrawportContextRef context, drawport->CreateOffscreenRenderContext(false, 0));
  DrawportRenderer renderer(context);
  DrawportRenderTargetDescription size;
  size.width = size.height = 256;
  OSTRA_ASSIGN_OR_RETURN(size.colorFormats[0], GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
  OSTRA_ASSIGN_OR_RETURN(DrawportRenderTargetRef target, renderer.CreateTarget(size));

  OSTRA_ASSIGN_OR_RETURN(auto loader, CreateObject<GeneralShaderLoaderInterface>(kGeneralShaderLoaderClass));
  OSTRA_RETURN_IF_ERROR(loader->Init(folder, &context));
  BaseArray<Url> stages;
  OSTRA_RETURN_IF_ERROR(stages.Append(Url("relative://net.example.triangle.vert"_s)));
  OSTRA_RETURN_IF_ERROR(stages.Append(Url("relative://net.example.triangle.frag"_s)));
  OSTRA_RETURN_IF_ERROR(loader->AddShaders("triangle"_iid, stages, 0, target.GetPointer(), DataDictionary(), true));
  const Float32 corners[] = {-0.8f, -0.8f, 0.8f, -0.8f, 0.0f, 0.8f};
  OSTRA_RETURN_IF_ERROR(loader->StoreVertexBufferData("corners"_iid, Block<const Float32>(corners, 6)));
  OSTRA_RETURN_IF_ERROR(loader->SetVertexBufferToActiveProgramSameId("corners"_iid));
  OSTRA_RETURN_IF_ERROR(loader->SetUniform("tint"_iid, Vector4d32(1, 0.6f, 0.2f, 1), 1));  // of the second file
  OSTRA_RETURN_IF_ERROR(loader->UpdateUniforms(target.GetPointer()));

  DrawportDrawCall call;
  OSTRA_ASSIGN_OR_RETURN(call.program, loader->GetActiveProgramFactory());
  OSTRA_ASSIGN_OR_RETURN(call.values, loader->GetActiveValueSet());
  OSTRA_ASSIGN_OR_RETURN(call.state, loader->GetActiveStateObject());
  OSTRA_ASSIGN_OR_RETURN(call.attributes, loader->GetActiveAttributeSet());
  OSTRA_ASSIGN_OR_RETURN(call.vertices, loader->GetActiveAttributeBuffer());
  call.count = 3;
  OSTRA_RETURN_IF_ERROR(renderer.Begin(target, DrawportClearValues()));
  OSTRA_RETURN_IF_ERROR(renderer.Draw(call));
  OSTRA_RETURN_IF_ERROR(renderer.End());
  OSTRA_ASSIGN_OR_RETURN(const Image picture, renderer.ReadImage(*target, 0));
  return WriteImage(file, picture);
}

static Result<void> Run(int count, char** arguments) {
  if (count != 3) return Error::Make(kIllegalArgumentError, "triangle FOLDER PICTURE.png", "triangle", 1);
  OSTRA_ASSIGN_OR_RETURN(const Url folder, Url::Create(arguments[1]));
  OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(arguments[2]));
  return DrawTriangle(folder, file);
}

int main(int count, char** arguments) {
  const Result<void> result = Run(count, arguments);
  if (result) return 0;
  const std::string_view message = result.GetError().GetMessage().GetView();
  std::fprintf(stderr, "%.*s\n", static_cast<int>(message.size()), message.data());
  return 1;
}
