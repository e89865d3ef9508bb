// The reference styles with the names that figures carry.
#pragma once

#include <array>

#include "bench/references/references.h"

namespace bench {

struct NamedStyle {
  Style style;
  const char* name;
};

inline constexpr std::array<NamedStyle, 3> kInlinedStyles = {
    NamedStyle{Style::Serial, "serial"}, NamedStyle{Style::OpenMp, "openmp"}, NamedStyle{Style::Tbb, "tbb"}};
inline constexpr NamedStyle kStaticStyle = {Style::OpenMpStatic, "openmp-shaped"};
inline constexpr NamedStyle kVirtualStyle = {Style::TbbVirtual, "tbb-virtual"};

}  // namespace bench
