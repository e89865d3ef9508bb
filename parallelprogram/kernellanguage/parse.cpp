#include "parallelprogram/kernellanguage/parse.h"

#include "parallelprogram/kernellanguage/parser.h"

namespace ostra::kernellanguage {

ParsedFile Parse(const TokenStream& tokens) { return Parser(tokens).Run(); }

ParsedFile Parser::Run() {
  NodeList items;
  const SourceOffset begin = _tokens.Peek().offset;
  while (!_tokens.IsEnd() && !_messages.IsStopped()) {
    _items.ReadItem(items);
    if (_messages.CanRecover()) _recovery.Recover();
  }
  if (_messages.GetErrors().empty() && !_messages.IsStopped()) {
    if (_tree.kernel == kNoNode)
      _messages.Stop(_tokens.Peek().offset, "a file without a kernel");
    else
      _tree.root = _nodes.Add(NodeKind::kFile, begin, "", items);
  }
  return {std::move(_tree), _messages.GetErrors(), _messages.GetNotUnderstood()};
}

}  // namespace ostra::kernellanguage
