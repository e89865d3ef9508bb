#include "parallelprogram/kernellanguage/resolve.h"

#include "parallelprogram/kernellanguage/conversion_extensions.h"
#include "parallelprogram/kernellanguage/item_order.h"
#include "parallelprogram/kernellanguage/resolver.h"

namespace ostra::kernellanguage {
namespace {

// Tables with an entry per node of which nothing is known.
ResolvedTree MakeTables(const SyntaxTree& tree) {
  const std::size_t count = tree.nodes.size();
  ResolvedTree resolved;
  resolved.type.assign(count, kUnknownType);
  resolved.converted.assign(count, kUnknownType);
  resolved.computed.assign(count, kUnknownType);
  resolved.meaning.assign(count, {});
  resolved.isPlace.assign(count, false);
  return resolved;
}

}  // namespace

Resolution Resolve(const SyntaxTree& tree) { return Resolver(tree).Run(); }

Resolver::Resolver(const SyntaxTree& tree) : _tree(tree), _resolved(MakeTables(tree)) {}

Resolution Resolver::Run() {
  for (NodeIndex node = 0; node < _tree.nodes.size(); ++node) {
    const Bool isExtended = _tree.HasFlag(node, kIsExtended);
    if (isExtended || _tree.HasFlag(node, kIsCppOnly)) _resolved.Extend(node, !isExtended);
  }
  const ItemOrder order = OrderItems(_tree);
  if (order.firstMoved != kNoNode) _resolved.Extend(order.firstMoved);
  _names.OpenScope();
  // What stands after the kernel comes before it in C++.
  for (const NodeIndex item : order.items) {
    if (_messages.IsStopped()) break;
    ReadItem(item);
  }
  if (!_messages.IsStopped()) ReadKernel();
  if (!_messages.IsStopped() && _messages.GetErrors().empty()) ExtendConversions(_tree, _resolved);
  return {std::move(_resolved), _messages.GetErrors(), _messages.GetNotUnderstood()};
}

void Resolver::ReadItem(NodeIndex item) {
  switch (_tree.nodes[item].kind) {
    case NodeKind::kGroupSize:
    case NodeKind::kTuning:
      return _items.ReadDirective(item);
    case NodeKind::kParameters:
      return _items.ReadParameters(item);
    case NodeKind::kStruct:
      return _items.ReadStruct(item);
    case NodeKind::kDeclaration:
      _resolved.Extend(item, true);
      return _variables.ReadDeclaration(item);
    case NodeKind::kFunction:
      return _functions.ReadFunction(item);
    case NodeKind::kNoiseMark:
      _resolved.usesNoise = true;
      return;
    default:
      return;
  }
}

void Resolver::ReadKernel() {
  _names.EnterKernel();
  _names.OpenScope();
  _statements.ReadBody(_tree.GetChild(_tree.kernel, 0), kVoidType);
  _names.CloseScope();
}

}  // namespace ostra::kernellanguage
