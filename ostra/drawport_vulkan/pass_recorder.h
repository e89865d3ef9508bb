// PassRecorder: the draw pass of a list and its draws. Rendering begins with the first draw of a pass. All other work
// suspends it; the next draw begins it again and keeps the contents of the targets.
#pragma once

#include "ostra/drawport/command_list.h"
#include "ostra/drawport_vulkan/pipeline.h"
#include "ostra/drawport_vulkan/recorder.h"
#include "ostra/drawport_vulkan/render_target.h"

namespace ostra::vulkan {

class ProgramFactory;

class PassRecorder {
 public:
  explicit PassRecorder(Recorder& recorder) : _recorder(recorder) {}
  PassRecorder(const PassRecorder&) = delete;

  // See DrawportCommandList.
  Result<void> Begin(DrawportRenderTarget& target, const DrawportClearValues& clear);
  Result<void> Draw(const DrawportDrawCall& call);
  Result<void> End();

  // Ends rendering, so that other work can be recorded; the pass goes on.
  void Suspend();
  void NoteNewBatch() { _boundSet = {}; }
  void NoteDroppedBatch(UInt64 serial);

 private:
  Result<void> Resume();
  void BeginRendering(RenderTarget& target);
  // Whether the rendering that begins now clears all of an attachment.
  Bool Clears(const ImageResource& image) const;
  // With the layouts of all attachments.
  void RecordLayouts(const Barrier& barrier, Bool isBegin);
  Result<void> CheckDraw(const DrawportDrawCall& call, ProgramFactory& factory) const;
  Result<BufferResource*> FindVertices(const DrawportDrawCall& call, const ProgramFactory& factory) const;
  // Makes the variant of the program's pipeline that the draw needs the last one.
  Result<void> FindVariant(const DrawportDrawCall& call, ProgramFactory& factory);
  void BindVariant();
  void BindVertices(BufferResource* vertices);  // null: the program has none
  void RecordDraw(const DrawportDrawCall& call);
  // Vertices of one call of the driver.
  Int GetMostVertices(const DrawportDrawCall& call) const;

  Recorder& _recorder;
  RenderTargetRef _target;
  DrawportClearValues _clear;
  Bool _isCleared = false;
  UInt64 _clearedBy = 0;  // batch
  Bool _isRendering = false;

  // What is bound since Resume.
  BoundSet _boundSet;
  VkPipeline _boundVariant = VK_NULL_HANDLE;
  BufferResource* _boundVertices = nullptr;
  // The state of the last draw with its pipeline: most draws differ in their values alone.
  GraphicsState _lastState;
  PipelineRef _lastPipeline;
  VkPipeline _lastVariant = VK_NULL_HANDLE;
};

}  // namespace ostra::vulkan
