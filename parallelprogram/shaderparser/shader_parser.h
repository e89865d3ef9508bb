// ShaderParser: translates one kernel file, or one stage file of a graphics program, for one target language.
//
//   OSTRA_ASSIGN_OR_RETURN(StrongRef<ShaderParser> parser, ShaderParser::Create(kTargetGlsl));
//   OSTRA_RETURN_IF_ERROR(parser->Init(file, DataDictionary()));
//   for (const ShaderInputEntry& input : parser->GetInputEntries()) ...
//   parser->GetKernelCode();
//
// The result is not one text but the pieces of one: the kernel's body, functions, file-scope code, structs,
// declarations. How a file is read and translated, line by line, is described in docs/translation.md.
#pragma once

#include "ostra/core/atomic.h"
#include "ostra/core/data_dictionary.h"
#include "ostra/core/strong_ref.h"
#include "ostra/math/vector.h"
#include "parallelprogram/shaderparser/shader_records.h"
#include "parallelprogram/shaderparser/source_file.h"
#include "parallelprogram/shaderparser/type_names.h"

namespace ostra {

// Options of a parse. A String that takes the place of TYPE (nothing is replaced without it), and an Int32 with the
// number of samples of the framebuffer that a graphics shader reads.
inline constexpr Id kShaderTemplateArgument = "net.ostra.shaderparser.templateargument"_id;
inline constexpr Id kShaderMultisampling = "net.ostra.shaderparser.multisampling"_id;

// What becomes of a source that a replacement meets again and again, such as `ATOMIC` with no blank after it.
enum class EndlessSource : Int32 {
  Repeat = 0,  // the parse does not end: such sources must not be given
  Refuse = 1,  // the parse ends with an error that reads `file:line: error: ...`
};

// A text that takes the place of a file and its headers, with the lines that its own lines stand for.
struct WrittenSource {
  String header, text;                       // instead of the headers, and of the file
  BaseArray<Url> files;                      // the parsed file first
  BaseArray<Int> lineCounts;                 // of the files
  ShaderTextOrigins headerLines, textLines;  // in `files`; line 0 where a line stands for none
  String reportTable;                        // what the kernel reports (program/kernel_report.h); empty: nothing
};

class ShaderParser final : public RefCounted<ShaderParser> {
 public:
  // Error: out of memory.
  static Result<StrongRef<ShaderParser>> Create(const Id& targetLanguage);
  explicit ShaderParser(const Id& targetLanguage) : _targetLanguage(targetLanguage) {}

  // Before Init: texts that are read in place of files. The overlay must stay callable until Init has come back.
  void SetOverlay(SourceOverlay overlay) { _overlay = std::move(overlay); }

  // Translates `file` and its headers. Once that has succeeded, later calls return at once, whatever options they are
  // given, as long as there is such a file: one that is gone fails before that.
  // Errors: illegal argument for a file that is none; those of reading, deciphering and decoding files; what is wrong
  // in the source, worded as docs/translation.md lists it; out of memory. After an error the next call tries again, and
  // adds to what was found before: use a new parser for a corrected file.
  // `lineEnds` holds for the file and its headers. With `written` that is parsed in their place: origins and notes are
  // about the lines of its files. May be called from any thread: one caller parses, the others wait
  // for it.
  Result<void> Init(const Url& file, const DataDictionary& options, EndlessSource endless = EndlessSource::Repeat,
                    LineEnds lineEnds = LineEnds::Keep, const WrittenSource* written = nullptr);

  // The rest may be called after Init has succeeded, from any thread.

  const Id& GetTargetLanguage() const { return _targetLanguage; }
  const CString& GetKernelCode() const { return _pieces.kernelCode; }
  const BaseArray<CString>& GetGlobalCode() const { return _pieces.globalCode; }
  const BaseArray<ShaderFunctionDefinition>& GetFunctions() const { return _pieces.functions; }
  const BaseArray<ShaderInputEntry>& GetInputEntries() const { return _pieces.inputEntries; }
  const BaseArray<ShaderTextureEntry>& GetTextureEntries() const { return _pieces.textureEntries; }
  const BaseArray<ShaderStructDefinition>& GetStructs() const { return _pieces.structs; }
  const BaseArray<String>& GetDefines() const { return _pieces.defines; }
  const BaseArray<String>& GetGroupSharedDeclarations() const { return _pieces.groupSharedDeclarations; }
  // (256, 1, 1) when the file says nothing.
  Vec3<Int32> GetWorkGroupSize() const;
  // Lines that begin with ADDNOISECALL.
  Int GetNoiseCallCount() const { return _pieces.noiseCallCount; }
  // Buffers and writable textures, counted for the limits of a Metal kernel.
  Int32 GetMetalBufferCount() const { return _pieces.metalBufferCount; }
  Int32 GetMetalImageCount() const { return _pieces.metalImageCount; }

  // Where the pieces come from: the files, and for each piece the origins of its lines. After Init has failed, and
  // before it is called again: the files that the parse has come to.
  const BaseArray<Url>& GetFiles() const { return _pieces.files; }
  // The modification stamps that the files had before they were read, 0 for one that has none: what is saved during the
  // parse has a later one.
  const BaseArray<UInt64>& GetFileStamps() const { return _pieces.fileStamps; }
  // What was done with each line, in parallel to GetFiles(); the first file is the parsed one.
  const BaseArray<LineNotes>& GetLineNotes() const { return _pieces.lineNotes; }
  const ShaderTextOrigins& GetKernelCodeOrigins() const { return _pieces.kernelCodeOrigins; }
  const BaseArray<ShaderTextOrigins>& GetGlobalCodeOrigins() const { return _pieces.globalCodeOrigins; }
  const BaseArray<ShaderTextOrigin>& GetDefineOrigins() const { return _pieces.defineOrigins; }
  const BaseArray<ShaderTextOrigin>& GetGroupSharedDeclarationOrigins() const {
    return _pieces.groupSharedDeclarationOrigins;
  }
  const ShaderPieces& GetPieces() const { return _pieces; }

  // After Init has failed, and before it is called again: an error of it as one about the place that the parse had come
  // to, `file:line: error: message`, or `file: error: message` when no line is to blame. An error that has a place
  // keeps it. When there is no memory for it: the out-of-memory error.
  Error PlaceError(const Error& error) const;

 private:
  Result<void> Parse(const Url& file, const DataDictionary& options, EndlessSource endless, LineEnds lineEnds,
                     const WrittenSource* written);

  const Id _targetLanguage;
  SourceOverlay _overlay;
  AtomicInt32 _initState{0};  // 0 not parsed, 1 a parse runs, 2 parsed
  ShaderPieces _pieces;
  ShaderTextOrigin _lastOrigin{-1, 0};  // where the last parse ended; no file before the first
};

}  // namespace ostra
