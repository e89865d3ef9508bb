// Places of bytes and of tokens that macros made.
#include "parallelprogram/kernellanguage/source_map.h"

#include <gtest/gtest.h>

namespace ostra::kernellanguage {
namespace {

const SourceMap::File& Add(SourceMap& sources, std::string_view name, std::string_view text) {
  return sources.GetFile(sources.AddFile(name, text));
}

TEST(SourceMapTest, EveryByteHasItsFileLineAndColumn) {
  SourceMap sources;
  const SourceOffset first = Add(sources, "a.krn", "one\ntwo\n\nfour").begin;
  const SourceOffset second = Add(sources, "b.h", "\tx").begin;
  EXPECT_EQ(sources.Locate(first), (SourceLocation{"a.krn", 1, 1}));
  EXPECT_EQ(sources.Locate(first + 3), (SourceLocation{"a.krn", 1, 4}));
  EXPECT_EQ(sources.Locate(first + 4), (SourceLocation{"a.krn", 2, 1}));
  EXPECT_EQ(sources.Locate(first + 8), (SourceLocation{"a.krn", 3, 1}));
  EXPECT_EQ(sources.Locate(first + 13), (SourceLocation{"a.krn", 4, 5})) << "the end of the file";
  EXPECT_EQ(sources.Locate(second + 1), (SourceLocation{"b.h", 1, 2}));
}

TEST(SourceMapTest, LinesEndBeforeTheirLineEnd) {
  SourceMap sources;
  const SourceOffset begin = Add(sources, "a.krn", "one\r\ntwo\nlast").begin;
  EXPECT_EQ(sources.GetLine(begin + 1), "one");
  EXPECT_EQ(sources.GetLine(begin + 5), "two");
  EXPECT_EQ(sources.GetLine(begin + 9), "last");
}

TEST(SourceMapTest, AnEmptyFileHasALine) {
  SourceMap sources;
  const SourceOffset begin = Add(sources, "empty.krn", "").begin;
  EXPECT_EQ(sources.Locate(begin), (SourceLocation{"empty.krn", 1, 1}));
  EXPECT_EQ(sources.GetLine(begin), "");
}

TEST(SourceMapTest, ATokenOfAMacroStandsWhereTheMacroIsUsedAndIsSpeltInItsDefinition) {
  SourceMap sources;
  const SourceOffset begin = Add(sources, "a.krn", "#define A 1\n#define B A\nB").begin;
  const SourceOffset outer = sources.AddExpansion(begin + 24, begin + 22);
  const SourceOffset inner = sources.AddExpansion(outer, begin + 10);
  EXPECT_TRUE(SourceMap::IsExpansion(inner));
  EXPECT_EQ(sources.Locate(inner), (SourceLocation{"a.krn", 3, 1}));
  EXPECT_EQ(sources.Locate(sources.GetSpelling(inner)), (SourceLocation{"a.krn", 1, 11}));
}

TEST(SourceMapTest, WhatHasNoPlaceHasNoLine) {
  const SourceMap sources;
  EXPECT_EQ(sources.Locate(kNoOffset), SourceLocation());
  EXPECT_EQ(sources.GetLine(kNoOffset), "");
  EXPECT_FALSE(SourceMap::IsExpansion(kNoOffset));
}

}  // namespace
}  // namespace ostra::kernellanguage
