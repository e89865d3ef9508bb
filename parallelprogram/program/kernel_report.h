// What a kernel reports (PRINT, ASSERT) on its way through memory: the words of the buffer kReportBuffer, which its
// plain form writes (kernellanguage/plain_reports.h), and what they say. The same for CPU and GPU, so that texts are,
// too.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "parallelprogram/program/kernel_report_interface.h"

namespace ostra {

// The parameter that kernels with reports have beside their own; programs give it.
inline constexpr std::string_view kReportBuffer = "ostraReport";

// Where a kernel may report something, in the order of their numbers.
class KernelReportTable {
 public:
  struct Site {
    enum class Kind : UInt8 { kPrint, kAssert, kIndex, kArray, kLayer, kDivision, kSteps, kColumn };
    Kind kind = Kind::kPrint;
    String file;
    Int32 line = 0, column = 0;
    std::vector<std::string>
        types;          // of the values: f i u b (of 64 bits d l w) for numbers, f3 for vectors, m4 for matrices
    std::string text;   // as it is written between the quotes; what is indexed
    Int wordCount = 0;  // of its values
  };

  // Of PlainForm::reportTable. Errors: illegal argument for another text; out of memory.
  static Result<KernelReportTable> Parse(std::string_view text);

  // The words before the first record, as they must be before a dispatch that has `roomWords` words for records.
  // `getSize(name)`: elements of a buffer, layers of a texture, 0 for what is neither.
  Result<BaseArray<UInt32>> MakeHead(Int roomWords, const Vec3<UInt32>& extents, UInt32 stepLimit,
                                     const KernelTrace& trace,
                                     const std::function<Int(std::string_view name)>& getSize) const;
  Int GetHeadCount() const { return _firstRecord; }
  // How many words behind the head have records after a dispatch.
  static Int CountRecordWords(Block<const UInt32> head);

  struct Report {
    BaseArray<KernelPrint> prints;
    Int lostCount = 0;
    std::optional<String> failure;
  };
  // What the words say after a dispatch of the kernel. Error: out of memory.
  Result<Report> Read(Block<const UInt32> head, Block<const UInt32> records, const InternedId& kernel,
                      const Vec3<UInt32>& invocations, const Vec3<UInt32>& extents) const;

 private:
  // Where the records of PRINT begin, of the first invocation first; in one invocation as they were written.
  std::vector<const UInt32*> SortRecords(const UInt32* words, Int count) const;
  // That of the first invocation; null without one. It begins with the number of its site + 1 and the invocation.
  const UInt32* FindFirstFailure(const UInt32* head) const;

  Int _firstFailure = 0, _maxFailures = 0, _firstRecord = 0;
  std::vector<Site> _sites;
  // Parameters whose sizes the head has; "@" for the traced invocation, "@name" for the watched element of a buffer.
  std::vector<std::string> _sized;
};

// How many invocations a row has, and rows a layer, in the numbers that records give invocations: those of whole work
// groups. In one dimension the GPU goes on in further rows.
Vec3<UInt32> GetReportExtents(const Vec3<UInt32>& invocations, const Vec3<UInt32>& groupSize);

// What is kept of reports until it is taken.
class KernelPrintList {
 public:
  static constexpr Int kMaxPrints = 1'000'000, kMaxRoom = Int{1} << 30;

  Result<void> SetRoom(Int bytes);
  void SetStepLimit(UInt32 steps) { _stepLimit = steps; }
  UInt32 GetStepLimit() const { return _stepLimit; }
  void SetTrace(const KernelTrace& trace) { _trace = trace; }
  const KernelTrace& GetTrace() const { return _trace; }
  Int GetRoomWords() const { return _roomWords; }
  // Takes the prints over; gives the error of what failed.
  Result<void> Add(KernelReportTable::Report report);
  KernelPrints Take();

 private:
  UInt32 _stepLimit = 10'000'000;
  Int _roomWords = (Int{1} << 20) / 4;
  KernelTrace _trace;
  KernelPrints _kept;
};

}  // namespace ostra
