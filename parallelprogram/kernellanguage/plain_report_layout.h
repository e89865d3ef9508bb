// Where in the buffer "ostraReport" what stands, in words:
//
//   0 words of records that were asked for   1 room for them           2 prints that found no room
//   3 where the first of these would begin   4 the smallest invocation that failed      5 how many failures were noted
//   6 invocations of a row                   7 rows of a layer         8 steps that the loops of an invocation may take
//   from kFirstReportedSize on, in checked kernels: the size of each parameter, elements of a buffer or layers of a
//   texture; from kTracedInvocation on, in traced kernels: the number of the traced invocation, behind it, for each
//   parameter, the watched element (0xffffffff for none)
//   behind them kMaxFailures failures of 4 words: site + 1, invocation, two numbers
//   behind them records: site, invocation, the numbers of the site
#pragma once

#include <cstddef>
#include <string_view>

#include "ostra/core/types.h"

namespace ostra::kernellanguage {

inline constexpr std::string_view kReportParameter = "ostraReport";
inline constexpr std::string_view kReportBuffer = "UNIFORM_BUFFER(ostraReport)";
// What each invocation keeps until it writes to the buffer.
inline constexpr std::string_view kReportStruct = "OstraReport";
// Words from here to the failures, the extents first, stay as they were when the dispatch began.
inline constexpr Int kFirstSettledWord = 6;
inline constexpr std::size_t kFirstReportedSize = 9;
inline constexpr std::size_t kTracedInvocation = 9;
inline constexpr Int kMaxFailures = 32, kWordsOfFailure = 4;

}  // namespace ostra::kernellanguage
