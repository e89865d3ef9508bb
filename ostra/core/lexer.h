// Lexer: cuts a text into the symbols of declarations.
//
//   Lexer lexer;
//   lexer.Init("Float32 Sum(Float32 v[4])"_s);
//   OSTRA_RETURN_IF_ERROR(lexer.ReadNextSymbol());                                    // IDENTIFIER
//   OSTRA_ASSIGN_OR_RETURN(String type, lexer.GetIdent());                            // "Float32"
//   OSTRA_RETURN_IF_ERROR(lexer.ReadNextSymbolExpected(LEXERSYMBOL::IDENTIFIER));     // Sum
//
// White space parts symbols and is skipped. Not synchronised.
#pragma once

#include <string_view>

#include "ostra/core/result.h"
#include "ostra/core/string.h"

namespace ostra {

enum class LEXERSYMBOL : Int32 {
  NONE,                 // before the first symbol, and after the last
  IDENTIFIER,           // letters, digits and underscores, with no digit in front
  NUMBER,               // decimal digits
  PARENTHESE_OPEN,      // (
  PARENTHESE_CLOSE,     // )
  SQUAREBRACKET_OPEN,   // [
  SQUAREBRACKET_CLOSE,  // ]
  COMMA,                // ,
  CHARACTER,            // any other byte, such as * < >; GetText tells which
};

// The name of a symbol as it stands above.
OSTRA_API std::string_view GetName(LEXERSYMBOL symbol);

class OSTRA_API Lexer {
 public:
  // Starts in front of the first symbol of `text`, whose memory is shared.
  void Init(String text);

  // The symbol that was read last, and its characters. The view is valid as long as the lexer has the text.
  LEXERSYMBOL GetSymbol() const { return _symbol; }
  std::string_view GetText() const { return _symbolText; }

  // Error: illegal argument at the end of the text; the symbol is then NONE.
  Result<void> ReadNextSymbol();
  // Also an error: illegal argument for another symbol, which can be asked for afterwards.
  Result<void> ReadNextSymbolExpected(LEXERSYMBOL expected);

  // The text of the current IDENTIFIER; shares memory. Error: illegal state for another symbol.
  Result<String> GetIdent() const;
  // The value of the current NUMBER. Errors: illegal state for another symbol; illegal argument when it does not fit.
  Result<Int32> GetInt() const;

 private:
  String _text;
  std::size_t _position = 0;  // behind the current symbol
  LEXERSYMBOL _symbol = LEXERSYMBOL::NONE;
  std::string_view _symbolText;
};

}  // namespace ostra
