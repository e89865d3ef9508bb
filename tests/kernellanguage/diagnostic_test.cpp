// The text of diagnostics.
#include "parallelprogram/kernellanguage/diagnostic.h"

#include <gtest/gtest.h>

namespace ostra::kernellanguage {
namespace {

TEST(DiagnosticTest, ALineHasACaretBelowThePlace) {
  SourceMap sources;
  sources.AddFile("k.krn", "first\n\tif (i < cont)\n");
  EXPECT_EQ(FormatDiagnostic(sources, {.offset = 15, .text = "unknown name"}),
            "k.krn:2:10: error: unknown name\n"
            "\tif (i < cont)\n"
            "\t        ^");
}

TEST(DiagnosticTest, NotesAndWarningsHaveTheSameForm) {
  SourceMap sources;
  sources.AddFile("k.krn", "a\nb");
  const Diagnostic diagnostic{.severity = Severity::kWarning, .offset = 2, .text = "again", .notes = {{0, "first"}}};
  EXPECT_EQ(FormatDiagnostic(sources, diagnostic), "k.krn:2:1: warning: again\nb\n^\nk.krn:1:1: note: first\na\n^");
  EXPECT_EQ(FormatDiagnostics(sources, {{.offset = 0, .text = "x"}, {.offset = 2, .text = "y"}}),
            "k.krn:1:1: error: x\na\n^\nk.krn:2:1: error: y\nb\n^");
}

TEST(DiagnosticTest, ControlCharactersAreEscapedAndTheCaretKeepsItsPlace) {
  SourceMap sources;
  sources.AddFile("bad\nname", std::string_view("a\x1b[0m\0b", 7));
  EXPECT_EQ(FormatDiagnostic(sources, {.offset = 6, .text = "a \x07 sound"}),
            "bad\\x0aname:1:7: error: a \\x07 sound\na\\x1b[0m\\x00b\n            ^");
}

TEST(DiagnosticTest, WhatTurnsTheDirectionOfTextAroundAndBytesThatAreNoTextAreEscaped) {
  SourceMap sources;
  sources.AddFile("k.krn", "a\xe2\x80\xae\xff x");
  EXPECT_EQ(FormatDiagnostic(sources, {.offset = 6, .text = "\xc2\x9b"}),
            "k.krn:1:7: error: \\xc2\\x9b\na\\xe2\\x80\\xae\\xff x\n                  ^");
}

TEST(DiagnosticTest, CharactersOfSeveralBytesTakeOneColumn) {
  SourceMap sources;
  sources.AddFile("k.krn", "/* \xc3\xa4 */ x");
  EXPECT_EQ(FormatDiagnostic(sources, {.offset = 9, .text = "t"}), "k.krn:1:10: error: t\n/* \xc3\xa4 */ x\n        ^");
}

TEST(DiagnosticTest, LongLinesAreCutAroundTheCaret) {
  SourceMap sources;
  sources.AddFile("k.krn", std::string(500, 'a') + "X" + std::string(500, 'b'));
  const std::string text = FormatDiagnostic(sources, {.offset = 500, .text = std::string(5000, 't')});
  EXPECT_LT(text.size(), 1500u);
  const std::size_t line = text.find('\n') + 1, caret = text.rfind('\n') + 1;
  EXPECT_EQ(text[line + (text.size() - 1 - caret)], 'X');
}

TEST(DiagnosticTest, ATokenOfAMacroIsShownInBothPlaces) {
  SourceMap sources;
  sources.AddFile("k.krn", "#define A b\nA");
  EXPECT_EQ(FormatDiagnostic(sources, {.offset = sources.AddExpansion(12, 10), .text = "t"}),
            "k.krn:2:1: error: t\nA\n^\nk.krn:1:11: note: in the definition of the macro\n#define A b\n          ^");
}

TEST(DiagnosticTest, WithoutAPlaceOnlyTheTextIsLeft) {
  EXPECT_EQ(FormatDiagnostic({}, {.text = "t"}), "error: t");
  EXPECT_EQ(FormatNotUnderstood({}, {kNoOffset, "a lambda"}), "not understood: a lambda");
}

}  // namespace
}  // namespace ostra::kernellanguage
