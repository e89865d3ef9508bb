// What a draw costs once everything has been used: no memory of the host, and no objects of the device.
#include "ostra/core/memory.h"
#include "tests/shaderloader/loader_device_fixture.h"

namespace ostra::test {
namespace {

class LoaderWarmTest : public LoaderDeviceTest {
 protected:
  // Draws both programs in turn, each time with another value.
  void DrawPass(Int draws) {
    Take(renderer->Begin(target, {}));
    for (Int i = 0; i < draws; ++i) {
      loader->SetActiveProgram(i % 2 == 0 ? "even"_iid : "odd"_iid);
      Take(loader->SetUniform("shift"_iid, static_cast<Float32>(i) / static_cast<Float32>(draws), 0));
      Take(loader->SetUniform("red"_iid, static_cast<Float32>(i), 1));
      Take(loader->UpdateUniforms(target.GetPointer()));
      Take(renderer->Draw(GetCall(3)));
    }
    Take(renderer->End());
    Take(renderer->Execute(true));
  }
};

TEST_F(LoaderWarmTest, ADrawWithNewValuesAllocatesNothing) {
  Write("p.vert", {"(attribute Vector2d32) position", "(Float32) shift"},
        "\tOutPosition = vec4(position.x + UNIFORM(shift), position.y, 0.5, 1.0);\n");
  Write("p.frag", {"(Float32) red", "(out Vector4d32) f_color"}, "\tf_color = vec4(UNIFORM(red), 0.0, 0.0, 1.0);\n");
  for (const InternedId& id : {"even"_iid, "odd"_iid}) {
    Add(id, {"p.vert", "p.frag"});
    StoreVertices({-1, -1, 1, -1, -1, 1});
  }
  constexpr Int kDraws = 50;
  for (int i = 0; i < 20; ++i) DrawPass(kDraws);  // every batch has been used
  const Int before = AllocationFaults::GetCount();
  for (int i = 0; i < 5; ++i) DrawPass(kDraws);
  EXPECT_EQ(AllocationFaults::GetCount(), before);
  // The right pixel is covered by the last triangle, the left one by those that have hardly moved.
  const Picture picture = Read(target);
  EXPECT_EQ(picture.At(7, 7).r, static_cast<Float32>(kDraws - 1));
  EXPECT_EQ(picture.At(0, 7).r, 6);
}

}  // namespace
}  // namespace ostra::test
