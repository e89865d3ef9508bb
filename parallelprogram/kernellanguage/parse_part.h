// What every part of the parser has: the tokens, the tree that grows, the names that are declared, and the messages.
// Parts get the others that they use when they are made.
//
// Functions that read something give its node, or kNoNode when reading has stopped or the statement is broken
// (IsBroken); then their callers return, too, up to the statement.
#pragma once

#include "parallelprogram/kernellanguage/parse_names.h"
#include "parallelprogram/kernellanguage/parse_nodes.h"

namespace ostra::kernellanguage {

struct ParseBasis {
  TokenCursor& tokens;
  SyntaxTree& tree;
  ParseMessages& messages;
  ParseNodes& nodes;
  ParseNames& names;
};

class ParsePart {
 public:
  ParsePart(const ParsePart&) = delete;
  ParsePart& operator=(const ParsePart&) = delete;

 protected:
  using Level = ParseNodes::Level;

  explicit ParsePart(const ParseBasis& basis)
      : _tokens(basis.tokens), _tree(basis.tree), _messages(basis.messages), _nodes(basis.nodes), _names(basis.names) {}
  ~ParsePart() = default;

  const Token& Peek(std::size_t ahead = 0) const { return _tokens.Peek(ahead); }
  Bool Is(std::string_view text, std::size_t ahead = 0) const { return _tokens.Is(text, ahead); }
  Bool IsWord(std::size_t ahead = 0) const { return _tokens.IsWord(ahead); }
  Bool IsEnd() const { return _tokens.IsEnd(); }
  const Token& Take() { return _tokens.Take(); }
  Bool TakeIf(std::string_view text) { return _tokens.TakeIf(text); }

  NodeIndex Add(NodeKind kind, SourceOffset offset, std::string_view name, const NodeList& children, UInt16 flags = 0,
                Operation operation = Operation::kNone) {
    return _nodes.Add(kind, offset, name, children, flags, operation);
  }
  Bool CheckDepth() { return _nodes.CheckDepth(Peek().offset); }

  Bool IsStopped() const { return _messages.IsStopped(); }
  Bool IsBroken() const { return _messages.IsBroken(); }
  NodeIndex Stop(SourceOffset offset, std::string reason);
  NodeIndex StopHere();  // "this use of ..." the next token
  NodeIndex Fail(SourceOffset offset, std::string text, std::vector<DiagnosticNote> notes = {});

  // Take a sign; if it is missing, they are false and say so.
  Bool Expect(std::string_view sign);
  Bool ExpectClosing(std::string_view sign, const Token& open);
  Bool ExpectSemicolon();

  TokenCursor& _tokens;
  SyntaxTree& _tree;
  ParseMessages& _messages;
  ParseNodes& _nodes;
  ParseNames& _names;
};

}  // namespace ostra::kernellanguage
