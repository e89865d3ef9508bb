#include "ostra/core/format.h"

#include <string>

#include "ostra/core/data_type.h"
#include "ostra/core/interned_id.h"
#include "ostra/core/lexer.h"
#include "ostra/io/url.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

TEST(FormatTest, FillsPlaceholdersFromLeftToRight) { EXPECT_EQ(*Format("@ of @ done", 3, 7), "3 of 7 done"); }

TEST(FormatTest, SurplusArgumentsAreIgnoredAndSurplusPlaceholdersStay) {
  EXPECT_EQ(*Format("@", 1, 2), "1");
  EXPECT_EQ(*Format("@ and @", 1), "1 and @");
  EXPECT_EQ(*Format("nothing", 1), "nothing");
  EXPECT_EQ(*Format("", 1), "");
}

TEST(FormatTest, PlaceholdersInsideArgumentsAreText) { EXPECT_EQ(*Format("@@", "@", "x"), "@x"); }

TEST(FormatTest, WritesIntegersOfEveryWidthInDecimal) {
  EXPECT_EQ(*Format("@ @", Int8(-128), UInt8(255)), "-128 255");
  EXPECT_EQ(*Format("@ @", INT64_MIN, UINT64_MAX), "-9223372036854775808 18446744073709551615");
  EXPECT_EQ(*Format("@", 0), "0");
}

TEST(FormatTest, WritesTextsCharactersTruthAndNumbers) {
  const char* text = "c";
  EXPECT_EQ(*Format("@@@@", "a", "b"_s, text, std::string("d")), "abcd");
  EXPECT_EQ(*Format("@ @ @", 'x', true, false), "x true false");
  EXPECT_EQ(*Format("@ @", 0.5, Float32(2)), "0.5 2");
}

TEST(FormatTest, WritesPointersInHexadecimalAndNullAsNullptr) {
  const Int* null = nullptr;
  const char* noText = nullptr;
  EXPECT_EQ(*Format("@ @ @", null, noText, nullptr), "nullptr nullptr nullptr");
  EXPECT_EQ(*Format("@", reinterpret_cast<void*>(0x1f)), "0x1f");
}

TEST(FormatTest, WritesNamesOfEveryKind) {
  const CString name("texels");
  EXPECT_EQ(*Format("@ @ @ @", "radius"_iid, name, "a.b"_id, *Url::Create("shaders/blur.krn")),
            "radius texels a.b shaders/blur.krn");
  EXPECT_EQ(*Format("@ @", GetName(LEXERSYMBOL::SQUAREBRACKET_OPEN), GetName(LEXERSYMBOL::IDENTIFIER)),
            "SQUAREBRACKET_OPEN IDENTIFIER");
  EXPECT_EQ(*Format("[@][@][@]", InternedId(), CString(), Id()), "[][][]");
}

TEST(FormatTest, WritesErrorsByTheirMessageAndNamedThingsByTheirName) {
  const Error error = Error::Make(kIllegalStateError, "too early", "unit", 1);
  EXPECT_EQ(*Format("@: @ @", error, "a.b"_id, GetDataType<Float32>()), "too early: a.b float32");
}

}  // namespace
}  // namespace ostra
