#include "parallelprogram/kernellanguage/plain_reports.h"

namespace ostra::kernellanguage {
namespace {

constexpr Int kRecordHead = 2;                // site and invocation
constexpr std::size_t kMaxLost = 0xf0000000;  // counted no further: the counter must not begin again
// Of the struct: what functions print in one statement of the kernel.
constexpr Int kWordsOfState = 64;

std::string HeadWord(Int number) { return Join({kReportBuffer, "[", std::to_string(number), "]"}); }
std::string Unsigned(std::size_t number) { return Join({std::to_string(number), "u"}); }

}  // namespace

void PlainReports::PrintReportStruct() {
  if (!_reportPlan.IsReporting()) return;
  Line({"struct ", kReportStruct});
  _out.Open();
  for (const std::string_view member : ListMembers()) Line({"uint ", member, ";"});
  if (_reportPlan.HasPrintingFunctions()) Line({"uint words[", std::to_string(kWordsOfState), "];"});
  _out.Outdent();
  Line({"};"});
}

void PlainReports::PrintReportStart() {
  if (!_reportPlan.IsReporting()) return;
  Line({kReportStruct, " ostraState;"});
  Line({"ostraState.invocation = (InGlobalInvocationID.z * ", HeadWord(7), " + InGlobalInvocationID.y) * ", HeadWord(6),
        " + InGlobalInvocationID.x;"});
  for (const std::string_view member : ListMembers())
    if (member != "invocation") Line({"ostraState.", member, " = 0u;"});
  PrintTraceStart();
  if (!_options.hasChecks) return;
  // Of several failures the one of the smallest invocation is told: behind one, loops need not go on.
  const std::string first = NewName("First");
  Line({"uint ", first, " = 0u;"});
  Line({"AtomicMin(", HeadWord(4), ", 0xffffffffu, ", first, ");"});
  Line({"ostraState.limit = ", HeadWord(8), ";"});
  Line({"if (", first, " < ostraState.invocation)"});
  Line({"{"});
  Line({"\tostraState.limit = min(ostraState.limit, 1000u);"});
  Line({"}"});
}

void PlainReports::PrintReportEnd() {
  if (!_reportPlan.IsReporting()) return;
  if (_reportPlan.HasPrintingFunctions()) PrintRecords();
  if (!_reportPlan.HasFailures()) return;
  const std::string before = NewName("Before"), number = NewName("Number");
  Line({"if (ostraState.failed != 0u)"});
  _out.Open();
  Line({"uint ", before, " = 0u;"});
  Line({"uint ", number, " = 0u;"});
  Line({"AtomicMin(", HeadWord(4), ", ostraState.invocation, ", before, ");"});
  Line({"if (ostraState.invocation < ", before, ")"});
  _out.Open();
  Line({"AtomicAdd(", HeadWord(5), ", 1u, ", number, ");"});
  Line({"if (", number, " < ", Unsigned(kMaxFailures), ")"});
  Line({"{"});
  const std::string_view members[] = {"failed", "invocation", "first", "second"};
  for (Int i = 0; i < kWordsOfFailure; ++i)
    Line({"\t", kReportBuffer, "[", std::to_string(_sites.GetFirstFailure() + i), "u + ", number,
          " * 4u] = ostraState.", members[static_cast<std::size_t>(i)], ";"});
  Line({"}"});
  _out.Close();
  _out.Close();
}

void PlainReports::PrintRecord(std::size_t site, const std::vector<std::string>& words) {
  const std::string at = NewName("At"), size = Unsigned(words.size() + kRecordHead);
  PrintReservation(at, size);
  Line({"if (", at, " + ", size, " <= ", HeadWord(1), ")"});
  _out.Open();
  Line({RecordWord(at, "0u"), " = ", Unsigned(site), ";"});
  Line({RecordWord(at, "1u"), " = ostraState.invocation;"});
  for (std::size_t i = 0; i < words.size(); ++i)
    Line({RecordWord(at, Unsigned(i + kRecordHead)), " = ", words[i], ";"});
  _out.Close();
  Line({"else"});
  _out.Open();
  PrintEnd(at);
  PrintLoss("1u");
  _out.Close();
}

// Records that functions have left in the struct.
void PlainReports::PrintRecords() {
  const std::string at = NewName("At"), k = NewName("Word");
  Line({"if (ostraState.prints > 0u)"});
  _out.Open();
  PrintReservation(at, "ostraState.used");
  Line({"if (", at, " + ostraState.used <= ", HeadWord(1), ")"});
  Line({"{"});
  Line({"\tfor (uint ", k, " = 0u; ", k, " < ostraState.used; ++", k, ")"});
  Line({"\t{"});
  Line({"\t\t", RecordWord(at, k), " = ostraState.words[", k, "];"});
  Line({"\t}"});
  Line({"}"});
  Line({"else"});
  _out.Open();
  PrintEnd(at);
  Line({"ostraState.lost = ostraState.prints;"});
  _out.Close();
  Line({"if (ostraState.lost > 0u)"});
  _out.Open();
  PrintLoss("ostraState.lost");
  _out.Close();
  for (const std::string_view member : {"used", "prints", "lost"}) Line({"ostraState.", member, " = 0u;"});
  _out.Close();
}

void PlainReports::PrintRecordsOf(NodeIndex node) {
  if (_out.IsInKernel() && _reportPlan.HasPrintingFunctions() && _reportPlan.HasPrints(node)) PrintRecords();
}

std::string PlainReports::CallPrint(std::size_t site, const std::vector<std::string>& words) {
  const std::string name = Join({"ostra_print_", std::to_string(words.size())});
  if (_helpers.Register(name)) {
    const std::size_t size = words.size() + kRecordHead;
    std::string parameters, stores;
    for (std::size_t i = 0; i < words.size(); ++i) {
      const std::string number = std::to_string(i);
      parameters += Join({", uint v", number});
      stores += Join({"\t\treport.words[at + ", Unsigned(i + kRecordHead), "] = v", number, ";\n"});
    }
    _helpers.Define(Join({MakeMark(_out.GetPlace()), "inline void ", name, "(INOUT OstraReport report, uint site",
                          parameters, ")\n{\n\tuint at = report.used;\n\treport.prints += 1u;\n\tif (at + ",
                          Unsigned(size), " <= ", Unsigned(kWordsOfState), ")\n\t{\n\t\treport.words[at] = site;\n",
                          "\t\treport.words[at + 1u] = report.invocation;\n", stores, "\t\treport.used = at + ",
                          Unsigned(size), ";\n\t}\n\telse\n\t{\n\t\treport.lost += 1u;\n\t}\n}\n\n"}));
  }
  const std::string rest = words.empty() ? "" : Join({", ", JoinList(words)});
  return Join({name, "(ostraState, ", Unsigned(site), rest, ")"});
}

void PlainReports::AppendRecord(std::size_t site, const std::vector<std::string>& words) {
  const std::string at = NewName("At"), size = Unsigned(words.size() + kRecordHead);
  Line({"uint ", at, " = ostraState.used;"});
  Line({"ostraState.prints += 1u;"});
  Line({"if (", at, " + ", size, " <= ", Unsigned(kWordsOfState), ")"});
  Line({"{"});
  Line({"\tostraState.words[", at, "] = ", Unsigned(site), ";"});
  Line({"\tostraState.words[", at, " + 1u] = ostraState.invocation;"});
  for (std::size_t i = 0; i < words.size(); ++i)
    Line({"\tostraState.words[", at, " + ", Unsigned(i + kRecordHead), "] = ", words[i], ";"});
  Line({"\tostraState.used = ", at, " + ", size, ";"});
  Line({"}"});
  Line({"else"});
  Line({"{"});
  Line({"\tostraState.lost += 1u;"});
  Line({"}"});
}

std::string PlainReports::CallFail(std::size_t site, std::string_view first, std::string_view second) {
  DefineFail();
  return Join({"ostra_fail(ostraState, ", Unsigned(site), ", ", first, ", ", second, ")"});
}

void PlainReports::DefineFail() {
  if (!_helpers.Register("ostra_fail")) return;
  _helpers.Define(
      Join({MakeMark(_out.GetPlace()),
            "inline void ostra_fail(INOUT OstraReport report, uint site, uint first, uint second)\n",
            "{\n\tif (report.failed == 0u)\n\t{\n\t\treport.failed = site + 1u;\n\t\treport.first = first;\n",
            "\t\treport.second = second;\n\t}\n}\n\n"}));
}

std::vector<std::string_view> PlainReports::ListMembers() const {
  std::vector<std::string_view> members = {"invocation"};
  if (_options.isTraced) members.push_back("traced");
  if (_reportPlan.HasPrintingFunctions()) members.insert(members.end(), {"used", "prints", "lost"});
  if (_reportPlan.HasFailures()) members.insert(members.end(), {"failed", "first", "second"});
  if (_options.hasChecks) members.insert(members.end(), {"steps", "limit"});
  return members;
}

// Asks for room for `size` words. Once one finds none no other behind it does, so records that are there have no gaps.
void PlainReports::PrintReservation(const std::string& at, const std::string& size) {
  Line({"uint ", at, " = 0u;"});
  Line({"AtomicAdd(", HeadWord(0), ", 0u, ", at, ");"});
  Line({"if (", at, " <= ", HeadWord(1), ")"});
  Line({"{"});
  Line({"\tAtomicAdd(", HeadWord(0), ", ", size, ", ", at, ");"});
  Line({"}"});
}

// Notes where what found no room would begin.
void PlainReports::PrintEnd(const std::string& at) {
  const std::string old = NewName("Old");
  Line({"uint ", old, " = 0u;"});
  Line({"AtomicMin(", HeadWord(3), ", ", at, ", ", old, ");"});
}

void PlainReports::PrintLoss(const std::string& count) {
  const std::string old = NewName("Old");
  Line({"uint ", old, " = 0u;"});
  Line({"AtomicAdd(", HeadWord(2), ", 0u, ", old, ");"});
  Line({"if (", old, " < ", Unsigned(kMaxLost), ")"});
  Line({"{"});
  Line({"\tAtomicAdd(", HeadWord(2), ", ", count, ", ", old, ");"});
  Line({"}"});
}

std::string PlainReports::RecordWord(const std::string& at, const std::string& number) const {
  const Int first = _sites.GetFirstRecord();
  return Join({kReportBuffer, "[", Unsigned(static_cast<std::size_t>(first)), " + ", at, " + ", number, "]"});
}

void PlainReports::PrintTraceStart() {
  if (!_options.isTraced) return;
  Line({"if (ostraState.invocation == ", kReportBuffer, "[", std::to_string(kTracedInvocation), "])"});
  Line({"{"});
  Line({"\tostraState.traced = 1u;"});
  Line({"}"});
}

}  // namespace ostra::kernellanguage
