#include "parallelprogram/kernellanguage/preprocessor.h"

#include <algorithm>
#include <set>

#include "ostra/core/text_characters.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/macro.h"
#include "parallelprogram/kernellanguage/preprocessor_condition.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kTypeWord = "TYPE";

class Preprocessor {
 public:
  Preprocessor(const Source& source, SourceMap& sources) : _source(source), _sources(sources), _macros(sources) {}

  TokenStream Run() {
    ReadFile(_source.fileName, _source.text, _source.isHidden, _source.origin);
    Flush();
    _result.isCpuOnly = _result.isCpuOnly || _macros.HasCpuOnlyExpansion();
    _result.isRewritten = _macros.HasAskedForUnknown();
    const SourceOffset end = _lastFileEnd;
    _result.tokens.push_back({.kind = TokenKind::kEnd, .isFirstInLine = true, .offset = end});
    return std::move(_result);
  }

 private:
  // An #if that is open.
  struct Condition {
    SourceOffset offset;
    Bool isActive, wasActive, isGuard;
  };
  struct File {
    std::string name, path;
    std::vector<Token> tokens = {};
    std::vector<Condition> conditions = {};
  };

  Bool IsStopped() const { return _result.notUnderstood.has_value() || !_result.errors.empty(); }
  void Stop(SourceOffset offset, std::string reason) {
    if (!IsStopped()) _result.notUnderstood = NotUnderstood{offset, std::move(reason)};
  }
  void Fail(SourceOffset offset, std::string text) {
    if (!IsStopped()) _result.errors.push_back({.offset = offset, .text = std::move(text)});
  }

  void ReadFile(std::string_view name, std::string_view text, Bool isHidden,
                std::shared_ptr<const TextOrigin> origin = nullptr) {
    const Int index = _sources.AddFile(name, text, isHidden, std::move(origin));
    if (index < 0) return Stop(0, "the files are larger than 256 MiB together");
    const SourceMap::File& added = _sources.GetFile(index);
    LexerTrouble trouble;
    File file{.name = std::string(name), .path = std::string(name)};
    file.tokens = ReadTokens(added.text, added.begin, trouble);
    ReplaceTypeWords(file.tokens);
    _openFiles.push_back(file.path);
    for (std::size_t i = 0; i < file.tokens.size() && !IsStopped();) i = ReadLine(file, i);
    _openFiles.pop_back();
    _lastFileEnd = added.begin + static_cast<SourceOffset>(added.text.size());
    if (!file.conditions.empty()) Fail(file.conditions.back().offset, "this condition has no #endif");
    if (trouble.kind != LexerTrouble::Kind::kNone) ReportTrouble(trouble);
  }

  void ReportTrouble(const LexerTrouble& trouble) {
    Flush();
    switch (trouble.kind) {
      case LexerTrouble::Kind::kOpenComment:
        return Fail(trouble.offset, "this comment is not closed: */ is missing");
      case LexerTrouble::Kind::kContinuedComment:
        return Stop(trouble.offset, "a comment that goes on in the next line, because it ends with \\");
      case LexerTrouble::Kind::kSplitWord:
        return Stop(trouble.offset, "a word that goes on in the next line");
      default:
        return Stop(trouble.offset, Join({"more than ", std::to_string(kMaxTokens), " tokens"}));
    }
  }

  // Words with TYPE in them, as the CPU form has them.
  void ReplaceTypeWords(std::vector<Token>& tokens) {
    if (_source.templateArgument.empty()) return;
    std::vector<Token> replaced;
    for (const Token& token : tokens) {
      if (token.kind != TokenKind::kWord || token.text.find(kTypeWord) == std::string_view::npos) {
        replaced.push_back(token);
        continue;
      }
      std::string& spelling = _result.spellings.emplace_back(token.text);
      for (std::size_t at = spelling.find(kTypeWord); at != std::string::npos;
           at = spelling.find(kTypeWord, at + _source.templateArgument.size()))
        spelling.replace(at, kTypeWord.size(), _source.templateArgument);
      LexerTrouble trouble;
      for (Token& part : ReadTokens(spelling, 0, trouble)) {
        part.offset = token.offset;
        part.isFirstInLine = token.isFirstInLine && part.text.data() == spelling.data();
        part.isAfterSpace = token.isAfterSpace || part.text.data() != spelling.data();
        replaced.push_back(part);
      }
    }
    tokens = std::move(replaced);
  }

  static Bool IsActive(const File& file) {
    return std::all_of(file.conditions.begin(), file.conditions.end(), [](const Condition& c) { return c.isActive; });
  }
  static Bool IsConditional(const File& file) {
    return std::any_of(file.conditions.begin(), file.conditions.end(), [](const Condition& c) { return !c.isGuard; });
  }

  // A directive, or what stands up to the next one.
  std::size_t ReadLine(File& file, std::size_t i) {
    const Token& token = file.tokens[i];
    if (token.isFirstInLine && token.Is("#")) return ReadDirective(file, i);
    if (IsConditional(file) && IsOfFile(FindWordId(token.text)))
      Stop(token.offset, Join({token.text, " below a condition of the preprocessor"}));
    if (IsActive(file)) {
      if (token.Is("{")) ++_braces;
      if (token.Is("}")) --_braces;
      _pending.push_back(token);
    }
    return i + 1;
  }

  // The end of the directive that begins with token `i`.
  static std::size_t FindEnd(const File& file, std::size_t i) {
    for (++i; i < file.tokens.size() && !file.tokens[i].isFirstInLine;) ++i;
    return i;
  }

  std::size_t ReadDirective(File& file, std::size_t i) {
    const std::size_t end = FindEnd(file, i);
    if (i + 1 == end) return end;
    const Token& start = file.tokens[i];
    const Token& word = file.tokens[i + 1];
    if (word.Is("if") || word.Is("ifdef") || word.Is("ifndef")) {
      OpenCondition(file, i, end);
    } else if (word.Is("elif") || word.Is("else") || word.Is("endif")) {
      ChangeCondition(file, i, end);
    } else if (!IsActive(file)) {
      return end;
    } else if (word.Is("define")) {
      ReadDefine(file, i, end);
    } else if (word.Is("undef") && i + 2 < end) {
      Flush();
      _macros.Undefine(file.tokens[i + 2].text);
    } else if (word.Is("include")) {
      ReadInclude(file, i, end);
    } else if (word.Is("pragma") && end == i + 3 && file.tokens[i + 2].Is("once")) {
      _once.insert(file.path);
    } else if (word.Is("pragma") && i + 2 < end && file.tokens[i + 2].Is("unroll")) {
      _result.isCpuOnly = true;  // compilers decide by themselves
    } else {
      Stop(start.offset, Join({"the directive #", word.text}));
    }
    return end;
  }

  void OpenCondition(File& file, std::size_t i, std::size_t end) {
    Condition condition{file.tokens[i].offset, false, false, false};
    if (IsActive(file)) {
      condition.isGuard = IsGuard(file, i, end);
      condition.isActive = EvaluateDirective(file, i, end, condition.isGuard);
      condition.wasActive = condition.isActive;
      _result.isCpuOnly = _result.isCpuOnly || !condition.isGuard;
    } else {
      condition.wasActive = true;  // nothing of it counts
    }
    file.conditions.push_back(condition);
    if (file.conditions.size() > static_cast<std::size_t>(kMaxIncludeDepth))
      Stop(condition.offset, Join({"conditions nested deeper than ", std::to_string(kMaxIncludeDepth)}));
  }

  void ChangeCondition(File& file, std::size_t i, std::size_t end) {
    const Token& word = file.tokens[i + 1];
    if (file.conditions.empty()) return Fail(file.tokens[i].offset, Join({"#", word.text, " without an #if"}));
    Condition& last = file.conditions.back();
    if (word.Is("endif")) {
      file.conditions.pop_back();
      return;
    }
    last.isActive = false;
    last.isGuard = false;
    if (last.wasActive) return;
    last.isActive = word.Is("else") || EvaluateDirective(file, i, end, false);
    last.wasActive = last.isActive;
  }

  // #ifndef NAME directly followed by #define NAME.
  static Bool IsGuard(const File& file, std::size_t i, std::size_t end) {
    const auto& tokens = file.tokens;
    return tokens[i + 1].Is("ifndef") && end == i + 3 && end + 2 < tokens.size() && tokens[end].Is("#") &&
           tokens[end + 1].Is("define") && tokens[end + 2].text == tokens[i + 2].text;
  }

  Bool EvaluateDirective(File& file, std::size_t i, std::size_t end, Bool isGuard) {
    Flush();
    const Token& word = file.tokens[i + 1];
    std::vector<Token> condition(file.tokens.begin() + static_cast<std::ptrdiff_t>(i) + 2,
                                 file.tokens.begin() + static_cast<std::ptrdiff_t>(end));
    if (word.Is("if") || word.Is("elif"))
      return EvaluateCondition(condition, word.offset, _macros, _result.notUnderstood);
    if (condition.size() != 1 || condition[0].kind != TokenKind::kWord) {
      Stop(word.offset, Join({"this form of #", word.text}));
      return false;
    }
    const Bool isDefined =
        isGuard ? _macros.Find(condition[0].text) != nullptr : IsDefined(condition[0], _macros, _result.notUnderstood);
    return isDefined == word.Is("ifdef");
  }

  void ReadDefine(File& file, std::size_t i, std::size_t end) {
    Flush();
    if (i + 2 >= end || file.tokens[i + 2].kind != TokenKind::kWord)
      return Stop(file.tokens[i].offset, "a #define without a name");
    const Token& name = file.tokens[i + 2];
    if (FindWordId(name.text) == WordId::kKernelInputs) {
      _pending.push_back({.kind = TokenKind::kInputsBegin, .offset = name.offset});
      _pending.insert(_pending.end(), file.tokens.begin() + static_cast<std::ptrdiff_t>(i) + 3,
                      file.tokens.begin() + static_cast<std::ptrdiff_t>(end));
      _pending.push_back({.kind = TokenKind::kInputsEnd, .offset = name.offset});
      return Flush();
    }
    const Word* word = FindWord(name.text);
    if (word && !IsLibraryWord(word->id))
      return Stop(name.offset, Join({"\"", name.text, "\" is a word of the language and defined as a macro"}));
    _macros.Define(file.tokens, i + 2, end, _openFiles.size() == 1);
  }

  void ReadInclude(File& file, std::size_t i, std::size_t end) {
    Flush();
    const SourceOffset offset = file.tokens[i].offset;
    if (_braces != 0) return Stop(offset, "an #include inside of braces");
    const std::string_view text = i + 2 < end ? file.tokens[i + 2].text : std::string_view();
    const Bool isQuoted = text.size() > 2 && text.front() == '"' && text.back() == '"';
    if (!isQuoted) return Stop(offset, "this #include: the header is not one of the kernel's own");
    const std::string name(text.substr(1, text.size() - 2));
    const auto header = _source.readHeader ? _source.readHeader(name, file.path) : std::nullopt;
    if (!header) return Stop(offset, "the header \"" + name + "\" is not one of the kernel's own");
    if (_once.contains(header->path)) return;
    if (std::find(_openFiles.begin(), _openFiles.end(), header->path) != _openFiles.end()) return;
    if (++_headerCount > kMaxHeaders)
      return Stop(offset, Join({"more than ", std::to_string(kMaxHeaders), " headers are included"}));
    if (static_cast<Int>(_openFiles.size()) > kMaxIncludeDepth)
      return Stop(offset, Join({"headers nested deeper than ", std::to_string(kMaxIncludeDepth)}));
    if (_openFiles.size() == 1 && !IsOwnHeader(name)) _result.isCpuOnly = true;
    ReadFile(header->path, header->text, header->isHidden);
  }

  // Whether the header has the name of the kernel file: that one is read for GPUs, too.
  Bool IsOwnHeader(std::string_view name) const {
    const auto getStem = [](std::string_view path, std::string_view ending) {
      const std::size_t folder = path.find_last_of('/');
      if (folder != std::string_view::npos) path.remove_prefix(folder + 1);
      return path.ends_with(ending) ? path.substr(0, path.size() - ending.size()) : std::string_view();
    };
    const std::string_view stem = getStem(_source.fileName, ".krn");
    return !stem.empty() && (getStem(name, ".h") == stem || getStem(name, "_header") == stem);
  }

  // Expands what stands before a directive that changes something.
  void Flush() {
    if (_pending.empty() || IsStopped()) return;
    std::vector<Token> expanded = _macros.Expand(std::move(_pending), _result.notUnderstood);
    _pending.clear();
    if (_result.tokens.size() + expanded.size() > kMaxTokens)
      return Stop(expanded.front().offset, Join({"more than ", std::to_string(kMaxTokens), " tokens"}));
    _result.tokens.insert(_result.tokens.end(), expanded.begin(), expanded.end());
  }

  const Source& _source;
  SourceMap& _sources;
  MacroTable _macros;
  TokenStream _result;
  std::vector<Token> _pending;
  std::vector<std::string> _openFiles;  // paths
  std::set<std::string> _once;
  Int _braces = 0, _headerCount = 0;
  SourceOffset _lastFileEnd = 0;
};

}  // namespace

TokenStream Preprocess(const Source& source, SourceMap& sources) { return Preprocessor(source, sources).Run(); }

}  // namespace ostra::kernellanguage
