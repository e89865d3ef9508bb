#include "apps/ostra/run/first_difference.h"

#include <algorithm>
#include <cstdio>
#include <map>

#include "apps/ostra/output/progress.h"
#include "apps/ostra/output/table.h"
#include "apps/ostra/run/compare_runs.h"
#include "ostra/core/format.h"

OSTRA_UNIT("first_difference");

namespace ostra::tool {

using namespace plans;
namespace {

using Place = std::vector<UInt32>;  // z, y, x: their order is that of the invocations

struct SideRecord {
  std::string file, name, value;
  Int line = 0, column = 0;
  Place invocation;
  Int32 dimensions = 1;
};

struct Side {
  std::vector<SideRecord> records;
  Int lostCount = 0;
};

Result<Side> TakeSide(ProgramRun& run) {
  OSTRA_ASSIGN_OR_RETURN(const KernelPrints taken, run.TakePrints());
  Side side;
  side.lostCount = taken.lostCount;
  for (const KernelPrint& print : taken.prints) {
    const std::string_view text = print.text.GetView();
    constexpr std::string_view kIs = " = ";
    const std::size_t at = std::min(text.find(kIs), text.size());
    SideRecord record;
    record.file = print.file.GetView();
    record.name = text.substr(0, at);
    record.value = text.substr(std::min(at + kIs.size(), text.size()));
    record.line = print.line;
    record.column = print.column;
    record.invocation = {print.invocation.z, print.invocation.y, print.invocation.x};
    record.dimensions = print.dimensions;
    side.records.push_back(std::move(record));
  }
  return side;
}

// Both sides of a kernel.
struct Pair {
  ProgramRun cpu, gpu;

  static Result<Pair> Create(RunPlan& plan, const ProgramFile& file) {
    OSTRA_ASSIGN_OR_RETURN(ProgramRun cpu, ProgramRun::Create(plan, kCpuProgramClass, file));
    OSTRA_ASSIGN_OR_RETURN(ProgramRun gpu, ProgramRun::Create(plan, kGpuProgramClass, file));
    return Pair{std::move(cpu), std::move(gpu)};
  }
  Result<void> Step(Int number) {
    OSTRA_RETURN_IF_ERROR(cpu.Step(number));
    return gpu.Step(number);
  }
  // Runs from the start, and records in the last dispatch.
  Result<std::pair<Side, Side>> Trace(const KernelTrace& trace, Int dispatches) {
    for (ProgramRun* const run : {&cpu, &gpu}) {
      OSTRA_RETURN_IF_ERROR(run->Restart());
      for (Int i = 1; i <= dispatches; ++i) {
        run->SetTrace(i == dispatches ? trace : KernelTrace());
        OSTRA_RETURN_IF_ERROR(run->Step(i));
      }
    }
    OSTRA_ASSIGN_OR_RETURN(Side one, TakeSide(cpu));
    OSTRA_ASSIGN_OR_RETURN(Side other, TakeSide(gpu));
    return std::pair(std::move(one), std::move(other));
  }
};

std::vector<Int> ListInvocation(const Place& place, Int32 dimensions) {
  std::vector<Int> numbers;
  for (Int32 i = 0; i < dimensions; ++i) numbers.push_back(Int{place[static_cast<std::size_t>(2 - i)]});
  return numbers;
}

// What an invocation stored into one element, or did to one counter, on both sides.
struct Stores {
  std::vector<std::string> cpu, gpu;
  Int32 dimensions = 1;
};

using Writers = std::map<Place, Stores>;

Writers ListWriters(const Side& cpu, const Side& gpu) {
  Writers writers;
  for (const auto& [side, list] : {std::pair(&cpu, &Stores::cpu), std::pair(&gpu, &Stores::gpu)})
    for (const SideRecord& record : side->records) {
      Stores& stores = writers[record.invocation];
      (stores.*list).push_back(record.name + " = " + record.value);
      stores.dimensions = record.dimensions;
    }
  return writers;
}

// The invocation to look at: one that stores on one side only, else the last one whose values differ, else the last.
std::optional<Place> ChooseWriter(const Writers& writers) {
  std::optional<Place> different;
  for (const auto& [place, stores] : writers) {
    if (stores.cpu.empty() != stores.gpu.empty()) return place;
    if (stores.cpu != stores.gpu) different = place;
  }
  if (different || writers.empty()) return different;
  return writers.rbegin()->first;
}

// The first invocation that does something else to the counter on the other side: all of them count.
std::optional<Place> ChooseCounting(const Writers& writers) {
  for (const auto& [place, stores] : writers)
    if (stores.cpu != stores.gpu) return place;
  return std::nullopt;
}

void AddLines(const Side& cpu, const Side& gpu, FirstDifference& difference) {
  const auto isSamePlace = [](const SideRecord& a, const SideRecord& b) {
    return a.line == b.line && a.column == b.column && a.file == b.file;
  };
  std::size_t same = 0;
  const std::size_t common = std::min(cpu.records.size(), gpu.records.size());
  const auto add = [&difference](const SideRecord& record, std::string one, std::string other,
                                 Bool isElsewhere = false) {
    TracedLine line{record.file,    record.line,      record.column, record.name,
                    std::move(one), std::move(other), isElsewhere};
    if (difference.first < 0 && line.IsDifferent()) difference.first = static_cast<Int>(difference.lines.size());
    difference.lines.push_back(std::move(line));
  };
  while (same < common && isSamePlace(cpu.records[same], gpu.records[same])) {
    const SideRecord &one = cpu.records[same], &other = gpu.records[same++];
    SideRecord both = one;
    if (one.name != other.name) both.name += " (GPU: " + other.name + ")";
    add(both, one.value, other.value, one.name != other.name);
  }
  if (same < std::max(cpu.records.size(), gpu.records.size())) {
    const auto describe = [same](const Side& side) {
      return same < side.records.size() ? "to line " + std::to_string(side.records[same].line) : "to the end";
    };
    const std::string behind = same > 0 ? " behind line " + std::to_string(cpu.records[same - 1].line) : "";
    difference.notes.push_back("the sides go different ways" + behind + ": the CPU " + describe(cpu) + ", the GPU " +
                               describe(gpu));
  }
  for (std::size_t i = same; i < std::max(cpu.records.size(), gpu.records.size()); ++i) {
    if (i < cpu.records.size()) add(cpu.records[i], cpu.records[i].value, "");
    if (i < gpu.records.size()) add(gpu.records[i], "", gpu.records[i].value);
  }
  difference.lostCount = std::max(cpu.lostCount, gpu.lostCount);
}

std::string DescribeWriters(const Writers& writers, const Place& chosen, Bool isCounter) {
  const Stores& stores = writers.at(chosen);
  if (stores.cpu.empty() || stores.gpu.empty())
    return std::string("this invocation ") + (isCounter ? "changes the counter" : "stores into the element") +
           " on the " + (stores.gpu.empty() ? "CPU" : "GPU") + " only";
  if (writers.size() == 1) return "";
  const std::string count = std::to_string(writers.size());
  if (isCounter)
    return count + " invocations change the counter; the first one that does so in another way on the GPU is shown";
  return count + " invocations store into the element; the last one whose values differ is shown";
}

// Whether a traced run has ended as the run without traces did.
Result<void> CheckTraced(const RunPlan& plan, Pair& traced, Float64 bound, FirstDifference& difference) {
  OSTRA_ASSIGN_OR_RETURN(const auto found, FindDifference(plan, traced.cpu, traced.gpu, bound));
  if (found && found->place == difference.place && found->cpu == difference.cpu && found->gpu == difference.gpu)
    return OK;
  difference.notes.push_back(
      "recording changes what the compilers make of the kernel: in the recorded run " +
      (found ? found->place + " differs first, " + found->cpu + " on the CPU and " + found->gpu + " on the GPU"
             : std::string("nothing differs")));
  return OK;
}

std::string ExplainNoWriter(const Writers& writers, Bool isCounter) {
  if (!isCounter) return "no invocation stores into this element in a dispatch that records it";
  if (writers.empty()) return "no invocation changes this counter in a dispatch that records it";
  return "every invocation does the same to this counter on both sides: its value depends on their order, or was "
         "another one before";
}

Result<void> Explain(RunPlan& plan, const ProgramFile& file, const ElementDifference& found, Float64 bound,
                     FirstDifference& difference) {
  const Bool isCounter = difference.isCounter = found.element < 0;
  OSTRA_ASSIGN_OR_RETURN(Pair traced, Pair::Create(plan, file));
  KernelTrace watch;
  watch.watchedBuffer = found.name;
  watch.watchedElement = static_cast<UInt32>(std::max<Int>(found.element, 0));
  OSTRA_ASSIGN_OR_RETURN(const auto stored, traced.Trace(watch, difference.dispatch));
  if (const Int lost = std::max(stored.first.lostCount, stored.second.lostCount); lost > 0)
    difference.notes.push_back(std::to_string(lost) +
                               (isCounter ? " changes of the counter" : " stores into the element") +
                               " found no room in the record: another invocation may differ before this one");
  const Writers writers = ListWriters(stored.first, stored.second);
  const auto writer = isCounter ? ChooseCounting(writers) : ChooseWriter(writers);
  if (!writer) {
    difference.notes.push_back(ExplainNoWriter(writers, isCounter));
    return CheckTraced(plan, traced, bound, difference);
  }
  if (std::string note = DescribeWriters(writers, *writer, isCounter); !note.empty())
    difference.notes.push_back(std::move(note));
  difference.invocation = ListInvocation(*writer, writers.at(*writer).dimensions);
  KernelTrace trace;
  trace.invocation = Vec3<UInt32>{(*writer)[2], (*writer)[1], (*writer)[0]};
  OSTRA_ASSIGN_OR_RETURN(const auto values, traced.Trace(trace, difference.dispatch));
  AddLines(values.first, values.second, difference);
  return CheckTraced(plan, traced, bound, difference);
}

std::string NameLine(const TracedLine& line, const std::string& kernelFile) {
  const std::string number = std::to_string(line.line);
  return line.file == kernelFile ? number : line.file.substr(line.file.rfind('/') + 1) + ":" + number;
}

std::string FormatCount(Int count, const char* what) {
  return std::to_string(count) + (count == 1 ? " value " : " values ") + what;
}

}  // namespace

Result<std::optional<FirstDifference>> FindFirstDifference(RunPlan& plan, const ProgramFile& file,
                                                           const ProgramFile& traced, Int iterations, Float64 bound) {
  FirstDifference difference;
  std::optional<ElementDifference> found;
  {
    OSTRA_ASSIGN_OR_RETURN(Pair pair, Pair::Create(plan, file));
    Progress progress("comparing", iterations, "dispatches");
    for (; !found && difference.dispatch <= iterations; ++difference.dispatch) {
      OSTRA_RETURN_IF_ERROR(pair.Step(difference.dispatch));
      OSTRA_ASSIGN_OR_RETURN(found, FindDifference(plan, pair.cpu, pair.gpu, bound));
      progress.Advance();
    }
  }
  if (!found) return std::optional<FirstDifference>();
  --difference.dispatch;
  difference.place = found->place;
  difference.cpu = found->cpu;
  difference.gpu = found->gpu;
  OSTRA_RETURN_IF_ERROR(Explain(plan, traced, *found, bound, difference));
  return std::optional(std::move(difference));
}

std::vector<ShownLines> ChooseLines(Int count, Int first, Int limit) {
  if (count <= limit) return {{0, count}};
  const Int part = limit / 4, middle = std::max<Int>(first, 0);
  if (middle < limit - part) return {{0, limit}};
  return {{0, part}, {middle - part, std::min(count, middle + limit - 2 * part)}};
}

std::string FormatFirstDifference(const std::optional<FirstDifference>& difference, Float64 bound,
                                  const std::string& kernelFile) {
  constexpr Int kMaxLines = 60;
  std::string text = "\n";
  if (!difference) {
    char number[40];
    std::snprintf(number, sizeof(number), "%g", bound);
    return text + "first difference: none" + (bound > 0 ? std::string(" beyond ") + number : "") + "\n";
  }
  text += "first difference: " + difference->place + " is " + difference->cpu + " on the CPU and " + difference->gpu +
          " on the GPU";
  if (difference->dispatch > 1) text += ", after dispatch " + std::to_string(difference->dispatch);
  text += "\n";
  if (difference->invocation)
    text += (difference->isCounter ? "changed by invocation " : "stored by invocation ") +
            FormatInvocation(*difference->invocation) + "\n";
  std::vector<std::vector<std::string>> rows = {{"line", "value", "CPU", "GPU", ""}};
  const Int count = static_cast<Int>(difference->lines.size());
  const std::vector<ShownLines> parts = ChooseLines(count, difference->first, kMaxLines);
  Int at = 0;
  for (const ShownLines& part : parts) {
    if (part.begin > at) rows.push_back({"...", FormatCount(part.begin - at, "left out"), "", "", ""});
    for (at = part.begin; at < part.end; ++at) {
      const TracedLine& line = difference->lines[static_cast<std::size_t>(at)];
      const auto show = [](const std::string& value) { return value.empty() ? std::string("-") : value; };
      const char* const mark = at == difference->first ? "<-- first" : line.IsDifferent() ? "<--" : "";
      rows.push_back({NameLine(line, kernelFile), line.name, show(line.cpu), show(line.gpu), mark});
    }
  }
  if (at < count) rows.push_back({"...", FormatCount(count - at, "left out"), "", "", ""});
  if (count > 0) text += "\n" + FormatTable(rows);
  if (count > 0 && difference->first < 0) text += "note: no value that was recorded differs\n";
  if (difference->lostCount > 0) text += "note: " + FormatCount(difference->lostCount, "found no room in the record\n");
  for (const std::string& note : difference->notes) text += "note: " + note + "\n";
  return text;
}

}  // namespace ostra::tool
