// The size of a run without --size, as docs/dispatch-size.md says it.
#include "plans/run/default_size.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "apps/ostra/tool_error.h"
#include "parallelprogram/kernelruntime/position_axes.h"
#include "tests/support/result_matchers.h"

namespace ostra::tool {

using namespace plans;
namespace {

using testing::HasSubstr;
using Kind = SizeSource::Kind;

SizeSource Picture(Extents size) { return {Kind::Picture, "image", "a.png", size, true}; }
SizeSource Array(Extents size) { return {Kind::Array, "values", "a.npy", size, true}; }
SizeSource List(Int count) { return {Kind::Array, "list", "a.csv", {count, 1, 1}, false}; }
SizeSource Texture(Extents size) { return {Kind::Texture, "texture", "t.png", size, true}; }

std::string Choose(const std::vector<SizeSource>& sources, std::optional<Int> axes) {
  const auto size = ChooseDefaultSize(sources, axes, "--size");
  if (size) return size->ToText();
  EXPECT_EQ(size.GetError().GetKind(), kUsageError);
  const std::string message(size.GetError().GetMessage().GetView());
  EXPECT_THAT(message, HasSubstr("give --size"));
  return "error";
}

TEST(DefaultSizeTest, AKernelOfOneAxisGetsOneLine) {
  EXPECT_EQ(Choose({Picture({4, 3, 1}), List(7)}, 1), "12");
  EXPECT_EQ(Choose({List(7), List(9)}, 1), "9");
  EXPECT_EQ(Choose({Array({4, 3, 2})}, 1), "24");
  EXPECT_EQ(Choose({List(7), Texture({4, 3, 1})}, 1), "12");
  EXPECT_EQ(Choose({Picture({4, 3, 1}), Texture({17, 17, 17})}, 1), "12");
}

TEST(DefaultSizeTest, AKernelOfMoreAxesGetsRows) {
  EXPECT_EQ(Choose({Picture({4, 3, 1}), List(7)}, 2), "4 x 3");
  EXPECT_EQ(Choose({Texture({4, 3, 1})}, 2), "4 x 3");
  EXPECT_EQ(Choose({Texture({5, 1, 1})}, 2), "5");
  EXPECT_EQ(Choose({List(5), Array({4, 3, 1}), Texture({4, 3, 1})}, 2), "4 x 3");
  EXPECT_EQ(Choose({Texture({4, 3, 2})}, 3), "4 x 3 x 2");
  EXPECT_EQ(Choose({Picture({4, 3, 1}), Texture({9, 9, 1})}, 2), "4 x 3");
}

TEST(DefaultSizeTest, NothingIsLeftOutInSilence) {
  EXPECT_EQ(Choose({}, 1), "error");
  EXPECT_EQ(Choose({Picture({4, 3, 1}), Picture({3, 4, 1})}, 1), "error");
  EXPECT_EQ(Choose({Picture({4, 3, 1}), Picture({3, 4, 1})}, 2), "error");
  EXPECT_EQ(Choose({Picture({4, 3, 1}), List(13)}, 1), "error");
  EXPECT_EQ(Choose({Picture({4, 3, 1}), List(13)}, 2), "error");
  EXPECT_EQ(Choose({Array({3, 3, 1}), Texture({400, 300, 1})}, 2), "error");
  EXPECT_EQ(Choose({Texture({4, 3, 1}), Texture({8, 6, 1})}, 2), "error");
  EXPECT_EQ(Choose({Texture({4, 3, 1}), List(24)}, 2), "error");
  EXPECT_EQ(Choose({List(12)}, 2), "error");
  EXPECT_EQ(Choose({Texture({4, 3, 2})}, 2), "error");
  EXPECT_EQ(Choose({Picture({4, 3, 1})}, std::nullopt), "error");
  EXPECT_EQ(Choose({List(12)}, std::nullopt), "12");
}

TEST(PositionAxesTest, TheTextOfAKernelShowsThem) {
  EXPECT_EQ(kernelruntime::CountPositionAxes("uint i = LinearInvocation();"), 1);
  EXPECT_EQ(kernelruntime::CountPositionAxes("uint i = InGlobalInvocationID.x; // InGlobalInvocationID.y"), 1);
  EXPECT_EQ(kernelruntime::CountPositionAxes("GROUPSIZE(64, 1, 1)\nuint i = InWorkGroupID.x;"), 1);
  EXPECT_EQ(kernelruntime::CountPositionAxes("int y = int(InGlobalInvocationID . y);"), 2);
  EXPECT_EQ(kernelruntime::CountPositionAxes("GROUPSIZE(16, 16, 1)"), 2);
  EXPECT_EQ(kernelruntime::CountPositionAxes("GROUPSIZE(4, 4, 4)"), 3);
  EXPECT_EQ(kernelruntime::CountPositionAxes("uint z = InLocalInvocationID.z;"), 3);
  EXPECT_EQ(kernelruntime::CountPositionAxes("Inside(InGlobalInvocationID)"), std::nullopt);
  constexpr const char* kGroupForm =
      "void RunGroup(const Vec3<UInt32>& InWorkGroupID, OstraMemory& ostraMemory) const {\n"
      "ForEachInvocation<OstraGroupSize>(InWorkGroupID, [&](const Vec3<UInt32>& InGlobalInvocationID, "
      "const Vec3<UInt32>& InLocalInvocationID) {\n";
  EXPECT_EQ(kernelruntime::CountPositionAxes(std::string(kGroupForm) + "uint y = InLocalInvocationID.y;"), 2);
  EXPECT_EQ(kernelruntime::CountPositionAxes(std::string(kGroupForm) + "Inside(InWorkGroupID);"), std::nullopt);
  EXPECT_EQ(kernelruntime::CountPositionAxes("ForEachRow<OstraGroupSize>(InWorkGroupID, [&](UInt32 ostraX) {});"), 1);
  EXPECT_EQ(kernelruntime::CountPositionAxes("Inside(InGlobalInvocationID); uint z = InWorkGroupID.z;"), 3);
}

}  // namespace
}  // namespace ostra::tool
