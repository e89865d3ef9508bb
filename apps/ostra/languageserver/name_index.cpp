#include "apps/ostra/languageserver/name_index.h"

#include <algorithm>
#include <tuple>

namespace ostra::tool {

namespace {

using namespace kernellanguage;

// The tokens of a kernel's files, to find the names that belong to nodes.
class FileTokens {
 public:
  explicit FileTokens(const SourceMap& sources) : _sources(sources) {
    for (Int i = 0; i < sources.GetFileCount(); ++i) {
      LexerTrouble trouble;
      _tokens.push_back(ReadTokens(sources.GetFile(i).text, sources.GetFile(i).begin, trouble));
    }
  }

  // The first token with the text from `offset` on, among the next few. False for none.
  Bool FindName(SourceOffset offset, std::string_view name, NamePlace& place) const {
    const SourceOffset byte = _sources.GetSpelling(offset);
    const Int index = _sources.FindFile(byte);
    if (index < 0) return false;
    const auto& tokens = _tokens[static_cast<std::size_t>(index)];
    auto token = std::lower_bound(tokens.begin(), tokens.end(), byte,
                                  [](const Token& left, SourceOffset right) { return left.offset < right; });
    constexpr Int kMax = 16;  // "const Block<Vector4d32>& name", "GROUPSHAREDMEM(float, name, 64)"
    for (Int count = 0; token != tokens.end() && count < kMax; ++token, ++count) {
      if (token->kind != TokenKind::kWord || token->text != name) continue;
      place.file = index;
      place.begin = token->offset - _sources.GetFile(index).begin;
      place.end = place.begin + static_cast<UInt32>(name.size());
      return true;
    }
    return false;
  }

 private:
  const SourceMap& _sources;
  std::vector<std::vector<Token>> _tokens;
};

Bool Declares(NodeKind kind) {
  switch (kind) {
    case NodeKind::kParameter:
    case NodeKind::kStruct:
    case NodeKind::kMember:
    case NodeKind::kFunction:
    case NodeKind::kFunctionParameter:
    case NodeKind::kKernel:
    case NodeKind::kVariable:
    case NodeKind::kSharedArray:
      return true;
    default:
      return false;
  }
}

// The declaration that a node names; kNoNode for none.
NodeIndex FindTarget(const AnalyzedKernel& kernel, NodeIndex node) {
  const NodeKind kind = kernel.tree.nodes[node].kind;
  if (Declares(kind)) return node;
  if (kind == NodeKind::kType) {
    const Type& type = kernel.resolved.types[kernel.resolved.type[node]];
    const Bool isNamed = type.kind == TypeKind::kStruct && kernel.tree.nodes[node].childCount == 0;
    return isNamed ? type.declaration : kNoNode;
  }
  const Meaning& meaning = kernel.resolved.meaning[node];
  switch (meaning.kind) {
    case MeaningKind::kVariable:
    case MeaningKind::kParameter:
    case MeaningKind::kFunction:
    case MeaningKind::kMember:
      return meaning.target;
    default:
      return kNoNode;
  }
}

auto KeyOf(const NamePlace& place) { return std::tuple(place.file, place.begin, place.declaration); }

}  // namespace

NameIndex::NameIndex(const AnalyzedKernel& kernel) {
  const FileTokens tokens(kernel.sources);
  for (NodeIndex node = 0; node < kernel.tree.nodes.size(); ++node) {
    const NodeIndex target = FindTarget(kernel, node);
    NamePlace place{.declaration = target, .isDeclaration = target == node};
    if (target == kNoNode || kernel.tree.GetName(target).empty()) continue;
    if (tokens.FindName(kernel.tree.nodes[node].offset, kernel.tree.GetName(target), place)) _places.push_back(place);
  }
  std::sort(_places.begin(), _places.end(), [](const NamePlace& a, const NamePlace& b) { return KeyOf(a) < KeyOf(b); });
  const auto isSame = [](const NamePlace& a, const NamePlace& b) { return KeyOf(a) == KeyOf(b); };
  _places.erase(std::unique(_places.begin(), _places.end(), isSame), _places.end());
}

const NamePlace* NameIndex::Find(Int file, UInt32 offset) const {
  for (const NamePlace& place : _places) {
    if (place.file == file && place.begin <= offset && offset <= place.end) return &place;
  }
  return nullptr;
}

const NamePlace* NameIndex::FindDeclaration(NodeIndex declaration) const {
  for (const NamePlace& place : _places) {
    if (place.declaration == declaration && place.isDeclaration) return &place;
  }
  return nullptr;
}

std::vector<NamePlace> NameIndex::FindAll(NodeIndex declaration) const {
  std::vector<NamePlace> found;
  for (const NamePlace& place : _places) {
    if (place.declaration == declaration) found.push_back(place);
  }
  return found;
}

}  // namespace ostra::tool
