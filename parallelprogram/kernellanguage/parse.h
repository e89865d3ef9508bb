// The parser: from tokens to a syntax tree.
//
// Errors are mistakes that no C++ compiler takes, either; after one it goes on with the next statement, up to
// kMaxErrors. Everything else that is not of the language is not understood, and parsing ends there.
#pragma once

#include <optional>
#include <vector>

#include "parallelprogram/kernellanguage/preprocessor.h"
#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

// How deep parentheses, operators, blocks and types may be nested, and how high a tree may be: chains such as
// a + b + c ... make it higher. Beyond that a kernel is not understood.
inline constexpr Int kMaxNesting = 200, kMaxTreeHeight = 1000;

struct ParsedFile {
  SyntaxTree tree;  // without errors: whole, with a kernel
  std::vector<Diagnostic> errors;
  std::optional<NotUnderstood> notUnderstood;
};

ParsedFile Parse(const TokenStream& tokens);

}  // namespace ostra::kernellanguage
