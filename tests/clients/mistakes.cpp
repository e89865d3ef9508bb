// Calls of kernels, the one that MISTAKE names with a mistake. 0: none, which compiles.
#include "clients/cpp/session.h"
#include "net.example.blur.kernel.h"
#include "net.example.count.kernel.h"
#include "net.example.scale.kernel.h"

void Call(ostra::Session& session, ostra::UInt32 count, double wide) {
  auto values = session.MakeBuffer<float>(10);
  auto whole = session.MakeBuffer<int>(10);
  auto counter = session.MakeCounter("hits");
  const auto blur = session.Load<ostra::kernels::Blur>();
  const auto scale = session.Load<ostra::kernels::Scale>();
  static_cast<void>(wide), static_cast<void>(scale);
#if MISTAKE == 0
  blur({.count = count, .source = values, .target = values});
#elif MISTAKE == 1  // a misspelt parameter
  blur(ostra::kernels::Blur{.count = count, .source = values, .traget = values});
#elif MISTAKE == 2  // a buffer of another type
  blur({.count = count, .source = values, .target = whole});
#elif MISTAKE == 3  // a buffer is left out
  blur(ostra::kernels::Blur{.count = count, .source = values});
#elif MISTAKE == 4  // a number that may not fit
  scale(ostra::kernels::Scale{.count = count, .factor = wide, .values = values});
#elif MISTAKE == 5  // something else in place of a buffer
  blur(ostra::kernels::Blur{.count = count, .source = values, .target = counter});
#elif MISTAKE == 6  // the parameters of another kernel
  blur(ostra::kernels::Scale{.count = count, .factor = 2, .values = values});
#elif MISTAKE == 7  // a result that is dropped
  blur.TryRun({.count = count, .source = values, .target = values});
#elif MISTAKE == 8  // a misspelt parameter, without the name of the struct
  blur({.count = count, .source = values, .traget = values});
#endif
}
