#include "parallelprogram/shaderparser/function_declaration.h"

#include "ostra/core/format.h"
#include "ostra/core/lexer.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

class DeclarationParser {
 public:
  explicit DeclarationParser(const CString& declaration) : _declaration(declaration) {
    _lexer.Init(declaration.GetString());
  }

  Result<FunctionDeclaration> Parse() {
    FunctionDeclaration function;
    OSTRA_ASSIGN_OR_RETURN(function.returnType, ReadWord());
    OSTRA_ASSIGN_OR_RETURN(function.name, ReadWord());
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbolExpected(LEXERSYMBOL::PARENTHESE_OPEN));
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    if (IsAt(LEXERSYMBOL::PARENTHESE_CLOSE)) return function;
    while (true) {
      OSTRA_ASSIGN_OR_RETURN(FunctionParameter parameter, ParseParameter());
      OSTRA_RETURN_IF_ERROR(function.parameters.Append(std::move(parameter)));
      if (IsAt(LEXERSYMBOL::PARENTHESE_CLOSE)) return function;
      if (!IsAt(LEXERSYMBOL::COMMA))
        return OSTRA_ILLEGAL_ARGUMENT("Expected comma, got @. Function: @", GetName(_lexer.GetSymbol()), _declaration);
      OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    }
  }

 private:
  // Starts at the first symbol of a parameter and ends at the one behind it.
  Result<FunctionParameter> ParseParameter() {
    FunctionParameter parameter;
    OSTRA_RETURN_IF_ERROR(CheckWord());
    Bool isConst = false;
    while (ReadQualifier(parameter, isConst)) OSTRA_RETURN_IF_ERROR(ReadNextWord());
    if (IsWord("StructuredBuffer") || IsWord("RWStructuredBuffer")) {
      OSTRA_ASSIGN_OR_RETURN(parameter.type, ParseBufferType());
      OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    } else {
      OSTRA_ASSIGN_OR_RETURN(parameter.type, ParseType(isConst));
    }
    OSTRA_ASSIGN_OR_RETURN(parameter.name, GetWord());
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    if (IsAt(LEXERSYMBOL::SQUAREBRACKET_OPEN)) OSTRA_RETURN_IF_ERROR(ParseArraySize(parameter));
    return parameter;
  }

  // Notes the current word when it is one that stands before the type.
  Bool ReadQualifier(FunctionParameter& parameter, Bool& isConst) const {
    if (IsWord("__THREAD"))
      parameter.addressSpace = FunctionParameter::THREAD;
    else if (IsWord("__CONSTANT"))
      parameter.addressSpace = FunctionParameter::CONSTANT;
    else if (IsWord("const"))
      isConst = true;
    else if (IsWord("in"))
      parameter.direction = FunctionParameter::IN;
    else if (IsWord("out"))
      parameter.direction = FunctionParameter::OUT;
    else if (IsWord("inout"))
      parameter.direction = FunctionParameter::INOUT;
    else
      return false;
    return true;
  }

  // From the word to the closing angle. The angles themselves are taken as they come.
  Result<CString> ParseBufferType() {
    OSTRA_ASSIGN_OR_RETURN(const CString buffer, GetWord());
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    OSTRA_ASSIGN_OR_RETURN(const CString element, ReadWord());
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    return MakeText("@<@>", buffer, element);
  }

  // Ends at the symbol behind the type.
  Result<CString> ParseType(Bool isConst) {
    OSTRA_ASSIGN_OR_RETURN(CString type, GetWord());
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    if (_lexer.GetText() != "*") return type;
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    return MakeText(isConst ? "const device @*" : "device @*", type);
  }

  // From the opening bracket to the symbol behind the closing one.
  Result<void> ParseArraySize(FunctionParameter& parameter) {
    parameter.arraySize = FunctionParameter::OPEN_ARRAY;
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    if (IsAt(LEXERSYMBOL::NUMBER)) {
      OSTRA_ASSIGN_OR_RETURN(parameter.arraySize, _lexer.GetInt());
      OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    }
    if (!IsAt(LEXERSYMBOL::SQUAREBRACKET_CLOSE))
      return OSTRA_ILLEGAL_ARGUMENT("Expected ], got @. Function: @", GetName(_lexer.GetSymbol()), _declaration);
    return _lexer.ReadNextSymbol();
  }

  Bool IsAt(LEXERSYMBOL symbol) const { return _lexer.GetSymbol() == symbol; }
  Bool IsWord(std::string_view word) const { return IsAt(LEXERSYMBOL::IDENTIFIER) && _lexer.GetText() == word; }
  Result<void> CheckWord() const {
    if (IsAt(LEXERSYMBOL::IDENTIFIER)) return OK;
    return OSTRA_ILLEGAL_ARGUMENT("Expected identifier, got @.", GetName(_lexer.GetSymbol()));
  }
  Result<void> ReadNextWord() {
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    return CheckWord();
  }
  // The current word; the next one.
  Result<CString> GetWord() const {
    OSTRA_RETURN_IF_ERROR(CheckWord());
    OSTRA_ASSIGN_OR_RETURN(const String word, _lexer.GetIdent());
    return CString::Create(word);
  }
  Result<CString> ReadWord() {
    OSTRA_RETURN_IF_ERROR(_lexer.ReadNextSymbol());
    return GetWord();
  }
  template <class... Parts>
  static Result<CString> MakeText(std::string_view pattern, const Parts&... parts) {
    OSTRA_ASSIGN_OR_RETURN(const String text, Format(pattern, parts...));
    return CString::Create(text);
  }

  const CString& _declaration;
  Lexer _lexer;
};

}  // namespace

Result<FunctionDeclaration> ParseFunctionDeclaration(const CString& declaration) {
  return DeclarationParser(declaration).Parse();
}

}  // namespace ostra
