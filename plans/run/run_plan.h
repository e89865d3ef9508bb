// What a run needs, checked and read completely before anything is computed.
#pragma once

#include <optional>

#include "ostra/core/data.h"
#include "ostra/core/interned_id.h"
#include "parallelprogram/kernelruntime/opened_kernel.h"
#include "plans/buffers/buffer_file.h"
#include "plans/run/kernel_parameters.h"
#include "plans/run/run_options.h"
#include "plans/textures/load_texture.h"

namespace ostra::plans {

struct PlannedBuffer {
  InternedId name;
  DataType elementType;
  Int count = 0;           // of elements
  GenericBaseArray start;  // its elements before the first dispatch; empty once a plan that is run once has used them
  std::string source;      // where they come from; empty for a buffer of zeros
  std::optional<Url> target;
};

struct PlannedTexture {
  InternedId name;
  const TextureLayout* layout = nullptr;
  std::vector<std::string> sources;
  TextureContents contents;
  TextureBindData description;  // of `contents`, without the address of the texels
};

struct PlannedUniform {
  InternedId name;
  Data value;
  Bool isAutomatic = false;  // not set by the user, but the size of the picture or a default
};

struct PlannedCounter {
  InternedId name;
  UInt32 start = 0;
};

struct RunPlan {
  Extents size;         // of the dispatch
  Extents pictureSize;  // of written pictures
  std::vector<PlannedBuffer> buffers;
  std::vector<PlannedTexture> textures;
  std::vector<PlannedUniform> uniforms;
  std::vector<PlannedCounter> counters;
  std::vector<std::pair<InternedId, InternedId>> swaps;
  Bool isRunOnce = false;  // on one program, without a restart: it may take over what was read
};

// Brings options and parameters together and loads the inputs. Errors: usage errors for names and values that do not
// fit the kernel, parameters without a value and sizes that are not known; those of LoadBuffer, LoadTexture and
// CheckBufferTarget.
Result<RunPlan> MakeRunPlan(const RunOptions& options, const kernelruntime::OpenedKernel& opened,
                            const KernelParameters& parameters);

}  // namespace ostra::plans
