// What the translator did with each line of the files it has read: one note per line.
//
//   const LineNotes& notes = parser->GetLineNotes()[origin.file];
//   if (notes[origin.line - 1].use == LineUse::Texture) ...
//
// Tools ask these notes instead of cutting files into blocks themselves. Plain values; thread-safe to read.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"

namespace ostra {

enum class LineUse : UInt8 {
  Unread,       // the parse ended before this line
  Blank,        // nothing but white space
  FileScope,    // code of the file scope (code behind the last block is lost); text of a header that is copied whole
  Dropped,      // a preprocessor directive, a closing brace or a namespace; in headers what is no definition
  Directive,    // GROUPSIZE, CPU_GRANULARITY, CPU_SINGLETHREADEDTHRESHOLD
  NoiseCall,    // ADDNOISECALL; stays in the code of kernels and functions
  Swallowed,    // dropped unread, with the line before it
  BlockStart,   // begins a block
  BlockEnd,     // ends a block: an end macro, or the line of the closing brace, which stays in the code of functions
  CpuScope,     // CPU_SCOPE_START, CPU_SCOPE_END and what is between them
  Body,         // code of a kernel or function
  GroupShared,  // declares group-shared memory; what else is on the line is lost
  Value,        // declares a uniform, an attribute, a varying or an output
  Counter,      // declares an atomic counter
  Buffer,       // declares a buffer
  Texture,      // declares a texture or an image
  NoParameter,  // a line among declarations that declares nothing
  Include,      // includes a header, between the marks for includes
  Define,       // a define of a header
  Member,       // a member of a struct of a header
  LeftOut,      // of a header whose include guard was met before
};

// The block that a line begins, stands in or ends.
enum class BlockKind : UInt8 { None, Kernel, Function, InputStruct, InputDefine, Struct };

struct LineNote {
  LineUse use = LineUse::Unread;
  BlockKind block = BlockKind::None;
  // The name that is declared or defined, or the included header; empty for kernels, functions and other lines.
  String name = {};
};

// notes[0] is about line 1.
using LineNotes = BaseArray<LineNote>;

// True for uses that declare a parameter.
inline Bool IsParameter(LineUse use) {
  return use == LineUse::Value || use == LineUse::Counter || use == LineUse::Buffer || use == LineUse::Texture;
}

// The notes of a kernel file or stage file with the text `text`, for files whose parse fails or was not tried: a line
// with a mistake is noted as what it was read as, and reading goes on behind it. Without options: TYPE is no known type
// here. The notes of a parse that succeeds are those of its ShaderParser. Error: out of memory. Thread-safe.
Result<LineNotes> NoteLines(std::string_view text);

}  // namespace ostra
