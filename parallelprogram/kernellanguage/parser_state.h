// Parser: recursive descent. Functions that read something return its node, or kNoNode when parsing has stopped or the
// statement is broken (IsBroken); then their callers return, too, up to the statement.
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "parallelprogram/kernellanguage/parser.h"

namespace ostra::kernellanguage {

class Parser {
 public:
  explicit Parser(const TokenStream& stream) : _tokens(stream.tokens) {}
  ParsedFile Run();

 private:
  using Nodes = std::vector<NodeIndex>;

  // One level deeper as long as it lives.
  class Level {
   public:
    explicit Level(Parser& parser) : _parser(parser) { ++_parser._depth; }
    ~Level() { --_parser._depth; }
    Level(const Level&) = delete;

   private:
    Parser& _parser;
  };
  // Types that are hidden while it lives are known again afterwards.
  class HiddenTypes {
   public:
    explicit HiddenTypes(Parser& parser) : _parser(parser), _count(parser._hiddenTypes.size()) {}
    ~HiddenTypes() { _parser._hiddenTypes.resize(_count); }
    HiddenTypes(const HiddenTypes&) = delete;

   private:
    Parser& _parser;
    const std::size_t _count;
  };
  // False, and parsing stops, when the nesting is too deep.
  Bool CheckDepth();

  // Tokens.
  const Token& Peek(std::size_t ahead = 0) const {
    return _tokens[_at + ahead < _tokens.size() ? _at + ahead : _tokens.size() - 1];
  }
  Bool Is(std::string_view text, std::size_t ahead = 0) const { return Peek(ahead).Is(text); }
  Bool IsWord(std::size_t ahead = 0) const { return Peek(ahead).kind == TokenKind::kWord; }
  Bool IsEnd() const { return Peek().kind == TokenKind::kEnd; }
  const Token& Take() { return _tokens[_at + 1 < _tokens.size() ? _at++ : _at]; }
  Bool TakeIf(std::string_view text) {
    if (!Is(text)) return false;
    Take();
    return true;
  }
  // One > of a >>, which ends two lists of types.
  Bool TakeAngle();

  // Nodes.
  NodeIndex Add(NodeKind kind, SourceOffset offset, std::string_view name, const Nodes& children, UInt16 flags = 0,
                Operation operation = Operation::kNone);

  // Mistakes.
  Bool IsStopped() const { return _file.notUnderstood.has_value() || _isFull; }
  Bool IsBroken() const { return _isBroken || IsStopped(); }
  NodeIndex Stop(SourceOffset offset, std::string reason);
  NodeIndex StopAt(const Token& token);  // "this use of ..."
  NodeIndex Fail(SourceOffset offset, std::string text, std::vector<DiagnosticNote> notes = {});
  // Goes on behind the broken statement: after its ";" or before the "}" of its block.
  void Recover();
  // Whether a line begins with one of the tokens from `after` + 1 to `last`.
  Bool HasLineStart(std::size_t after, std::size_t last) const;
  Bool Expect(std::string_view sign);
  Bool ExpectClosing(std::string_view sign, const Token& open);
  Bool ExpectSemicolon();
  Bool IsCertainEnd(const Token& token) const;
  Bool IsKnownName(std::string_view name) const;
  SourceOffset GetEndOfLast() const;

  // The file (parser.cpp).
  void ReadItem(Nodes& items);
  void FailGroupSize();
  void ReadGroupSize(Nodes& items);
  void ReadTuning(Nodes& items);
  void ReadInputs(Nodes& items);
  void ReadStruct(Nodes& items);
  void ReadAlias(Nodes& items);
  std::string_view ReadStructName();
  void AddStruct(std::string_view name);
  Nodes ReadMembers();
  void ReadStructParameters(Nodes& items);
  void ReadFunctionOrConstant(Nodes& items);
  void ReadKernel(Nodes& items);
  NodeIndex ReadFunction(NodeIndex type, Bool isInline);
  NodeIndex ReadFunctionParameter();

  // Types and declarations (parser_types.cpp).
  Bool IsTypeStart(std::size_t ahead = 0) const;
  Bool IsTypeWord(std::string_view word) const;
  NodeIndex ReadType();
  NodeIndex ReadTypeWord(UInt16 flags);
  NodeIndex ReadDimensions();
  NodeIndex ReadDeclaration(UInt16 flags);
  // `dimensions`: those that stand before the names, float[2] a.
  NodeIndex ReadDeclarators(NodeIndex type, UInt16 flags, NodeIndex dimensions = kNoNode);
  NodeIndex ReadVariable(NodeIndex type, UInt16 flags, NodeIndex dimensions);
  NodeIndex ReadInitialValue(NodeIndex type, UInt16& flags);
  NodeIndex ReadInitializerList();
  // The name that is declared; empty when it cannot be one.
  std::string_view ReadDeclaredName();
  // The same of a variable, which may hide a type.
  std::string_view ReadVariableName();
  void CheckElementType();
  NodeIndex FailUnknownType();

  // Statements (parser_statements.cpp).
  NodeIndex ReadBlock();
  void ReadStatements(Nodes& statements, const Token& open);
  NodeIndex ReadStatement();
  NodeIndex ReadSubStatement();
  Bool IsAttribute() const;
  NodeIndex ReadAttribute();
  NodeIndex ReadKeywordStatement();
  NodeIndex ReadWordStatement();
  NodeIndex ReadCondition();
  NodeIndex ReadIf();
  NodeIndex ReadFor();
  NodeIndex ReadForStart();
  NodeIndex ReadWhile();
  NodeIndex ReadDoWhile();
  NodeIndex ReadSwitch();
  NodeIndex ReadLabel();
  NodeIndex ReadReturn();
  NodeIndex ReadJump(NodeKind kind);
  NodeIndex ReadSharedArray();
  NodeIndex ReadMakeLocal();
  NodeIndex ReadReport();
  NodeIndex ReadExpressionStatement();

  // Expressions (parser_expressions.cpp).
  NodeIndex ReadExpression();  // with commas
  NodeIndex ReadAssignment();
  NodeIndex ReadConditional();
  NodeIndex ReadBinary(Int lowest);
  NodeIndex ReadUnary();
  NodeIndex ReadPostfix();
  NodeIndex ReadPostfixOf(NodeIndex operand);
  NodeIndex ReadPrimary();
  NodeIndex ReadParentheses();
  NodeIndex ReadWord();
  NodeIndex ReadParameterWord(NodeKind kind);
  NodeIndex ReadLocalData();
  NodeIndex ReadStaticCast();
  NodeIndex ReadConstruct();
  NodeIndex ReadArrayConstruct(SourceOffset offset);
  NodeIndex ReadCast(const Token& open);
  NodeIndex ReadCall();
  Bool ReadArguments(Nodes& arguments);
  NodeIndex FailOperand();

  const std::vector<Token>& _tokens;
  std::size_t _at = 0;
  Bool _isAngleSplit = false;  // the first > of a >> was taken
  Int _depth = 0;
  std::size_t _lastError = 0;  // token at which the last error was found
  Bool _isBroken = false, _isFull = false;
  ParsedFile _file;
  std::vector<UInt16> _heights;  // of the nodes
  std::unordered_set<std::string_view> _structs;
  std::unordered_map<std::string_view, std::string_view> _aliases;  // other names of types
  std::vector<std::string_view> _structNames;                       // in their order
  std::unordered_set<std::string_view> _declared;                   // all names that the file has declared so far
  std::vector<std::string_view> _hiddenTypes;                       // by variables with the name of a type
  Int _namespaces = 0;
};

}  // namespace ostra::kernellanguage
