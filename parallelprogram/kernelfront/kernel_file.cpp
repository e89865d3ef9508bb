#include "parallelprogram/kernelfront/kernel_file.h"

#include <algorithm>
#include <charconv>

#include "ostra/core/text_characters.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/guard.h"
#include "parallelprogram/kernelfront/missing_kernel.h"
#include "parallelprogram/kernelfront/rewrite.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernelfront {
namespace {

using kernellanguage::FindWordId;
using kernellanguage::WordId;

// A path without its suffix.
std::string_view RemoveSuffix(std::string_view path) {
  const std::size_t dot = path.rfind('.');
  const std::size_t slash = path.rfind('/');
  return dot == std::string_view::npos || (slash != std::string_view::npos && dot < slash) ? path : path.substr(0, dot);
}

std::string MakeLineMark(int line, std::string_view file) {
  return Join({"#line ", std::to_string(line), " ", Quote(file), "\n"});
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  text.remove_suffix(text.size() - std::min(text.find_last_not_of(kBlanks) + 1, text.size()));
  return text;
}

// Whether it makes no difference on the CPU that the translation for the GPU drops a line.
bool MayBeDropped(std::string_view line) {
  line = Trim(line);
  const bool isDefinition = line.starts_with("#define KERNELINPUTS");
  return line.empty() || line == ";" || line.starts_with("//") || line.starts_with("CPU_") ||
         (line.starts_with("#") && !isDefinition);
}

[[noreturn]] void FailForMistake(const SourceText& source, const SourceMistake& mistake) {
  if (mistake.isLineRule) FailLineRule(source, mistake.position, mistake.text);
  Fail(source, mistake.position, mistake.text);
}

}  // namespace

std::string Quote(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    const unsigned number = static_cast<unsigned char>(c);
    if (number >= ' ' && number != 0x7F) {
      if (c == '"' || c == '\\') quoted += '\\';
      quoted += c;
      continue;
    }
    // Three digits always: what follows could be another one.
    for (const unsigned shift : {6U, 3U, 0U}) {
      if (shift == 6) quoted += '\\';
      quoted += static_cast<char>('0' + ((number >> shift) & 7));
    }
  }
  return quoted + '"';
}

std::string MakeIdentifier(std::string_view classId) {
  std::string identifier;
  for (const char c : classId) {
    if (IsWordCharacter(c))
      identifier += c;
    else if (c == '.')
      identifier += '_';
    else
      identifier += Join({"_x", std::to_string(static_cast<unsigned char>(c)), "_"});
  }
  return identifier;
}

void KernelFile::Stop(const Token& token, const std::string& message) const { Fail(_text, token, message); }

void KernelFile::Read() {
  if (const auto mistakes = FindSourceMistakes(_text.GetText(0, _text.GetSize())); !mistakes.empty())
    FailForMistake(_text.GetSource(), mistakes[0]);
  RewriteWords(_text, _options.templateArgument);
  CheckWords(_text);
  const auto& tokens = _text.GetTokens();
  for (std::size_t i = 0; i < tokens.size();) i = ReadOutside(i);
  if (_kernel.name.empty()) FailForMissingKernel(_text);
  if (!_braces.empty()) Stop(tokens.back(), "a brace that is opened outside of the kernel is not closed");
  CheckParameterUses(_text, _parameters);
  _text.Replace(_kernel.begin, _kernel.bodyBegin, MakeClassHead());
  if (_kernel.closeBrace != 0) _text.Replace(At(_kernel.closeBrace + 1).begin, _kernel.end, MakeClassEnd());
}

std::string KernelFile::Print(std::string_view laneForms) const {
  return MakeHead() + MakeBody() + MakeTail(laneForms);
}

std::string KernelFile::PrintGroups(std::string_view groupClass, std::string_view laneForms) const {
  std::string head = MakeHead();
  // Behind the first header, which may be precompiled.
  head.insert(head.find('\n') + 1, "#include \"parallelprogram/program/kernel_groups.h\"\n");
  return Join({head, MakeLineMark(1, _file), _text.Take(0, _kernel.begin), "\n", MakeLineMark(_kernel.endLine, _file),
               _text.Take(_kernel.end, _text.GetSize()), "\n", groupClass, MakeTail(laneForms)});
}

void KernelFile::CheckWords(const EditedText& text) {
  for (const Token& token : text.GetTokens()) {
    const WordId word = FindWordId(text.GetText(token));
    _usesNoise = _usesNoise || word == WordId::kNoiseMark;
    _usesGradient = _usesGradient || word == WordId::kGradientData;
    _usesLinearInvocation = _usesLinearInvocation || word == WordId::kLinearInvocation;
  }
}

std::size_t KernelFile::ReadOutside(std::size_t i) { return At(i).isFirstInLine ? ReadLineStart(i) : ReadBrace(i); }

std::size_t KernelFile::ReadLineStart(std::size_t i) {
  const std::string_view word = _text.GetText(At(i));
  if (word == "#" && _text.Is(i + 1, "define") && FindWordId(_text.GetText(i + 2)) == WordId::kKernelInputs)
    return ReadParameters(i, true);
  if (word == "#" && _text.Is(i + 1, "include")) return ReadInclude(i);
  if (word == "struct" && _text.Is(i + 1, "KernelInput")) return ReadParameters(i, false);
  if (word == "namespace") return ReadNamespace(i);
  if (word == "inline" && !_kernel.name.empty()) _isNeededBeforeKernel = true;
  switch (FindWordId(word)) {
    case WordId::kKernelStart:
      return ReadMacroKernel(i);
    case WordId::kKernelEnd:
      FailForMissingStart(_text, At(i));
    case WordId::kKernelMethod:
      return ReadMethodKernel(i);
    case WordId::kGroupSize:
      return ReadGroupSize(i);
    case WordId::kGranularity:
    case WordId::kSingleThreadedThreshold:
      return ReadTuning(i);
    default:
      return ReadBrace(i);
  }
}

std::size_t KernelFile::ReadBrace(std::size_t i) {
  const Token& token = At(i);
  if (token.isInDirective) return i + 1;
  if (_text.Is(i, "{")) _braces.push_back(false);
  if (_text.Is(i, "}")) {
    if (_braces.empty()) Stop(token, "a brace is closed that is not open");
    if (_braces.back()) _text.Replace(token.begin, token.end, "");
    _braces.pop_back();
  }
  return i + 1;
}

// The translation for the GPU knows no namespaces and drops their lines; here the unnamed one serves.
std::size_t KernelFile::ReadNamespace(std::size_t i) {
  std::size_t open = i + 1;
  while (_text.IsWord(open) || _text.Is(open, ":")) ++open;
  if (!_text.Is(open, "{")) return i + 1;
  _text.Replace(At(i).begin, At(open).end, "");
  _braces.push_back(true);
  if (At(open).line == At(i).line && !MayBeDropped(_text.GetLineAfter(At(open).begin)))
    FailLineRule(_text.GetSource(), _text.FindLineAfter(At(open).begin),
                 "the line after a namespace must be its opening brace or empty: the translation for the GPU drops it");
  return open + 1;
}

std::size_t KernelFile::ReadParameters(std::size_t i, bool isDefinition) {
  if (_parameterLine != 0)
    Stop(At(i), Join({"the parameters were declared before, in line ", std::to_string(_parameterLine)}));
  _parameterLine = At(i).line;
  if (!_kernel.name.empty()) _isNeededBeforeKernel = true;
  return isDefinition ? RewriteDefineBlock(_text, i, _options.templateArgument, _parameters)
                      : RewriteStructBlock(_text, i, _options.templateArgument, _parameters);
}

void KernelFile::TakeDirective(const Token& directive, const std::string& line) {
  _directives += Join({line, "\n"});
  _text.Replace(directive.begin, _text.FindEndOfLine(directive.begin), "");
  if (directive.line == _swallowedLine) return;
  _swallowedLine = directive.line + 1;
  if (!MayBeDropped(_text.GetLineAfter(directive.begin)))
    FailLineRule(
        _text.GetSource(), _text.FindLineAfter(directive.begin),
        Join({"the line after ", _text.GetText(directive), " must be empty: the translation for the GPU drops it"}));
}

// Exactly as the translation for the GPU wants it: three words, so one blank after each comma.
std::size_t KernelFile::ReadGroupSize(std::size_t i) {
  const std::size_t end = _text.FindEndOfLine(At(i).begin);
  const std::string_view line = Trim(_text.GetText(At(i).begin, end));
  unsigned sizes[3] = {};
  const char* at = line.data() + std::min(line.size(), std::string_view("GROUPSIZE(").size());
  const char* const last = line.data() + line.size();
  bool isGood = line.starts_with("GROUPSIZE(");
  for (int axis = 0; axis < 3 && isGood; ++axis) {
    const auto number = std::from_chars(at, last, sizes[axis]);
    const std::string_view separator = axis < 2 ? ", " : ")";
    isGood = number.ec == std::errc() && std::string_view(number.ptr, last).starts_with(separator);
    at = number.ptr + (isGood ? separator.size() : 0);
  }
  if (!isGood || at != last) Stop(At(i), "GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only");
  if (sizes[0] == 0 || sizes[1] == 0 || sizes[2] == 0) Stop(At(i), "every component of GROUPSIZE must be at least 1");
  TakeDirective(At(i), std::string(line));
  while (i < _text.GetTokens().size() && At(i).begin < end) ++i;
  return i;
}

std::size_t KernelFile::ReadTuning(std::size_t i) {
  const std::string word(_text.GetText(At(i)));
  const std::size_t close = _text.Is(i + 1, "(") ? _text.FindAfterClosing(i + 1) : 0;
  const bool isNegative = _text.Is(i + 2, "-");
  const std::size_t number = i + (isNegative ? 3 : 2);
  const bool isGood = close == number + 2 && At(number).kind == Token::Kind::kNumber &&
                      _text.GetText(At(number)).find_first_not_of("0123456789") == std::string_view::npos &&
                      At(close - 1).line == At(i).line;
  if (!isGood) Stop(At(i), Join({word, " is not used in the form ", word, "(count)"}));
  TakeDirective(At(i), std::string(_text.GetText(At(i).begin, At(close - 1).end)));
  return close;
}

std::size_t KernelFile::ReadInclude(std::size_t i) {
  const Token& start = At(i);
  const bool isOutsideBraces = std::find(_braces.begin(), _braces.end(), false) == _braces.end();
  if (isOutsideBraces) {
    const std::size_t end = _text.FindEndOfLine(start.begin);
    _text.Replace(start.begin, end, MakeInclude(_text, start, {}));
  }
  return _text.FindAfterDirective(i);
}

// What takes the place of an #include: the header's text, changed as this file is, or, for a header that only the
// compiler can find, the line itself outside of our namespaces.
std::string KernelFile::MakeInclude(const EditedText& text, const Token& start,
                                    const std::vector<std::string>& includingHeaders) {
  const std::string_view directive = text.GetText(start.begin, text.FindEndOfLine(start.begin));
  const std::string includingFile(text.GetSource().name);
  const std::size_t open = directive.find('"');
  const std::size_t close = open == std::string_view::npos ? open : directive.find('"', open + 1);
  std::optional<KernelHeader> header;
  if (_options.readHeader && close != std::string_view::npos)
    header = _options.readHeader(std::string(directive.substr(open + 1, close - open - 1)), includingFile);
  const std::string goOn = MakeLineMark(start.line, includingFile);  // of the end of the directive, which stays
  if (!header) {
    return Join({kCloseNamespaces, "\n", MakeLineMark(start.line, includingFile), directive, "\n", kOpenNamespaces,
                 "\n", goOn});
  }
  // A header that includes itself is guarded, or it never ends.
  if (std::find(includingHeaders.begin(), includingHeaders.end(), header->path) != includingHeaders.end()) return "";
  if (_onceHeaders.contains(header->path)) return "";
  if (++_headerCount > kMaxHeaders)
    Fail(text, start, Join({"more than ", std::to_string(kMaxHeaders), " headers are included"}));
  return Join({MakeLineMark(1, header->path), MakeHeader(*header, includingHeaders), "\n", goOn});
}

std::string KernelFile::MakeHeader(const KernelHeader& header, std::vector<std::string> includingHeaders) {
  includingHeaders.push_back(header.path);
  // Functions of this header are taken by the translation for the GPU.
  const bool isCompanion = header.path.ends_with(".h") && RemoveSuffix(header.path) == RemoveSuffix(_file);
  EditedText text({header.path, header.text, header.isHidden});
  if (const auto mistakes = FindHeaderMistakes(header.text); isCompanion && !mistakes.empty())
    FailForMistake(text.GetSource(), mistakes[0]);
  RewriteWords(text, _options.templateArgument);
  CheckWords(text);
  const auto& tokens = text.GetTokens();
  const bool isGuarded = text.Is(0, "#") && text.Is(1, "ifndef") && text.Is(3, "#") && text.Is(4, "define");
  if (isGuarded && text.GetText(tokens[2]) == text.GetText(tokens[std::min<std::size_t>(5, tokens.size() - 1)]))
    _onceHeaders.insert(header.path);
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (!text.Is(i, "#") || !tokens[i].isFirstInLine) continue;
    const std::size_t end = text.FindEndOfLine(tokens[i].begin);
    if (text.Is(i + 1, "pragma") && text.Is(i + 2, "once")) {
      _onceHeaders.insert(header.path);
      text.Replace(tokens[i].begin, end, "");
    } else if (text.Is(i + 1, "include")) {
      text.Replace(tokens[i].begin, end, MakeInclude(text, tokens[i], includingHeaders));
    }
  }
  return text.Take(0, text.GetSize());
}

void KernelFile::StartKernel(const Token& start, std::string_view name) {
  if (!_kernel.name.empty())
    Stop(start, Join({"a second kernel: the first one is in line ", std::to_string(_kernel.line)}));
  if (start.line == _swallowedLine) Stop(start, "the kernel starts in a line that the translation for the GPU drops");
  if (std::find(_braces.begin(), _braces.end(), false) != _braces.end())
    Stop(start, "a brace before the kernel is not closed");
  _kernel.begin = start.begin;
  _kernel.line = start.line;
  _kernel.name = name;
}

std::size_t KernelFile::ReadMacroKernel(std::size_t i) {
  const Token& start = At(i);
  const std::string word(_text.GetText(start));
  const std::size_t body = _text.Is(i + 1, "(") ? _text.FindAfterClosing(i + 1) : 0;
  if (body < i + 4 || !_text.IsWord(i + 2))
    Stop(start, Join({word, " is not used in the form ", word, "(Name, KERNELINPUTS)"}));
  StartKernel(start, _text.GetText(At(i + 2)));
  const std::string endWord = word + "_END";
  const std::size_t after = _text.Is(body, "{") ? _text.FindAfterClosing(body) : 0;
  if (after == 0 || !_text.Is(after, endWord)) {
    const auto& tokens = _text.GetTokens();
    const bool hasEnd =
        std::any_of(tokens.begin(), tokens.end(), [&](const Token& token) { return _text.GetText(token) == endWord; });
    Stop(start,
         hasEnd ? "the kernel's braces do not match" : Join({"the kernel has no end: ", endWord, " is missing"}));
  }
  _kernel.bodyBegin = At(body - 1).end;
  _kernel.openBrace = body;
  _kernel.closeBrace = after - 1;
  _kernel.end = At(after).end;
  _kernel.endLine = At(after).line;
  return after + 1;
}

std::size_t KernelFile::ReadMethodKernel(std::size_t i) {
  const Token& start = At(i);
  const std::size_t name = i + 5;  // OSTRA_METHOD Result < void > Kernel...
  const bool isKernel = _text.Is(i + 1, "Result") && _text.Is(i + 2, "<") && _text.Is(i + 3, "void") &&
                        _text.Is(i + 4, ">") && _text.IsWord(name) && _text.GetText(At(name)).starts_with("Kernel") &&
                        _text.Is(name + 1, "(");
  if (!isKernel) return i + 1;
  StartKernel(start, "OstraKernel");
  const std::size_t body = _text.FindAfterClosing(name + 1);
  const std::size_t after = body != 0 && _text.Is(body, "{") ? _text.FindAfterClosing(body) : 0;
  if (after == 0) Stop(start, "the kernel's braces do not match");
  _kernel.bodyBegin = At(body - 1).end;
  _kernel.result = "::ostra::Result<void>";
  _text.Replace(At(after - 1).begin, At(after - 1).end, "} };");
  _kernel.end = At(after - 1).end;
  _kernel.endLine = At(after - 1).line;
  return after;
}

std::string KernelFile::MakeParametersName() const {
  const std::string parameters(kParameterStruct);
  return _usesNoise ? "WithNoise<" + parameters + ">" : parameters;
}

std::string KernelFile::MakeClassHead() const {
  return Join({"OSTRA_KERNEL_CLASS(", _kernel.name, ", ", MakeParametersName(), ", ",
               _usesLinearInvocation ? "true" : "false", ", ", _kernel.result, ")"});
}

// The end of the class of a macro kernel. Its loops are split at the bound of its guard, which is known to hold in the
// first part (kernel_loops.h).
std::string KernelFile::MakeClassEnd() {
  const auto guard = FindGuard(_text, _kernel.openBrace, _kernel.closeBrace, _usesLinearInvocation);
  if (!guard) return "};";
  _text.Insert(At(guard->first).begin, guard->isOpposite ? "(!OSTRA_IS_INSIDE && " : "(OSTRA_IS_INSIDE || ");
  _text.Insert(At(guard->last).end, ")");
  return Join({"OSTRA_KERNEL_BOUND(", guard->bound, ") };"});
}

std::string KernelFile::MakeHead() const {
  std::string head = "#include \"parallelprogram/program/kernel_language.h\"\n";
  if (_usesNoise) head += "#include \"parallelprogram/program/kernel_noise.h\"\n";
  if (_usesGradient) head += "#include \"ostra/render/gradient.h\"\n";
  if (_options.isModule) head += "#include \"parallelprogram/program/kernel_registration.h\"\n";
  head += Join({"\n", kOpenNamespaces, "\n", _directives});
  if (!_reportTable.empty())
    head += Join({"struct OstraReportTable { static constexpr const char* kText = ", Quote(_reportTable), "; };\n"});
  if (_parameterLine == 0) head += Join({"struct ", kParameterStruct, " { ", MakeParameterRecords({}), " };\n"});
  return head;
}

// The file, with the kernel at its end when something that C++ needs before it comes after it.
std::string KernelFile::MakeBody() const {
  if (!_isNeededBeforeKernel) return MakeLineMark(1, _file) + _text.Take(0, _text.GetSize());
  return Join({MakeLineMark(1, _file), _text.Take(0, _kernel.begin), "\n", MakeLineMark(_kernel.endLine, _file),
               _text.Take(_kernel.end, _text.GetSize()), "\n", MakeLineMark(_kernel.line, _file),
               _text.Take(_kernel.begin, _kernel.end)});
}

std::string KernelFile::MakeTail(std::string_view laneForms) const {
  std::string tail = Join({"\n", _structTypes, kCloseNamespaces, "\n", laneForms});
  if (_options.classId.empty()) return tail;
  const std::string id(_options.classId);
  const std::string identifier = MakeIdentifier(id);
  tail += Join({"OSTRA_KERNEL_ENTRY(", identifier, ", ", _kernel.name, ", ", Quote(id), ")\n"});
  if (_options.isModule) tail += Join({"OSTRA_KERNEL_MODULE(", identifier, ", ", Quote(id), ")\n"});
  return tail;
}

}  // namespace ostra::kernelfront
