// Parts of the parser alone: tokens, messages, names, nodes, types, recovery.
#include <gtest/gtest.h>

#include "parallelprogram/kernellanguage/parse.h"
#include "parallelprogram/kernellanguage/parse_recovery.h"
#include "parallelprogram/kernellanguage/print_tree.h"

namespace ostra::kernellanguage {
namespace {

std::vector<Token> ReadWithEnd(std::string_view text) {
  LexerTrouble trouble;
  std::vector<Token> tokens = ReadTokens(text, 0, trouble);
  EXPECT_EQ(trouble.kind, LexerTrouble::Kind::kNone);
  tokens.push_back({.kind = TokenKind::kEnd, .offset = static_cast<SourceOffset>(text.size())});
  return tokens;
}

// A text with the parts that stand on its tokens. The text outlives it.
struct Reading {
  explicit Reading(std::string_view text) : list(ReadWithEnd(text)) {}

  // Reads a type, and what it says of it.
  std::string ReadType() {
    const NodeIndex type = types.ReadType();
    if (!messages.GetErrors().empty()) return "error: " + messages.GetErrors()[0].text;
    if (messages.GetNotUnderstood()) return "reason: " + messages.GetNotUnderstood()->reason;
    // Trees print types where they stand: (cast TYPE 0)
    const NodeIndex operand = nodes.Add(NodeKind::kLiteral, 0, "0", {});
    const std::string cast = PrintExpression(tree, nodes.Add(NodeKind::kCast, 0, "", {type, operand}));
    return cast.substr(6, cast.size() - 9);
  }
  std::string_view PeekText() const { return tokens.Peek().text; }

  const std::vector<Token> list;
  TokenCursor tokens{list};
  SyntaxTree tree;
  ParseMessages messages{tokens};
  ParseNodes nodes{tree, messages};
  ParseNames names;
  const ParseBasis basis{tokens, tree, messages, nodes, names};
  ParseUnknownTypes unknownTypes{basis};
  ParseTypes types{basis, unknownTypes};
  ParseRecovery recovery{basis, types};
};

TEST(ParserPartsTest, ACursorStaysAtTheEnd) {
  const std::vector<Token> list = ReadWithEnd("a;");
  TokenCursor tokens(list);
  EXPECT_EQ(tokens.GetLast(), nullptr);
  EXPECT_TRUE(tokens.IsWord());
  EXPECT_TRUE(tokens.Is(";", 1));
  EXPECT_EQ(tokens.Peek(5).kind, TokenKind::kEnd);
  EXPECT_FALSE(tokens.TakeIf(";"));
  EXPECT_EQ(tokens.Take().text, "a");
  EXPECT_TRUE(tokens.TakeIf(";"));
  EXPECT_TRUE(tokens.IsEnd());
  EXPECT_EQ(tokens.Take().kind, TokenKind::kEnd);
  EXPECT_EQ(tokens.Take().kind, TokenKind::kEnd);
  EXPECT_EQ(tokens.GetLast()->text, ";");
}

TEST(ParserPartsTest, TwoAnglesAreTakenOneByOne) {
  const std::vector<Token> list = ReadWithEnd(">> > x");
  TokenCursor tokens(list);
  EXPECT_TRUE(tokens.TakeAngle());
  EXPECT_TRUE(tokens.IsAngleSplit());
  EXPECT_TRUE(tokens.Is(">>"));
  EXPECT_TRUE(tokens.TakeAngle());
  EXPECT_FALSE(tokens.IsAngleSplit());
  EXPECT_TRUE(tokens.TakeAngle());
  EXPECT_FALSE(tokens.TakeAngle());
  EXPECT_TRUE(tokens.Is("x"));
}

TEST(ParserPartsTest, OfSeveralMistakesInALineTheFirstIsNoted) {
  Reading reading("a b\nc");
  ParseMessages& messages = reading.messages;
  messages.Fail(0, "first");
  EXPECT_TRUE(messages.IsBroken());
  EXPECT_TRUE(messages.CanRecover());
  EXPECT_FALSE(messages.IsStopped());
  messages.Fail(0, "of the same statement");
  messages.Recover();
  EXPECT_FALSE(messages.IsBroken());
  reading.tokens.Take();
  messages.Fail(2, "in the same line");
  messages.Recover();
  reading.tokens.Take();
  messages.Fail(4, "in the next line");
  ASSERT_EQ(messages.GetErrors().size(), 2u);
  EXPECT_EQ(messages.GetErrors()[0].text, "first");
  EXPECT_EQ(messages.GetErrors()[1].text, "in the next line");
}

TEST(ParserPartsTest, ReadingEndsWithWhatIsNotUnderstoodOrTheLastError) {
  std::string lines;
  for (std::size_t i = 0; i < kMaxErrors; ++i) lines += "1\n";
  Reading reading("a"), other(lines);
  reading.messages.Stop(0, "first");
  reading.messages.Stop(0, "second");
  reading.messages.Fail(0, "an error");
  EXPECT_TRUE(reading.messages.IsStopped());
  EXPECT_FALSE(reading.messages.CanRecover());
  EXPECT_EQ(reading.messages.GetNotUnderstood()->reason, "first");
  EXPECT_TRUE(reading.messages.GetErrors().empty());
  for (std::size_t i = 0; i < kMaxErrors; ++i, other.tokens.Take()) {
    EXPECT_FALSE(other.messages.IsStopped());
    other.messages.Fail(0, "an error");
    other.messages.Recover();
  }
  EXPECT_TRUE(other.messages.IsStopped());
  other.messages.Stop(0, "late");
  EXPECT_FALSE(other.messages.GetNotUnderstood());
}

TEST(ParserPartsTest, AVariableHidesATypeUpToTheEndOfItsScope) {
  ParseNames names;
  names.AddStruct("Particle");
  names.AddAlias("Colour", "float4");
  EXPECT_TRUE(names.IsStruct("Particle"));
  EXPECT_FALSE(names.IsStruct("Colour"));
  EXPECT_EQ(names.GetMeant("Colour"), "float4");
  EXPECT_EQ(names.GetMeant("float3"), "float3");
  for (const std::string_view type : {"Particle", "Colour", "float3", "TextureSampler_2D_RGBA_F32_LINEAR"})
    EXPECT_TRUE(names.IsType(type)) << type;
  EXPECT_FALSE(names.IsType("sin"));
  {
    const ParseNames::Scope scope(names);
    names.HideType("Colour");
    EXPECT_FALSE(names.IsType("Colour"));
    {
      const ParseNames::Scope inner(names);
      names.HideType("Particle");
      EXPECT_FALSE(names.IsType("Particle"));
    }
    EXPECT_TRUE(names.IsType("Particle"));
    EXPECT_FALSE(names.IsType("Colour"));
  }
  EXPECT_TRUE(names.IsType("Colour"));
}

TEST(ParserPartsTest, NamesThatTheFileDeclaresAreNoMacrosOfTheHost) {
  ParseNames names;
  EXPECT_FALSE(names.IsKnown("a"));
  names.Declare("a");
  names.AddStruct("S");
  for (const std::string_view name : {"a", "S", "sin"}) EXPECT_TRUE(names.IsKnown(name)) << name;
  EXPECT_TRUE(names.IsDeclared("a"));
  EXPECT_FALSE(names.IsDeclared("S"));
  EXPECT_EQ(names.GetStructs().size(), 1u);
}

TEST(ParserPartsTest, ATreeHasALimitOfHeight) {
  Reading reading("a");
  NodeIndex node = reading.nodes.Add(NodeKind::kName, 0, "a", {});
  for (Int height = 1; height < kMaxTreeHeight; ++height)
    node = reading.nodes.Add(NodeKind::kUnary, 0, "", {kNoNode, node}, 0, Operation::kMinus);
  EXPECT_FALSE(reading.messages.IsStopped());
  ASSERT_NE(node, kNoNode);
  EXPECT_EQ(reading.nodes.Add(NodeKind::kUnary, 7, "", {node}, 0, Operation::kMinus), kNoNode);
  ASSERT_TRUE(reading.messages.GetNotUnderstood());
  EXPECT_EQ(reading.messages.GetNotUnderstood()->offset, 7u);
  EXPECT_EQ(reading.messages.GetNotUnderstood()->reason, "a tree higher than 1000 nodes");
  EXPECT_EQ(reading.nodes.Add(NodeKind::kName, 0, "b", {}), kNoNode);
}

TEST(ParserPartsTest, CodeHasALimitOfNesting) {
  Reading reading("a");
  std::vector<std::unique_ptr<ParseNodes::Level>> levels;
  for (Int depth = 0; depth < kMaxNesting; ++depth)
    levels.push_back(std::make_unique<ParseNodes::Level>(reading.nodes));
  EXPECT_TRUE(reading.nodes.CheckDepth(3));
  levels.push_back(std::make_unique<ParseNodes::Level>(reading.nodes));
  EXPECT_FALSE(reading.nodes.CheckDepth(3));
  EXPECT_EQ(reading.messages.GetNotUnderstood()->reason, "code nested deeper than 200");
}

TEST(ParserPartsTest, TypesAreReadWithTheirQualifiersAndLists) {
  EXPECT_EQ(Reading("const float3 x").ReadType(), "const float3");
  EXPECT_EQ(Reading("unsigned int x").ReadType(), "uint");
  EXPECT_EQ(Reading("unsigned x").ReadType(), "uint");
  EXPECT_EQ(Reading("Block<Vec4<UInt32>> x").ReadType(), "Block<Vec4<UInt32>>");
  EXPECT_EQ(Reading("AtomicUInt32* x").ReadType(), "AtomicUInt32*");
  EXPECT_EQ(Reading("float const& x").ReadType(), "const float&");
  EXPECT_EQ(Reading("unsigned long x").ReadType(), "reason: this use of \"long\"");
  EXPECT_EQ(Reading("float&& x").ReadType(), "reason: this use of \"&&\"");
  EXPECT_EQ(Reading("Vec4<UInt32 x").ReadType(), "reason: this use of \"x\"");
  EXPECT_EQ(Reading("1").ReadType(), "reason: this use of \"1\"");
}

TEST(ParserPartsTest, UnknownTypesAreMistakesWhereNothingElseCanBeMeant) {
  EXPECT_EQ(Reading("flaot x = 1;").ReadType(), "error: unknown type \"flaot\"; did you mean \"float\"?");
  EXPECT_EQ(Reading("flaot HOST = 1;").ReadType(), "reason: the type \"flaot\" is not declared in the kernel's files");
  EXPECT_EQ(Reading("flaot").ReadType(), "reason: the type \"flaot\" is not declared in the kernel's files");
  EXPECT_EQ(Reading("auto x = 1;").ReadType(), "reason: \"auto\" is C++ beyond the language of kernels");
  Reading reading("Block<Particel> x");
  reading.names.AddStruct("Particle");
  EXPECT_EQ(
      reading.ReadType(),
      "error: the elements of this buffer are \"Particel\", which is neither a type of kernels nor a struct of the "
      "kernel's headers; did you mean \"Particle\"?");
}

TEST(ParserPartsTest, ReadingGoesOnBehindTheBrokenStatement) {
  Reading reading("a + ; b");
  reading.messages.Fail(0, "an error");
  reading.recovery.Recover();
  EXPECT_FALSE(reading.messages.IsBroken());
  EXPECT_EQ(reading.PeekText(), "b");
  Reading block("a { b; } c");
  block.recovery.Recover();
  EXPECT_EQ(block.PeekText(), "c");
  Reading inside("a + } b");
  inside.recovery.Recover();
  EXPECT_EQ(inside.PeekText(), "}");
  Reading line("a + b\nfloat c;");
  line.recovery.Recover();
  EXPECT_EQ(line.PeekText(), "float");
}

}  // namespace
}  // namespace ostra::kernellanguage
