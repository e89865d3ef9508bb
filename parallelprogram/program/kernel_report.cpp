#include "parallelprogram/program/kernel_report.h"

#include <algorithm>
#include <bit>
#include <charconv>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "parallelprogram/program/kernel_print_text.h"

OSTRA_UNIT("kernel_report");

namespace ostra {
namespace {

constexpr UInt32 kNone = 0xffffffffu;
constexpr Int kRecordHead = 2;  // site and invocation
// In one dimension the groups of a GPU go on in y behind this number.
constexpr UInt32 kMaxGroupsOfRow = 65535;

enum HeadWord : Int { kUsed, kRoom, kLost, kEnd, kFailed, kFailureCount, kWidth, kHeight, kSteps };

// Cuts the next field off `rest`.
std::string_view TakeField(std::string_view& rest, char separator) {
  const std::size_t end = std::min(rest.find(separator), rest.size());
  const std::string_view field = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return field;
}

Result<Int> ReadNumber(std::string_view text) {
  Int number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (code != std::errc() || end != text.data() + text.size() || number < 0)
    return OSTRA_ILLEGAL_ARGUMENT("\"@\" is no number of a table of reports.", text);
  return number;
}

// Of a number; those of 64 bits have the lower half first.
Int CountWordsOfNumber(char type) { return type == 'd' || type == 'l' || type == 'w' ? 2 : 1; }

// Components in a row: "f" has one, "u3" three, "m4" sixteen, "d2" two of two words.
Int CountWords(std::string_view type) {
  const Int count = type.size() > 1 ? type[1] - '0' : 1;
  return type[0] == 'm' ? count * count : count * CountWordsOfNumber(type[0]);
}

Bool IsType(std::string_view type) {
  const Bool isCounted = type.size() == 2 && type[1] >= '2' && type[1] <= '4';
  return (type.size() == 1 || isCounted) && std::string_view("fiubmdlw").find(type[0]) != std::string_view::npos &&
         (type[0] != 'm' || isCounted);
}

// The shortest digits that give the same bits when they are read again.
template <class T>
std::string FormatFloat(T number) {
  char text[48];
  if (number != number) return "nan";
  return std::string(text, std::to_chars(text, text + sizeof(text), number).ptr);
}

std::string FormatNumber(char type, const UInt32* words) {
  const UInt32 word = words[0];
  const UInt64 wide = CountWordsOfNumber(type) == 2 ? UInt64{words[1]} << 32 | word : 0;
  switch (type) {
    case 'd':
      return FormatFloat(std::bit_cast<Float64>(wide));
    case 'l':
      return std::to_string(static_cast<Int64>(wide));
    case 'w':
      return std::to_string(wide);
    case 'b':
      return word != 0 ? "true" : "false";
    case 'i':
      return std::to_string(static_cast<Int32>(word));
    case 'u':
      return std::to_string(word);
    default:
      return FormatFloat(std::bit_cast<Float32>(word));
  }
}

std::string FormatList(char type, const UInt32* words, Int count) {
  std::string list = "(";
  for (Int i = 0; i < count; ++i)
    list += (i == 0 ? "" : ", ") + FormatNumber(type, words + i * CountWordsOfNumber(type));
  return list + ")";
}

// "(1, 2)" for vectors, a list of columns for matrices.
std::string FormatValue(std::string_view type, const UInt32* words) {
  if (type.size() == 1) return FormatNumber(type[0], words);
  const Int count = type[1] - '0';
  if (type[0] != 'm') return FormatList(type[0], words, count);
  std::string columns = "(";
  for (Int i = 0; i < count; ++i) columns += (i == 0 ? "" : ", ") + FormatList('f', words + i * count, count);
  return columns + ")";
}

char Unescape(char letter) { return letter == 'n' ? '\n' : letter == 't' ? '\t' : letter; }

// The text with the values in the places of its %v.
std::string FormatText(const KernelReportTable::Site& site, const UInt32* words) {
  std::string text;
  std::size_t value = 0;
  for (std::size_t i = 0; i < site.text.size(); ++i) {
    const char c = site.text[i], next = i + 1 < site.text.size() ? site.text[i + 1] : '\0';
    if (c == '\\' && next != '\0') {
      text += Unescape(next);
      ++i;
    } else if (c == '%' && next == 'v' && value < site.types.size()) {
      const std::string& type = site.types[value++];
      text += FormatValue(type, words);
      words += CountWords(type);
      ++i;
    } else {
      text += c;
      if (c == '%' && next == '%') ++i;
    }
  }
  return text;
}

Int32 CountDimensions(const Vec3<UInt32>& invocations) { return invocations.z > 1 ? 3 : invocations.y > 1 ? 2 : 1; }

Vec3<UInt32> GetInvocation(UInt32 number, const Vec3<UInt32>& extents, Int32 dimensions) {
  if (dimensions == 1 || extents.x == 0 || extents.y == 0) return {number, 0, 0};
  return {number % extents.x, number / extents.x % extents.y, number / extents.x / extents.y};
}

// The word of a traced kernel that says what it records; nothing for another name.
UInt32 FindTraced(std::string_view name, const KernelTrace& trace, const Vec3<UInt32>& extents) {
  if (name != "@")
    return trace.watchedElement && trace.watchedBuffer.GetView() == name.substr(1) ? *trace.watchedElement : kNone;
  if (!trace.invocation) return kNone;
  return (trace.invocation->z * extents.y + trace.invocation->y) * extents.x + trace.invocation->x;
}

// In the order of Site::Kind.
constexpr std::string_view kKinds[] = {"print", "assert", "index", "array", "layer", "division", "steps", "column"};

// What is wrong, in the words that checked kernels have on all devices.
std::string FormatFailure(const KernelReportTable::Site& site, const UInt32* words) {
  using Kind = KernelReportTable::Site::Kind;
  const std::string number = site.types.empty() ? "" : FormatNumber(site.types[0][0], words);
  const std::string size = std::to_string(words[1]), name = site.text.empty() ? "" : " \"" + site.text + "\"";
  switch (site.kind) {
    case Kind::kIndex:
      return "index " + number + " is outside the " + size + " elements of the buffer" + name;
    case Kind::kArray:
      return "index " + number + " is outside the " + size + " elements of the array" + name;
    case Kind::kLayer:
      return "layer " + number + " is outside the " + size + " layers of the texture" + name;
    case Kind::kColumn:
      return "index " + number + " is outside the " + size + " columns of the matrix" + name;
    case Kind::kDivision:
      if (words[1] != 0) return "the least whole number is divided by -1 (" + site.text + ")";
      return "a whole number is divided by zero (" + site.text + ")";
    case Kind::kSteps:
      return "this loop does not end: the loops of one invocation have taken " + number + " steps";
    default:
      return site.text.empty() ? "the ASSERT does not hold" : "the ASSERT does not hold: " + FormatText(site, words);
  }
}

Result<KernelReportTable::Site> ReadSite(std::string_view line) {
  KernelReportTable::Site site;
  const std::string_view kind = TakeField(line, '\t');
  const auto known = std::find(std::begin(kKinds), std::end(kKinds), kind);
  if (known == std::end(kKinds)) return OSTRA_ILLEGAL_ARGUMENT("\"@\" is no kind of report.", kind);
  site.kind = static_cast<KernelReportTable::Site::Kind>(known - std::begin(kKinds));
  OSTRA_ASSIGN_OR_RETURN(site.file, String::Create(TakeField(line, '\t')));
  OSTRA_ASSIGN_OR_RETURN(const Int number, ReadNumber(TakeField(line, '\t')));
  OSTRA_ASSIGN_OR_RETURN(const Int column, ReadNumber(TakeField(line, '\t')));
  site.line = static_cast<Int32>(number);
  site.column = static_cast<Int32>(column);
  for (std::string_view types = TakeField(line, '\t'); !types.empty();) {
    const std::string_view type = TakeField(types, ',');
    if (type.empty() || !IsType(type)) return OSTRA_ILLEGAL_ARGUMENT("\"@\" is no type of a report.", type);
    site.types.emplace_back(type);
    site.wordCount += CountWords(type);
  }
  site.text = line;
  return site;
}

}  // namespace

Result<KernelReportTable> KernelReportTable::Parse(std::string_view text) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<KernelReportTable> {
    KernelReportTable table;
    std::string_view first = TakeField(text, '\n');
    OSTRA_ASSIGN_OR_RETURN(table._firstFailure, ReadNumber(TakeField(first, '\t')));
    OSTRA_ASSIGN_OR_RETURN(table._maxFailures, ReadNumber(TakeField(first, '\t')));
    OSTRA_ASSIGN_OR_RETURN(table._firstRecord, ReadNumber(TakeField(first, '\t')));
    while (!first.empty()) table._sized.emplace_back(TakeField(first, '\t'));
    if (table._firstFailure != kSteps + 1 + static_cast<Int>(table._sized.size()) || table._maxFailures > 1000 ||
        table._firstRecord != table._firstFailure + 4 * table._maxFailures)
      return OSTRA_ILLEGAL_ARGUMENT("A table of reports has places that do not fit together.");
    while (!text.empty()) {
      OSTRA_ASSIGN_OR_RETURN(Site site, ReadSite(TakeField(text, '\n')));
      table._sites.push_back(std::move(site));
    }
    return table;
  });
}

Vec3<UInt32> GetReportExtents(const Vec3<UInt32>& invocations, const Vec3<UInt32>& groupSize) {
  if (CountDimensions(invocations) == 1) return {kMaxGroupsOfRow * groupSize.x, 1, 1};
  const auto raise = [](UInt32 count, UInt32 size) {
    return size == 0 ? count : (count == 0 ? 1 : (count - 1) / size + 1) * size;
  };
  return {raise(invocations.x, groupSize.x), raise(invocations.y, groupSize.y), raise(invocations.z, groupSize.z)};
}

Result<BaseArray<UInt32>> KernelReportTable::MakeHead(Int roomWords, const Vec3<UInt32>& extents, UInt32 stepLimit,
                                                      const KernelTrace& trace,
                                                      const std::function<Int(std::string_view name)>& getSize) const {
  BaseArray<UInt32> head;
  OSTRA_RETURN_IF_ERROR(head.Resize(_firstRecord));
  std::fill(head.begin(), head.end(), 0u);
  head[kRoom] = static_cast<UInt32>(roomWords);
  head[kEnd] = head[kFailed] = kNone;
  head[kWidth] = extents.x;
  head[kHeight] = extents.y;
  head[kSteps] = stepLimit;
  for (std::size_t i = 0; i < _sized.size(); ++i)
    head[kSteps + 1 + static_cast<Int>(i)] = _sized[i].starts_with('@')
                                                 ? FindTraced(_sized[i], trace, extents)
                                                 : static_cast<UInt32>(std::min(getSize(_sized[i]), Int{kNone}));
  return head;
}

Int KernelReportTable::CountRecordWords(Block<const UInt32> head) {
  return std::min({Int{head[kUsed]}, Int{head[kEnd]}, Int{head[kRoom]}});
}

std::vector<const UInt32*> KernelReportTable::SortRecords(const UInt32* words, Int count) const {
  std::vector<const UInt32*> found;
  // What a kernel has written over its buffers may be anything.
  for (Int at = 0; at + kRecordHead <= count;) {
    const UInt32* record = words + at;
    if (record[0] >= _sites.size() || _sites[record[0]].kind != Site::Kind::kPrint) break;
    at += kRecordHead + _sites[record[0]].wordCount;
    if (at > count) break;
    found.push_back(record);
  }
  std::stable_sort(found.begin(), found.end(), [](const UInt32* a, const UInt32* b) { return a[1] < b[1]; });
  return found;
}

const UInt32* KernelReportTable::FindFirstFailure(const UInt32* head) const {
  const Int failures = std::min(Int{head[kFailureCount]}, _maxFailures);
  const UInt32* first = nullptr;
  for (Int i = 0; i < failures; ++i) {
    const UInt32* failure = head + _firstFailure + 4 * i;
    if (failure[0] == 0 || failure[0] > _sites.size()) continue;
    if (!first || failure[1] < first[1]) first = failure;
  }
  return first;
}

Result<KernelReportTable::Report> KernelReportTable::Read(Block<const UInt32> head, Block<const UInt32> records,
                                                          const InternedId& kernel, const Vec3<UInt32>& invocations,
                                                          const Vec3<UInt32>& extents) const {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<KernelReportTable::Report> {
    const Int32 dimensions = CountDimensions(invocations);
    const auto getInvocation = [&](UInt32 number) { return GetInvocation(number, extents, dimensions); };
    Report report;
    report.lostCount = Int{head[kLost]};
    const std::vector<const UInt32*> found =
        SortRecords(records.GetFirst(), std::min(CountRecordWords(head), records.GetCount()));
    OSTRA_RETURN_IF_ERROR(report.prints.Reserve(static_cast<Int>(found.size())));
    for (const UInt32* record : found) {
      const Site& site = _sites[record[0]];
      KernelPrint print;
      print.kernel = kernel;
      print.file = site.file;
      print.line = site.line;
      print.column = site.column;
      print.invocation = getInvocation(record[1]);
      print.dimensions = dimensions;
      OSTRA_ASSIGN_OR_RETURN(print.text, String::Create(FormatText(site, record + kRecordHead)));
      OSTRA_RETURN_IF_ERROR(report.prints.Append(std::move(print)));
    }
    if (const UInt32* first = FindFirstFailure(head.GetFirst())) {
      const Site& site = _sites[first[0] - 1];
      const std::string place = FormatInvocation(getInvocation(first[1]), dimensions);
      OSTRA_ASSIGN_OR_RETURN(report.failure,
                             Format("@:@:@: error: @, in invocation @", site.file, site.line, site.column,
                                    std::string_view(FormatFailure(site, first + 2)), std::string_view(place)));
    }
    return report;
  });
}

Result<void> KernelPrintList::SetRoom(Int bytes) {
  if (bytes < 0 || bytes > kMaxRoom)
    return OSTRA_ILLEGAL_ARGUMENT("@ bytes for what kernels print are not between 0 and @.", bytes, kMaxRoom);
  _roomWords = bytes / 4;
  return OK;
}

Result<void> KernelPrintList::Add(KernelReportTable::Report report) {
  _kept.lostCount += report.lostCount;
  const Int kept = std::min(report.prints.GetCount(), kMaxPrints - _kept.prints.GetCount());
  _kept.lostCount += report.prints.GetCount() - kept;
  OSTRA_RETURN_IF_ERROR(_kept.prints.Reserve(_kept.prints.GetCount() + kept));
  for (Int i = 0; i < kept; ++i) OSTRA_RETURN_IF_ERROR(_kept.prints.Append(std::move(report.prints[i])));
  if (report.failure) return OSTRA_ILLEGAL_STATE("@", *report.failure);
  return OK;
}

KernelPrints KernelPrintList::Take() { return std::exchange(_kept, KernelPrints()); }

}  // namespace ostra
