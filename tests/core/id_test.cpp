#include "ostra/core/id.h"

#include <gtest/gtest.h>

#include <string>

#include "ostra/core/result.h"

namespace ostra {
namespace {

TEST(IdTest, LiteralsAreHashedAtCompileTime) {
  constexpr Id id = "net.ostra.interface.kernelinterface"_id;
  static_assert(id.GetHashCode() == HashText("net.ostra.interface.kernelinterface"));
  static_assert(id == "net.ostra.interface.kernelinterface"_id);
  static_assert(!id.IsEmpty() && Id().IsEmpty());
  EXPECT_EQ(id.GetView(), "net.ostra.interface.kernelinterface");
}

TEST(IdTest, AnIdMadeAtRunTimeEqualsTheLiteral) {
  std::string text = "net.ostra.example";
  const Id id = *Id::Create(text);
  text[0] = 'X';
  EXPECT_EQ(id, "net.ostra.example"_id);
  EXPECT_EQ(id.GetHashCode(), "net.ostra.example"_id.GetHashCode());
  EXPECT_NE(id, "net.ostra.examples"_id);
}

TEST(IdTest, TheEmptyIdEqualsOneMadeFromAnEmptyText) { EXPECT_EQ(Id(), *Id::Create("")); }

TEST(IdTest, SortsByText) {
  EXPECT_TRUE("a.b"_id < "a.c"_id);
  EXPECT_TRUE("a"_id < "a.b"_id);
}

}  // namespace
}  // namespace ostra
