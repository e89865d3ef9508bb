// Gradients: colours along a line. A gradient is built from knots; its render data is what programs and kernels read.
//
//   OSTRA_ASSIGN_OR_RETURN(GradientRef gradient, CreateObject<GradientInterface>(kGradientClass));
//   OSTRA_RETURN_IF_ERROR(gradient->InsertKnot({.color = Vector32(0, 0, 0), .position = 0}));
//   OSTRA_RETURN_IF_ERROR(gradient->InsertKnot({.color = Vector32(1, 1, 1), .position = 1}));
//   OSTRA_ASSIGN_OR_RETURN(GradientRenderData ramp, gradient->InitRender());
//   Vector32 gray = SampleGradient(ramp, 0.25f);
//
// In a kernel file the parameter is `(GradientRenderData) ramp, \` and the word SampleGradient(UNIFORM(ramp), t).
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/math/vector.h"
#include "ostra/object/interface.h"

namespace ostra {

inline constexpr Id kGradientClass = "net.ostra.render.gradient"_id;

// How the colours between a knot and the next one are found.
enum class GradientInterpolation : Int32 {
  None = 0,    // the colour of the knot
  Linear = 1,  // straight from colour to colour
  Smooth = 2,  // as Linear, with an even start and end
};

// The largest colour, intensity included: that of 16-bit floats, in which devices keep gradients.
inline constexpr Float32 kMaxGradientColor = 65504;

// The fields in the order in which programs list them.
struct GradientKnot {
  Vector32 color{0, 0, 0};
  Float32 intensity = 1;  // the colour is multiplied by it
  Float32 position = 0;   // 0 ... 1
  Float32 bias = 0.5f;    // where, between this knot and the next, the colours are mixed in equal parts: 0 ... 1
  Int32 index = 0;        // given by InsertKnot
  GradientInterpolation interpolation = GradientInterpolation::Smooth;
};

struct GradientTable;

// The knots of a gradient in the form that is fast to read. A value: copies share the table, which never changes, so
// copies cannot fail and any number of threads may read one.
class OSTRA_API GradientRenderData {
 public:
  // No gradient.
  GradientRenderData();
  explicit GradientRenderData(StrongRef<const GradientTable> table);
  GradientRenderData(const GradientRenderData& other);
  GradientRenderData(GradientRenderData&& other) noexcept;
  GradientRenderData& operator=(GradientRenderData other) noexcept;
  ~GradientRenderData();

  // True for a gradient without knots: programs draw a fallback in its place.
  Bool IsEmpty() const { return !_table; }
  // The colour at `position`, intensity included; outside the knots that of the first or last one. Black when empty.
  // A position that is no number counts as one before all knots. Allocates nothing.
  Vector32 Sample(Float32 position) const;

  // The sorted knots (gradient_table.h), for code that keeps them in another form; null when empty.
  const GradientTable* GetTable() const;

  friend Bool operator==(const GradientRenderData& a, const GradientRenderData& b) { return a._table == b._table; }

 private:
  StrongRef<const GradientTable> _table;
};

// The word for kernel files.
inline Vector32 SampleGradient(const GradientRenderData& gradient, Float32 position) {
  return gradient.Sample(position);
}

class GradientInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.render.interface.gradient"_id;

  // Adds a copy of the knot and returns its index: 0, 1, 2, ... in the order of insertion. Of knots at one position
  // the earlier inserted one ends there and the later one begins. Errors: illegal argument for a position or bias
  // outside 0 ... 1, a colour beyond kMaxGradientColor, or an unknown interpolation; out of memory.
  virtual Result<Int32> InsertKnot(const GradientKnot& knot) = 0;
  virtual Int GetKnotCount() const = 0;
  // Render data of the knots inserted so far; empty when there are none. It does not change with later knots.
  // Error: out of memory.
  virtual Result<GradientRenderData> InitRender() const = 0;
};

using GradientRef = StrongRef<GradientInterface>;

}  // namespace ostra

OSTRA_DATATYPE(ostra::GradientRenderData, "net.ostra.datatype.gradientrenderdata", "GradientRenderData");
