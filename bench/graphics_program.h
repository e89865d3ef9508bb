// Graphics programs of stage files as a client draws them: through the shader loader and the small renderer. Failures
// end the workload with the error's message.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/program.h"
#include "ostra/drawport/renderer.h"
#include "parallelprogram/shaderloader/general_shader_loader_interface.h"

namespace bench {

class GraphicsProgram {
 public:
  // A target of RGBA floats, with depth if asked; stage files lie in the folder "shaders" beside this program.
  GraphicsProgram(ostra::Int width, ostra::Int height, bool hasDepth);

  // Once: builds the program. Opaque; with depth, what is nearer wins.
  void Build(const std::vector<std::string>& stages);
  // Once, after Build: floats, attributes of a vertex one behind the other.
  void SetVertices(const std::vector<float>& numbers);

  // `stage`: its number in the order of Build.
  template <class T>
  bool SetUniform(const ostra::InternedId& name, const T& value, ostra::Int32 stage) {
    return _loader->SetUniform(name, value, stage).IsOk();
  }
  bool UpdateUniforms() { return _loader->UpdateUniforms(_target.GetPointer()).IsOk(); }

  // A call of the program; before it, UpdateUniforms.
  ostra::DrawportDrawCall MakeCall(ostra::Int count);
  bool Begin() { return _renderer->Begin(_target, {}).IsOk(); }
  bool Draw(const ostra::DrawportDrawCall& call) { return _renderer->Draw(call).IsOk(); }
  bool End() { return _renderer->End().IsOk() && _renderer->Execute(true).IsOk(); }

  // RGBA floats, rows from the top.
  std::vector<float> Read();

 private:
  bool _hasDepth;
  std::unique_ptr<ostra::DrawportRenderer> _renderer;
  ostra::DrawportRenderTargetRef _target;
  ostra::GeneralShaderLoaderRef _loader;  // goes first
};

}  // namespace bench
