// A graphics program of a shader loader: its stage files, what their parameters are linked to, and what was built of
// them.
#pragma once

#include "ostra/drawport/cache.h"
#include "parallelprogram/device/parameter_binding.h"
#include "parallelprogram/device/parser_cache.h"

namespace ostra {

// One stage file. Its links are those of the parameters that the file declares.
struct ShaderStage : ParameterLinks {
  DrawportStage stage = DrawportStage::Vertex;
  Url source;                        // as the client gave it
  Url file;                          // where it was found
  String templateArgument;           // takes the place of TYPE
  String name;                       // of `source`, without suffix
  UInt64 parserKey = 0;              // in the cache of parsers
  UInt64 stamp = 0;                  // of the files below
  BaseArray<Url> files;              // that the last parse has read, good or not
  TextureSamplerEntry depthTexture;  // of the draw pass: only the handles count
  TextureSamplerEntry colorTexture;
};

struct GraphicsProgram : RefCounted<GraphicsProgram> {
  InternedId id;
  String name;          // of the first file
  UInt64 nameHash = 0;  // keys programs
  UInt64 hash = 0;      // of the name and the ID; keys value sets
  BaseArray<ShaderStage> stages;
  DataDictionary drawPassParameters;  // that the stages are translated with
  DataBufferEntry vertexBuffer;

  // Owned by the items below.
  DrawportVertexAttributeSet* attributeSet = nullptr;
  DrawportProgramFactory* factory = nullptr;
  DrawportStateObject* stateObject = nullptr;
  DrawportParameterValueSet* valueSet = nullptr;

  DrawportVertexAttributeLayoutItemRef layoutItem;
  DrawportVertexAttributeSetItemRef attributeSetItem;
  DrawportProgramFactoryItemRef factoryItem;
  DrawportStateObjectItemRef stateObjectItem;
  Bool isOfOtherDrawport = false;  // the loader has another one since: what was built is of no use to it

  ~GraphicsProgram() { ReleaseValues(); }
  // Gives the value set back: the program may be shared, and sets stay with it.
  void ReleaseValues();
  // The stage that gets what `stage` hands on; the stage itself when it is the last one.
  DrawportStage GetNextStage(DrawportStage stage) const;
};
using GraphicsProgramRef = StrongRef<GraphicsProgram>;

// Adds a stage for each file. Errors: illegal state "shader location needs to be set for initialization of kernel" for
// an empty location or an empty list; illegal argument "Invalid shader type received. (None of
// .vert/.frag/.tsc/.tse)", or for two files of one kind.
Result<void> AddStages(GraphicsProgram& program, const BaseArray<Url>& files);
// Finds the files, see LocateKernel.
Result<void> LocateStages(GraphicsProgram& program, const Url& resourcePath);
// Adds the stages of another program, whose files have been found, without what they are linked to.
Result<void> CopyStages(GraphicsProgram& program, const GraphicsProgram& source);
// Names the program after its first file, and looks at when its files were last changed. Error: a file is missing.
Result<void> IdentifyProgram(GraphicsProgram& program);

// A number that a draw pass comes with; 0 when it is absent. Error: illegal argument for something else.
Result<Int32> GetPassNumber(const DataDictionary& drawPassParameters, InternedId name);

// Names of textures that stages may read without declaring them: those of the draw pass.
const InternedId& GetDepthTextureName();
const InternedId& GetColorTextureName();

// How a program is described to the GPU layer: features, texts, parameters and variables of all stages, from their
// parsers. Errors: illegal argument "out variables only allowed for fragment shaders.", "attribute variables only
// allowed for vertex shaders.", "UniformTypeMask was not correctly set.", or for what no stage can do.
Result<void> DescribeStages(DrawportProgramDescription& description, const GraphicsProgram& program,
                            const BaseArray<ParsedKernel>& parsed, Int32 sampleCount);

// How the bytes of a vertex are read: the attributes of the vertex stage, without gaps.
Result<void> DescribeAttributes(DrawportVertexAttributeLayoutDescription& layout, const ShaderParser& vertexStage);

}  // namespace ostra
