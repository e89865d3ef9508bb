#include <algorithm>

#include "apps/ostra/languageserver/features.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::tool {

using namespace kernellanguage;

namespace {

// Tokens before a place, and what they say about it.
class Context {
 public:
  Context(const KernelDocument& document, UInt32 begin)
      : _document(document), _understood(document.GetUnderstood()), _tokens(document.GetCurrent().tokens) {
    const auto after = std::lower_bound(_tokens.begin(), _tokens.end(), begin,
                                        [](const Token& token, UInt32 at) { return token.offset < at; });
    _count = static_cast<Int>(after - _tokens.begin());
  }

  // Token number `back` before the place; "" for none.
  std::string_view Before(Int back) const { return Text(_count - 1 - back); }
  // The type of the expression that ends `back` tokens before the place; kUnknownType where it is not known.
  TypeIndex FindType(Int back) const { return _understood ? TypeOfExpression(_count - 1 - back) : kUnknownType; }

 private:
  std::string_view Text(Int at) const {
    return at < 0 || at >= static_cast<Int>(_tokens.size()) ? "" : _tokens[static_cast<std::size_t>(at)].text;
  }

  // The bracket that the one at `close` closes; -1 for none.
  Int FindOpening(Int close, std::string_view opening, std::string_view closing) const {
    Int depth = 0;
    for (Int at = close; at >= 0; --at) {
      depth += Text(at) == closing ? 1 : Text(at) == opening ? -1 : 0;
      if (depth == 0) return at;
    }
    return -1;
  }

  TypeIndex TypeOfName(std::string_view name) const {
    const AnalyzedKernel& kernel = _understood->kernel;
    TypeIndex type = kUnknownType;  // the last one of the name that is declared
    for (const NamePlace& place : _understood->names.GetPlaces()) {
      const NodeKind kind = kernel.tree.nodes[place.declaration].kind;
      if (place.isDeclaration && kind != NodeKind::kMember && kernel.tree.GetName(place.declaration) == name)
        type = kernel.resolved.type[place.declaration];
    }
    return type;
  }

  TypeIndex TypeOfMember(TypeIndex owner, std::string_view name) const {
    const AnalyzedKernel& kernel = _understood->kernel;
    const Type& type = kernel.resolved.types[owner];
    if (type.kind == TypeKind::kVector) return GetScalarType(type.scalar);
    if (type.kind != TypeKind::kStruct) return kUnknownType;
    for (const NodeIndex member : kernel.tree.GetChildren(type.declaration)) {
      if (kernel.tree.GetName(member) == name) return kernel.resolved.type[member];
    }
    return kUnknownType;
  }

  TypeIndex TypeOfExpression(Int last) const {
    const TypeTable& types = _understood->kernel.resolved.types;
    if (Text(last) == "]") {
      const Int open = FindOpening(last, "[", "]");
      const Type& indexed = types[open < 0 ? kUnknownType : TypeOfExpression(open - 1)];
      const Bool hasElements = indexed.kind == TypeKind::kBuffer || indexed.kind == TypeKind::kArray;
      return hasElements ? indexed.element : kUnknownType;
    }
    if (Text(last) == ")") {
      const Int open = FindOpening(last, "(", ")");
      const Word* word = open > 0 ? FindWord(Text(open - 1)) : nullptr;
      if (word && word->kind == WordKind::kParameter && open + 2 == last) return TypeOfName(Text(open + 1));
      return open > 0 ? FindTypeWord(Text(open - 1)) : kUnknownType;
    }
    if (Text(last - 1) == ".") return TypeOfMember(TypeOfExpression(last - 2), Text(last));
    const Word* word = FindWord(Text(last));
    if (word && word->kind == WordKind::kValue) return GetVectorType(Scalar::kUInt32, 3);
    return TypeOfName(Text(last));
  }

  const KernelDocument& _document;
  const KernelDocument::Analysis* const _understood;
  const std::vector<Token>& _tokens;
  Int _count = 0;
};

class CompletionList {
 public:
  CompletionList(const KernelDocument& document, std::string_view beginning)
      : _understood(document.GetUnderstood()), _beginning(beginning) {}

  void Add(std::string_view label, CompletionKind kind, std::string detail) {
    if (!label.starts_with(_beginning)) return;
    Completion added{std::string(label), kind, std::move(detail)};
    if (std::find(items.begin(), items.end(), added) == items.end()) items.push_back(std::move(added));
  }

  void AddMembers(TypeIndex owner) {
    if (!_understood) return;
    const AnalyzedKernel& kernel = _understood->kernel;
    const Type& type = kernel.resolved.types[owner];
    if (type.kind == TypeKind::kVector) {
      for (UInt32 i = 0; i < type.count; ++i)
        Add(std::string_view("xyzw").substr(i, 1), CompletionKind::kMember, std::string(GetName(type.scalar)));
    } else if (type.kind == TypeKind::kStruct) {
      for (const NodeIndex member : kernel.tree.GetChildren(type.declaration))
        Add(kernel.tree.GetName(member), CompletionKind::kMember, PrintDeclaration(kernel, member));
    }
  }

  void AddParameters(std::string_view word) {
    if (!_understood) return;
    const AnalyzedKernel& kernel = _understood->kernel;
    for (const NodeIndex parameter : kernel.resolved.parameters) {
      const TypeKind kind = kernel.resolved.types[kernel.resolved.type[parameter]].kind;
      if (Takes(word, kind))
        Add(kernel.tree.GetName(parameter), CompletionKind::kParameter, PrintDeclaration(kernel, parameter));
    }
  }

  void AddNames() {
    if (!_understood) return;
    const AnalyzedKernel& kernel = _understood->kernel;
    for (const NamePlace& place : _understood->names.GetPlaces()) {
      if (!place.isDeclaration) continue;
      const NodeKind kind = kernel.tree.nodes[place.declaration].kind;
      if (kind == NodeKind::kMember || kind == NodeKind::kParameter || kind == NodeKind::kKernel) continue;
      const CompletionKind shown = kind == NodeKind::kFunction ? CompletionKind::kFunction
                                   : kind == NodeKind::kStruct ? CompletionKind::kType
                                                               : CompletionKind::kVariable;
      Add(kernel.tree.GetName(place.declaration), shown, PrintDeclaration(kernel, place.declaration));
    }
  }

  void AddWords() {
    for (const Word& word : GetWords()) {
      if (word.kind == WordKind::kReserved || word.kind == WordKind::kStage) continue;
      const CompletionKind kind = word.kind == WordKind::kType ? CompletionKind::kType
                                  : word.kind == WordKind::kValue || word.kind == WordKind::kStatement ||
                                          word.kind == WordKind::kQualifier || word.kind == WordKind::kKeyword
                                      ? CompletionKind::kWord
                                      : CompletionKind::kFunction;
      Add(word.name, kind, word.kind == WordKind::kKeyword ? "as in C++" : std::string(word.meaning));
    }
  }

  std::vector<Completion> items;

 private:
  // Whether the word's argument may be a parameter of the kind.
  static Bool Takes(std::string_view word, TypeKind kind) {
    if (word == "UNIFORM_BUFFER" || word == "CPU_PASS_BUFFER" || word == "LOCALDATA") return kind == TypeKind::kBuffer;
    if (word == "GetAtomicCounter") return kind == TypeKind::kCounter;
    const Word* found = FindWord(word);
    if (found && found->kind == WordKind::kTexture) return kind == TypeKind::kTexture;
    return kind != TypeKind::kBuffer && kind != TypeKind::kTexture && kind != TypeKind::kCounter;
  }

  const KernelDocument::Analysis* const _understood;
  const std::string_view _beginning;
};

Bool TakesParameter(std::string_view word) {
  const Word* found = FindWord(word);
  return found && (found->kind == WordKind::kParameter || found->kind == WordKind::kTexture);
}

}  // namespace

std::vector<Completion> Complete(const KernelDocument& document, UInt32 offset) {
  const TextRange word = document.FindWord(offset);
  const TextRange written{word.begin, std::clamp(offset, word.begin, word.end)};
  const Context context(document, word.begin);
  CompletionList list(document, document.GetText(written));
  if (context.Before(0) == ".") {
    list.AddMembers(context.FindType(1));
  } else if (context.Before(0) == "(" && TakesParameter(context.Before(1))) {
    list.AddParameters(context.Before(1));
  } else {
    list.AddNames();
    list.AddWords();
  }
  return std::move(list.items);
}

}  // namespace ostra::tool
