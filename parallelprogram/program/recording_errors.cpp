#include "parallelprogram/program/recording_errors.h"

#include "ostra/core/format.h"

OSTRA_UNIT("recording");

namespace ostra::recording_errors {

Error MakeNotBegun() {
  return OSTRA_ILLEGAL_STATE("No dispatches are being recorded: a recording has to begin before it ends.");
}

Error MakeNotFound(UInt64 number) {
  return OSTRA_ILLEGAL_STATE("The program has no recording @: it was released, or belongs to another program.", number);
}

Error MakeNotUpdated(const InternedId& kernelId) {
  return OSTRA_ILLEGAL_STATE("The uniforms of the kernel \"@\" have not been updated since the recording began.",
                             kernelId);
}

Error MakeNoCopies() { return OSTRA_ILLEGAL_STATE("Buffers cannot be copied while dispatches are being recorded."); }

Error MakeBufferChanged(const InternedId& name) {
  return OSTRA_ILLEGAL_STATE(
      "The buffer \"@\" was replaced, resized or deleted since dispatches with it were recorded: they have to be "
      "recorded again.",
      name);
}

Error MakeTextureChanged(const InternedId& name) {
  return OSTRA_ILLEGAL_STATE(
      "The texture \"@\" was replaced or deleted since dispatches with it were recorded: they have to be recorded "
      "again.",
      name);
}

Error MakeNotDispatched(const InternedId& kernelId) {
  return OSTRA_ILLEGAL_ARGUMENT("The recording has no dispatch of a kernel \"@\".", kernelId);
}

Error MakeNoUniform(const InternedId& kernelId, const InternedId& attr) {
  return OSTRA_ILLEGAL_ARGUMENT("The kernel \"@\" has no uniform \"@\".", kernelId, attr);
}

Error MakeNoiseMode(const InternedId& attr) {
  return OSTRA_ILLEGAL_ARGUMENT("The mode of a noise, \"@\", cannot be changed in recorded dispatches.", attr);
}

Result<void> CheckReplay(Int times, Bool isOpen) {
  if (times < 0) return OSTRA_ILLEGAL_ARGUMENT("A recording cannot be replayed @ times.", times);
  if (isOpen) return OSTRA_ILLEGAL_STATE("A recording cannot be replayed while dispatches are being recorded.");
  return OK;
}

}  // namespace ostra::recording_errors
