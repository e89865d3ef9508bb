// What a ShaderParser has found: the pieces of which a shader is put together.
//
// Every text keeps, beside it, where each of its lines came from, so that what a compiler says about the assembled
// shader can be said about the kernel file or the header. Plain values; thread-safe to read.
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/image/pixel_format.h"
#include "ostra/io/url.h"
#include "parallelprogram/shaderparser/line_notes.h"

namespace ostra {

// Where a line stands.
struct ShaderTextOrigin {
  Int32 file = 0;  // index into ShaderParser::GetFiles()
  Int32 line = 0;  // the first is 1; 0 for text that the parser adds for the whole file
  friend Bool operator==(const ShaderTextOrigin&, const ShaderTextOrigin&) = default;
};

// The origins of the lines of a text in order. What follows the last line end may have none when it is empty.
using ShaderTextOrigins = BaseArray<ShaderTextOrigin>;

// Bits of ShaderInputEntry::kind; 0 is an input that may be written.
inline constexpr Int32 kShaderInputReadOnly = 1;
inline constexpr Int32 kShaderInputVarying = 2;
inline constexpr Int32 kShaderInputOut = 4;
inline constexpr Int32 kShaderInputAttribute = 8;

// A buffer, a uniform, or an input or output of a stage.
struct ShaderInputEntry {
  DataType dataType;  // of a value; no type for a buffer
  CString typeName;   // the element type of a buffer as it is written; empty for a value
  CString name;
  Int32 kind = 0;
  ShaderTextOrigin origin;
};

// Values of ShaderTextureEntry::textureType.
inline constexpr Int32 kShaderTexture1D = 1;
inline constexpr Int32 kShaderTexture2D = 6;
inline constexpr Int32 kShaderTexture3D = 10;

struct ShaderTextureEntry {
  Int32 textureType = 0;
  PixelFormatRef format = nullptr;
  CString name;
  Bool linear = false;    // filtered; otherwise the nearest texel
  Bool readOnly = false;  // false for an image that the kernel writes
  ShaderTextOrigin origin;
};

// A member of a struct as its line declares it: of any type, also of a struct or an array.
struct ShaderStructMember {
  String type;       // as it is written
  String name;       // without its dimension
  String dimension;  // of an array: what stands between the brackets; else empty
  ShaderTextOrigin origin;
};

// A struct of an include file.
struct ShaderStructDefinition {
  CString name;
  BaseArray<ShaderInputEntry> members;  // values of kind 0
  BaseArray<String> memberLines;        // the source line of each member
  Int byteSize = 0;                     // sum of the members' sizes
  ShaderTextOrigin origin;              // of the line that names it; members have their own

  // The members of all types, in order; those of `members` among them.
  BaseArray<ShaderStructMember> declarations;
  // The first line that is neither "type name;" nor "type name[count];": as an element of a buffer the struct would
  // lose members. Line 0: there is none.
  ShaderTextOrigin unclearLine;
};

// An inline function of the kernel file or of an include file.
struct ShaderFunctionDefinition {
  String declaration;  // the first line after the word inline
  CString body;        // the lines after it, through the closing brace
  ShaderTextOrigin declarationOrigin;
  ShaderTextOrigins bodyOrigins;
};

// A header that is named between the marks for includes, and not found.
struct ShaderMissingHeader {
  ShaderTextOrigin origin;  // of the #include line
  String name;              // as it stands there, without its quotes
};

// What one parse fills and nothing changes afterwards. The texts and the lists of their origins run in parallel.
struct ShaderPieces {
  Int noiseCallCount = 0;
  BaseArray<ShaderFunctionDefinition> functions;
  BaseArray<CString> globalCode;
  CString kernelCode;
  BaseArray<ShaderInputEntry> inputEntries;
  BaseArray<ShaderTextureEntry> textureEntries;
  BaseArray<ShaderStructDefinition> structs;
  BaseArray<String> defines;
  Int32 workGroupSize[3] = {-1, -1, -1};  // x is -1 when the file says nothing
  BaseArray<String> groupSharedDeclarations;
  Int32 metalBufferCount = 0;
  Int32 metalImageCount = 0;

  BaseArray<Url> files;  // what origins count in
  BaseArray<ShaderMissingHeader> missingHeaders;
  BaseArray<UInt64> fileStamps;    // of each file before it was read; 0 for one that cannot be asked
  BaseArray<LineNotes> lineNotes;  // of each file; empty for one that is not there
  BaseArray<ShaderTextOrigins> globalCodeOrigins;
  ShaderTextOrigins kernelCodeOrigins;
  BaseArray<ShaderTextOrigin> defineOrigins;
  BaseArray<ShaderTextOrigin> groupSharedDeclarationOrigins;
};

}  // namespace ostra
