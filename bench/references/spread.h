// Spreads a loop body over threads in one of the reference styles.
#pragma once

#include <omp.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>

#include "bench/references/references.h"

namespace bench {

struct VirtualBody {
  virtual void Invoke(std::int64_t index) const = 0;

 protected:
  ~VirtualBody() = default;
};

// Hides the body from the inliner, as an interface of another module does.
__attribute__((noinline)) inline void RunVirtual(const VirtualBody& body, std::int64_t count) {
  tbb::parallel_for(
      tbb::blocked_range<std::int64_t>(0, count, 16),
      [&body](const tbb::blocked_range<std::int64_t>& range) {
        for (std::int64_t i = range.begin(); i != range.end(); ++i) body.Invoke(i);
      },
      tbb::simple_partitioner());
}

// `body(begin, end)` handles a range of indices; `step(index)` one of them.
template <class Range, class Step>
void Spread(Style style, std::int64_t count, std::int64_t grain, const Range& body, const Step& step) {
  switch (style) {
    case Style::Serial:
      return body(std::int64_t{0}, count);
    case Style::OpenMp: {
      const std::int64_t pieces = (count + grain - 1) / grain;
#pragma omp parallel for schedule(dynamic)
      for (std::int64_t piece = 0; piece < pieces; ++piece) {
        const std::int64_t begin = piece * grain;
        body(begin, begin + grain < count ? begin + grain : count);
      }
      return;
    }
    case Style::OpenMpStatic: {
#pragma omp parallel
      {
        const std::int64_t threads = omp_get_num_threads(), thread = omp_get_thread_num();
        body(count * thread / threads, count * (thread + 1) / threads);
      }
      return;
    }
    case Style::Tbb:
      tbb::parallel_for(tbb::blocked_range<std::int64_t>(0, count, grain),
                        [&body](const tbb::blocked_range<std::int64_t>& range) { body(range.begin(), range.end()); });
      return;
    case Style::TbbVirtual: {
      struct Body final : VirtualBody {
        explicit Body(const Step& function) : invoke(function) {}
        void Invoke(std::int64_t index) const override { invoke(index); }
        const Step& invoke;
      };
      return RunVirtual(Body(step), count);
    }
  }
}

}  // namespace bench
