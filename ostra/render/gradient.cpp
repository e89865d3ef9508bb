#include "ostra/render/gradient.h"

#include "ostra/core/format.h"
#include "ostra/object/host_classes.h"
#include "ostra/render/gradient_table.h"
#include "ostra/render/host_classes.h"

OSTRA_UNIT("gradient");

namespace ostra {
namespace {

// True for numbers within the limits, false for those that are no numbers.
Bool IsWithin(Float32 value, Float32 low, Float32 high) { return value >= low && value <= high; }

Result<void> CheckColor(const GradientKnot& knot) {
  const Vector32 color = knot.color * knot.intensity;
  for (const Float32 value : {color.x, color.y, color.z}) {
    if (!IsWithin(value, -kMaxGradientColor, kMaxGradientColor))
      return OSTRA_ILLEGAL_ARGUMENT("The colour @ of a gradient knot, intensity included, must be between @ and @.",
                                    Float64(value), Float64(-kMaxGradientColor), Float64(kMaxGradientColor));
  }
  return OK;
}

Result<void> CheckKnot(const GradientKnot& knot) {
  if (!IsWithin(knot.position, 0, 1))
    return OSTRA_ILLEGAL_ARGUMENT("The position @ of a gradient knot must be between 0 and 1.", Float64(knot.position));
  OSTRA_RETURN_IF_ERROR(CheckColor(knot));
  if (!IsWithin(knot.bias, 0, 1))
    return OSTRA_ILLEGAL_ARGUMENT("The bias @ of a gradient knot must be between 0 and 1.", Float64(knot.bias));
  const auto interpolation = static_cast<Int32>(knot.interpolation);
  if (interpolation < 0 || interpolation > 2)
    return OSTRA_ILLEGAL_ARGUMENT("The interpolation @ of a gradient knot must be between 0 and 2.", interpolation);
  return OK;
}

class Gradient final : public Component<Gradient, GradientInterface> {
 public:
  static constexpr const char* kComponentName = "Gradient";

  Result<Int32> InsertKnot(const GradientKnot& knot) override {
    OSTRA_RETURN_IF_ERROR(CheckKnot(knot));
    OSTRA_ASSIGN_OR_RETURN(GradientKnot & added, _knots.Append(knot));
    added.index = static_cast<Int32>(_knots.GetCount() - 1);
    return added.index;
  }

  Int GetKnotCount() const override { return _knots.GetCount(); }

  Result<GradientRenderData> InitRender() const override {
    if (_knots.IsEmpty()) return GradientRenderData();
    OSTRA_ASSIGN_OR_RETURN(StrongRef<const GradientTable> table, GradientTable::Create(_knots));
    return GradientRenderData(std::move(table));
  }

  Result<void> CopyFrom(const ObjectInterface& source) override {
    return _knots.CopyFrom(static_cast<const Gradient&>(static_cast<const GradientInterface&>(source))._knots);
  }

 private:
  BaseArray<GradientKnot> _knots;
};

}  // namespace

Result<void> RegisterGradient() {
  static_cast<void>(GetDataType<GradientRenderData>());
  static_cast<void>(GetDataType<GradientRenderData*>());
  OSTRA_ASSIGN_OR_RETURN(ClassRef gradientClass, Class::Create<Gradient>(kGradientClass));
  return InsertOnce(ClassRegistry::GetClasses(), gradientClass);
}

GradientRenderData::GradientRenderData() = default;
GradientRenderData::GradientRenderData(StrongRef<const GradientTable> table) : _table(std::move(table)) {}
GradientRenderData::GradientRenderData(const GradientRenderData& other) = default;
GradientRenderData::GradientRenderData(GradientRenderData&& other) noexcept = default;
GradientRenderData& GradientRenderData::operator=(GradientRenderData other) noexcept {
  _table = std::move(other._table);
  return *this;
}
GradientRenderData::~GradientRenderData() = default;

const GradientTable* GradientRenderData::GetTable() const { return _table.GetPointer(); }

Vector32 GradientRenderData::Sample(Float32 position) const {
  return _table ? _table->Sample(position) : Vector32(0, 0, 0);
}

}  // namespace ostra
