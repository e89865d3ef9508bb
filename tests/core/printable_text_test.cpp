#include "ostra/core/printable_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ostra/core/diagnostics.h"

namespace ostra {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

template <class Write>
std::string Capture(Write&& write) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&text, &size);
  write(stream);
  std::fclose(stream);
  std::string result(text, size);
  std::free(text);
  return result;
}

std::string Print(std::string_view text) {
  return Capture([text](std::FILE* stream) { WritePrintable(stream, text); });
}
std::string PrintMessage(std::string_view text) {
  return Capture([text](std::FILE* stream) { WriteMessage(stream, text); });
}

TEST(PrintableTextTest, WhatATerminalWouldObeyIsWrittenAsNumbers) {
  EXPECT_EQ(Print("a\x1B[31mred\x07"), "a\\x1B[31mred\\x07");
  EXPECT_EQ(Print(std::string_view("zero\0byte", 9)), "zero\\x00byte");
  EXPECT_EQ(Print("back\rover\x7F"), "back\\x0Dover\\x7F");
  EXPECT_EQ(Print("\xC2\x9B"
                  "31m"),
            "\\xC2\\x9B31m");
  EXPECT_EQ(Print("a\xE2\x80\xAE"
                  "b\xE2\x81\xA6"),
            "a\\xE2\\x80\\xAEb\\xE2\\x81\\xA6");
  EXPECT_EQ(Print("cut \xE2\x82"), "cut \\xE2\\x82");
}

TEST(PrintableTextTest, TextStaysAsItIs) {
  const std::string text =
      "Gr\xC3\xB6\xC3\x9F"
      "e:\t\xE2\x82\xAC 5\n\xF0\x9F\x8E\xA8";
  EXPECT_EQ(Print(text), text);
  EXPECT_EQ(PrintMessage(text), text);
  for (const auto write : {&Print, &PrintMessage}) {
    EXPECT_EQ(write("one\r\ntwo\r\n"), "one\ntwo\n");
    EXPECT_EQ(write("\r\n\r\r\nend\r"), "\n\\x0D\nend\\x0D");
  }
  EXPECT_FALSE(HasControlCharacters(text));
  EXPECT_TRUE(HasControlCharacters("a\nb\x1B"));
}

TEST(PrintableTextTest, ALongLineKeepsItsBeginningAndItsEnd) {
  const std::string printed = PrintMessage("The word \"" + std::string(3 << 20, 'x') + "\" is not known.\nnext");
  EXPECT_LT(printed.size(), 1100u);
  EXPECT_THAT(printed, StartsWith("The word \"xxx"));
  EXPECT_THAT(printed, HasSubstr(" bytes are left out) ..."));
  EXPECT_THAT(printed, EndsWith("xxx\" is not known.\nnext"));
  // No character is cut.
  std::string euros;
  for (int i = 0; i < 1000; ++i) euros += "\xE2\x82\xAC";
  for (const char* start : {"", "a", "ab"}) EXPECT_EQ(PrintMessage(start + euros).find("\\x"), std::string::npos);
}

TEST(PrintableTextTest, ALongReportKeepsItsFirstAndLastLines) {
  std::string report;
  for (int i = 0; i < 100000; ++i) report += "line " + std::to_string(i) + "\n";
  const std::string printed = PrintMessage(report);
  EXPECT_LT(printed.size(), 64u << 10);
  EXPECT_THAT(printed, StartsWith("line 0\nline 1\n"));
  EXPECT_THAT(printed, HasSubstr("bytes are left out)\nline "));
  EXPECT_THAT(printed, EndsWith("line 99998\nline 99999\n"));
}

TEST(PrintableTextTest, DiagnosticsAreWrittenThatWay) {
  testing::internal::CaptureStderr();
  WriteDiagnostic(DiagnosticLevel::Warning, "a file named \x1B]0;x\x07 is not there");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a file named \\x1B]0;x\\x07 is not there\n");
}

}  // namespace
}  // namespace ostra
