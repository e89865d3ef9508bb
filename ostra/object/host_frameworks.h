// The frameworks of the host's own folders, by which modules say what they need.
#pragma once

#include "ostra/core/id.h"

namespace ostra {

inline constexpr Id kCoreFramework = "net.ostra.core.framework"_id;
inline constexpr Id kMathFramework = "net.ostra.math.framework"_id;
inline constexpr Id kCryptFramework = "net.ostra.crypt.framework"_id;
inline constexpr Id kNetworkFramework = "net.ostra.network.framework"_id;
inline constexpr Id kImageFramework = "net.ostra.image.framework"_id;
inline constexpr Id kDrawportFramework = "net.ostra.drawport.framework"_id;
inline constexpr Id kDrawportMiscFramework = "net.ostra.drawport_misc.framework"_id;
inline constexpr Id kFunctionCacheFramework = "net.ostra.drawport_functioncache.framework"_id;
inline constexpr Id kPerformanceMonitorFramework = "net.ostra.performancemonitor.framework"_id;

}  // namespace ostra
