#include "parallelprogram/shaderparser/include_scan.h"

#include <algorithm>

#include "ostra/core/hash_map.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

// What a parse that refuses endless sources allows: headers that include others without guards multiply.
constexpr Int kDeepestInclude = 64;
constexpr Int kMaxIncludes = 1000;

class IncludeScan {
 public:
  explicit IncludeScan(ParseState& state) : _state(state) {}

  Result<void> Scan(const Url& file);
  BaseArray<IncludeFile> TakeFiles() { return std::move(_files); }

 private:
  // A header that is being scanned.
  struct OpenHeader {
    Url file;
    Int guards;  // met so far when its scan began
  };

  Result<void> AppendPreamble(const Url& file);
  Result<void> CheckLimits(const Url& header);
  Result<void> ScanLines(const Url& header, const SourceLines& lines, Bool& wasSeen);
  Result<Bool> EnterGuard(const SourceLines& lines, Int index);
  Result<void> ScanIncludeLine(const Url& header, std::string_view line);

  ParseState& _state;
  BaseArray<IncludeFile> _files;
  BaseArray<OpenHeader> _open;
  HashMap<UInt64, Bool> _guards;
  Int _scanned = 0;
};

Bool IsGraphicsShader(const Url& file) {
  const String suffix = file.GetSuffix();
  return suffix.Contains("vert") || suffix.Contains("frag");
}

// The header of `file`: its name with another suffix or, without a suffix, another end. An empty url when there is
// none.
Result<Url> FindHeader(const Url& file, const SourceOverlay* overlay) {
  Url header = file;
  header.ClearSuffix();
  // A quote is left in the name by an include line with a carriage return at its end: no file is called so.
  if (header.GetName().IsEmpty() || file.GetSuffix().EndsWith("\"")) return Url();
  const Bool isGraphicsShader = IsGraphicsShader(file);
  OSTRA_ASSIGN_OR_RETURN(const String name,
                         String::Concatenate(header.GetName(), isGraphicsShader ? "_inc" : "_header"));
  OSTRA_RETURN_IF_ERROR(header.SetSuffix(isGraphicsShader ? "inc" : "h"));
  OSTRA_ASSIGN_OR_RETURN(const Bool isFirst, HasSourceFile(header, overlay));
  if (isFirst) return header;
  OSTRA_RETURN_IF_ERROR(header.SetName(name));
  OSTRA_ASSIGN_OR_RETURN(const Bool isSecond, HasSourceFile(header, overlay));
  return isSecond ? header : Url();
}

Result<void> IncludeScan::Scan(const Url& file) {
  OSTRA_RETURN_IF_ERROR(AppendPreamble(file));
  OSTRA_ASSIGN_OR_RETURN(const Url header, FindHeader(file, _state.overlay));
  if (header.IsEmpty()) return OK;
  OSTRA_RETURN_IF_ERROR(CheckLimits(header));
  const ShaderTextOrigin includingLine = _state.origin;
  IncludeFile include;
  OSTRA_ASSIGN_OR_RETURN(include.file, _state.AddFile(header));
  _state.origin = {include.file, 0};
  OSTRA_ASSIGN_OR_RETURN(include.source, ReadSourceFile(header, _state.lineEnds, _state.overlay));
  OSTRA_ASSIGN_OR_RETURN(const SourceLines lines, SplitLines(include.source.text));
  OSTRA_RETURN_IF_ERROR(_state.BeginNotes(lines.GetCount()));
  const Int filesBefore = _files.GetCount();
  OSTRA_RETURN_IF_ERROR(_open.Append(OpenHeader{header, _guards.GetCount()}));
  Bool wasSeen = false;
  OSTRA_RETURN_IF_ERROR(ScanLines(header, lines, wasSeen));
  _open.RemoveLast();
  _state.origin = includingLine;
  if (wasSeen)
    _files.Shorten(filesBefore);
  else
    OSTRA_RETURN_IF_ERROR(_files.Append(std::move(include)));
  return OK;
}

Result<void> IncludeScan::AppendPreamble(const Url& file) {
  const std::string_view preamble = _state.target.nanoVdbPreamble;
  if (preamble.empty() || !file.GetName().Contains("PNanoVDB")) return OK;
  ShaderTextOrigin origin;
  OSTRA_ASSIGN_OR_RETURN(origin.file, _state.AddFile(file));
  ShaderTextOrigins origins;
  OSTRA_RETURN_IF_ERROR(origins.Append(origin));
  OSTRA_RETURN_IF_ERROR(origins.Append(origin));
  OSTRA_ASSIGN_OR_RETURN(CString text, CString::Create(preamble));
  OSTRA_RETURN_IF_ERROR(_state.pieces.globalCode.Append(std::move(text)));
  OSTRA_RETURN_IF_ERROR(_state.pieces.globalCodeOrigins.Append(std::move(origins)));
  return OK;
}

// A header that is open already goes the same way again, and for ever, unless a guard was met since.
Result<void> IncludeScan::CheckLimits(const Url& header) {
  for (const OpenHeader& open : _open) {
    if (!(open.file == header) || open.guards != _guards.GetCount()) continue;
    OSTRA_ASSIGN_OR_RETURN(const String text, Format("\"@\" includes itself and has no guard", header));
    return _state.MakeLocatedError(text);
  }
  if (_state.endless == EndlessSource::Repeat) return OK;
  if (_open.GetCount() >= kDeepestInclude) return _state.MakeLocatedError("headers include each other too deeply");
  if (++_scanned > kMaxIncludes) {
    const Bool areDistinct = _state.pieces.files.GetCount() > kMaxIncludes / 2;
    OSTRA_ASSIGN_OR_RETURN(const String text, Format("more than @ headers are included@", kMaxIncludes,
                                                     areDistinct ? "" : " again and again; guards are missing"));
    return _state.MakeLocatedError(text);
  }
  return OK;
}

Result<void> IncludeScan::ScanLines(const Url& header, const SourceLines& lines, Bool& wasSeen) {
  Bool isInSection = false;
  for (Int i = 0; i < lines.GetCount(); ++i) {
    const std::string_view line = TrimLeft(lines[i]);
    if (line.empty() || (line[0] != '/' && line[0] != '#')) continue;
    _state.origin.line = static_cast<Int32>(i + 1);
    const SourceWords words(line);
    if (isInSection) {
      if (words[0] == "//" && words[1] == "INCLUDE_STRUCTS_END") isInSection = false;
      if (words[0] == "#include" && words.GetCount() >= 2) OSTRA_RETURN_IF_ERROR(ScanIncludeLine(header, words[1]));
    } else if (words[0] == "#ifndef") {
      OSTRA_ASSIGN_OR_RETURN(const Bool isNew, EnterGuard(lines, i));
      if (isNew) continue;
      wasSeen = true;
      return OK;
    } else if (words[0] == "//" && words[1] == "INCLUDE_STRUCTS_BEGIN") {
      isInSection = true;
    }
  }
  return OK;
}

// False when the lines from `index` on are a guard that was met before.
Result<Bool> IncludeScan::EnterGuard(const SourceLines& lines, Int index) {
  if (index + 1 == lines.GetCount()) return true;
  const SourceWords condition(TrimLeft(lines[index]));
  const SourceWords define(TrimLeft(lines[index + 1]));
  const Bool isGuard =
      condition.GetCount() >= 2 && define.GetCount() >= 2 && define[0] == "#define" && condition[1] == define[1];
  if (!isGuard) return true;
  OSTRA_ASSIGN_OR_RETURN(const auto entry, _guards.Insert(HashText(condition[1]), true));
  return entry.isNew;
}

// `quoted` is the name in its quotes, whatever they are.
Result<void> IncludeScan::ScanIncludeLine(const Url& header, std::string_view quoted) {
  const std::string_view name = quoted.size() < 2 ? std::string_view() : quoted.substr(1, quoted.size() - 2);
  OSTRA_ASSIGN_OR_RETURN(const Url file, header.GetDirectory() + name);
  const Bool isPreamble = file.GetName().Contains("PNanoVDB");
  OSTRA_ASSIGN_OR_RETURN(const Url found, FindHeader(file, _state.overlay));
  if (found.IsEmpty() && !isPreamble) {
    OSTRA_ASSIGN_OR_RETURN(String missing, String::Create(name));
    OSTRA_RETURN_IF_ERROR(_state.pieces.missingHeaders.Append({_state.origin, std::move(missing)}));
  }
  LineNote& note = _state.GetNote();
  OSTRA_ASSIGN_OR_RETURN(note.name, String::Create(name));
  note.use = LineUse::Include;
  return Scan(file);
}

// Headers that were met are read, but for those whose guard was met before in another file.
void NoteLeftOut(ShaderPieces& pieces, const BaseArray<IncludeFile>& files) {
  for (Int file = 1; file < pieces.files.GetCount(); ++file) {
    const auto isThis = [file](const IncludeFile& read) { return read.file == file; };
    if (std::any_of(files.begin(), files.end(), isThis)) continue;
    for (LineNote& note : pieces.lineNotes[file]) note.use = LineUse::LeftOut;
  }
}

}  // namespace

Result<BaseArray<IncludeFile>> ScanIncludes(ParseState& state, const Url& file) {
  IncludeScan scan(state);
  OSTRA_RETURN_IF_ERROR(scan.Scan(file));
  BaseArray<IncludeFile> files = scan.TakeFiles();
  NoteLeftOut(state.pieces, files);
  return files;
}

}  // namespace ostra
