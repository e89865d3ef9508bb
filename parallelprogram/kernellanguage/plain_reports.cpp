// PRINT and ASSERT in the plain form. They become words of one more buffer of the kernel, "ostraReport", that the
// program empties before a dispatch and reads after it (parallelprogram/program/kernel_report.h):
//
//   0 words of records that were asked for   1 room for them           2 prints that found no room
//   3 where the first of these would begin   4 the smallest invocation that failed      5 how many failures were noted
//   6 invocations of a row                   7 rows of a layer         8 steps that the loops of an invocation may take
//   from kFirstReportedSize on, in traced kernels: what is traced (plain_traces.cpp), else
//   from kFirstReportedSize on: the size of each parameter, elements of a buffer or layers of a texture, in checked
//   kernels behind them kMaxFailures failures of 4 words: site + 1, invocation, two numbers behind them records: site,
//   invocation, the numbers of the site
//
// Functions see no buffers: they write records and their first failure into a struct that is handed on to them, and the
// kernel empties it behind the statement.
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {
namespace {

constexpr Int kMaxFailures = 32, kWordsOfFailure = 4;
constexpr Int kRecordHead = 2;                // site and invocation
constexpr std::size_t kMaxLost = 0xf0000000;  // counted no further: the counter must not begin again
// Of the struct: what functions print in one statement of the kernel.
constexpr Int kWordsOfState = 64;

constexpr std::string_view kBuffer = "UNIFORM_BUFFER(ostraReport)";

std::string HeadWord(Int number) { return Join({kBuffer, "[", std::to_string(number), "]"}); }
std::string Unsigned(std::size_t number) { return Join({std::to_string(number), "u"}); }

// A field of a table whose fields and lines are separated by tabs and line ends.
std::string MakeField(std::string_view text) {
  std::string field(text);
  for (char& c : field)
    if (c == '\t' || c == '\n' || c == '\r') c = ' ';
  return field;
}

}  // namespace

// "f", "u3" or "m4"; of 64 bits "d", "l" (signed) and "w".
std::string PlainPrinter::MakeTypeCode(TypeIndex type) const {
  const Type& kind = _types[type];
  if (kind.kind == TypeKind::kMatrix) return Join({"m", std::to_string(kind.count)});
  const Bool isBool = kind.scalar == Scalar::kBool;
  const Bool isWide = kind.kind != TypeKind::kMatrix && GetSize(kind.scalar) > 4;
  const std::string_view letter = isBool                              ? "b"
                                  : isWide && IsFloating(kind.scalar) ? "d"
                                  : isWide                            ? (IsSignedInteger(kind.scalar) ? "l" : "w")
                                  : IsFloating(kind.scalar)           ? "f"
                                  : IsSignedInteger(kind.scalar)      ? "i"
                                                                      : "u";
  return _types.IsVector(type) ? Join({letter, std::to_string(kind.count)}) : std::string(letter);
}

Bool PlainPrinter::IsReport(NodeIndex node, ReportUse use) const {
  const NodeKind kind = KindOf(node);
  if (_options.isTraced) return false;
  if (kind == NodeKind::kPrint) return _options.hasReports && use != ReportUse::kFailure;
  if (use == ReportUse::kPrint) return false;
  return (kind == NodeKind::kAssert && _options.hasReports) || NeedsCheck(node);
}

Bool PlainPrinter::Contains(NodeIndex node, const std::set<NodeIndex>& functions, ReportUse use) const {
  if (node == kNoNode) return false;
  if (IsReport(node, use)) return true;
  if (_resolved.meaning[node].kind == MeaningKind::kFunction && functions.contains(_resolved.meaning[node].target))
    return true;
  for (const NodeIndex child : _tree.GetChildren(node))
    if (Contains(child, functions, use)) return true;
  return false;
}

// Functions stand in front of those that call them.
void PlainPrinter::FindReports() {
  if (_options.isTraced) {
    _isReporting = true;
    for (const NodeIndex function : _resolved.functions)
      if (_isUsed[function]) _printingFunctions.insert(function);
    _reportingFunctions = _printingFunctions;
    return;
  }
  if (!_options.hasReports && !_options.hasChecks) return;
  for (const NodeIndex function : _resolved.functions) {
    if (!_isUsed[function]) continue;
    const NodeIndex body = _tree.GetChildren(function).back();
    if (Contains(body, _printingFunctions, ReportUse::kPrint)) _printingFunctions.insert(function);
    if (Contains(body, _failingFunctions, ReportUse::kFailure)) _failingFunctions.insert(function);
    if (Contains(body, _reportingFunctions, ReportUse::kAny)) _reportingFunctions.insert(function);
  }
  _isReporting = Contains(_tree.kernel, _reportingFunctions, ReportUse::kAny);
  _hasFailures = Contains(_tree.kernel, _failingFunctions, ReportUse::kFailure);
}

std::size_t PlainPrinter::AddSite(NodeIndex node, std::string_view kind, std::string_view types,
                                  std::string_view text) {
  const SourceLocation place = _sources.Locate(_tree.nodes[node].offset);
  _sites += Join({kind, "\t", MakeField(place.file), "\t", std::to_string(place.line), "\t",
                  std::to_string(place.column), "\t", types, "\t", MakeField(text), "\n"});
  return _siteCount++;
}

Int PlainPrinter::GetFirstFailure() const {
  return static_cast<Int>(kFirstReportedSize) +
         (_options.hasChecks ? static_cast<Int>(_resolved.parameters.size()) : 0) + CountTraceWords();
}

std::string PlainPrinter::MakeReportTable() const {
  if (!_isReporting) return "";
  std::string names;
  for (const NodeIndex parameter : _resolved.parameters)
    if (_options.hasChecks) names += Join({"\t", _tree.GetName(parameter)});
  names += MakeTraceNames();
  return Join({std::to_string(GetFirstFailure()), "\t", std::to_string(kMaxFailures), "\t",
               std::to_string(GetFirstFailure() + kMaxFailures * kWordsOfFailure), names, "\n", _sites});
}

// Of the struct, beside its words.
std::vector<std::string_view> PlainPrinter::ListMembers() const {
  std::vector<std::string_view> members = {"invocation"};
  if (_options.isTraced) members.push_back("traced");
  if (!_printingFunctions.empty()) members.insert(members.end(), {"used", "prints", "lost"});
  if (_hasFailures) members.insert(members.end(), {"failed", "first", "second"});
  if (_options.hasChecks) members.insert(members.end(), {"steps", "limit"});
  return members;
}

void PlainPrinter::PrintReportStruct() {
  if (!_isReporting) return;
  Line({"struct OstraReport"});
  Line({"{"});
  ++_depth;
  for (const std::string_view member : ListMembers()) Line({"uint ", member, ";"});
  if (!_printingFunctions.empty()) Line({"uint words[", std::to_string(kWordsOfState), "];"});
  --_depth;
  Line({"};"});
}

void PlainPrinter::PrintReportStart() {
  if (!_isReporting) return;
  const Bool hasRounds = HasRounds(_tree.kernel);
  if (hasRounds) Line({"GROUPSHAREDMEM(uint, ", kGroupArrayPrefix, "Limit, 1)"});
  Line({"OstraReport ostraState;"});
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
  if (hasRounds) PrintRoundStart();
}

// Asks for room for `size` words. Once one finds none no other behind it does, so records that are there have no gaps.
void PlainPrinter::PrintReservation(const std::string& at, const std::string& size) {
  Line({"uint ", at, " = 0u;"});
  Line({"AtomicAdd(", HeadWord(0), ", 0u, ", at, ");"});
  Line({"if (", at, " <= ", HeadWord(1), ")"});
  Line({"{"});
  Line({"\tAtomicAdd(", HeadWord(0), ", ", size, ", ", at, ");"});
  Line({"}"});
}

// Notes where what found no room would begin.
void PlainPrinter::PrintEnd(const std::string& at) {
  const std::string old = NewName("Old");
  Line({"uint ", old, " = 0u;"});
  Line({"AtomicMin(", HeadWord(3), ", ", at, ", ", old, ");"});
}

void PlainPrinter::PrintLoss(const std::string& count) {
  const std::string old = NewName("Old");
  Line({"uint ", old, " = 0u;"});
  Line({"AtomicAdd(", HeadWord(2), ", 0u, ", old, ");"});
  Line({"if (", old, " < ", Unsigned(kMaxLost), ")"});
  Line({"{"});
  Line({"\tAtomicAdd(", HeadWord(2), ", ", count, ", ", old, ");"});
  Line({"}"});
}

std::string PlainPrinter::RecordWord(const std::string& at, const std::string& number) const {
  const Int first = GetFirstFailure() + kMaxFailures * kWordsOfFailure;
  return Join({kBuffer, "[", Unsigned(static_cast<std::size_t>(first)), " + ", at, " + ", number, "]"});
}

// A print of the kernel's body.
void PlainPrinter::PrintRecord(std::size_t site, const std::vector<std::string>& words) {
  const std::string at = NewName("At"), size = Unsigned(words.size() + kRecordHead);
  PrintReservation(at, size);
  Line({"if (", at, " + ", size, " <= ", HeadWord(1), ")"});
  Line({"{"});
  ++_depth;
  Line({RecordWord(at, "0u"), " = ", Unsigned(site), ";"});
  Line({RecordWord(at, "1u"), " = ostraState.invocation;"});
  for (std::size_t i = 0; i < words.size(); ++i)
    Line({RecordWord(at, Unsigned(i + kRecordHead)), " = ", words[i], ";"});
  --_depth;
  Line({"}"});
  Line({"else"});
  Line({"{"});
  ++_depth;
  PrintEnd(at);
  PrintLoss("1u");
  --_depth;
  Line({"}"});
}

// Records that functions have left in the struct.
void PlainPrinter::PrintRecords() {
  const std::string at = NewName("At"), k = NewName("Word");
  Line({"if (ostraState.prints > 0u)"});
  Line({"{"});
  ++_depth;
  PrintReservation(at, "ostraState.used");
  Line({"if (", at, " + ostraState.used <= ", HeadWord(1), ")"});
  Line({"{"});
  Line({"\tfor (uint ", k, " = 0u; ", k, " < ostraState.used; ++", k, ")"});
  Line({"\t{"});
  Line({"\t\t", RecordWord(at, k), " = ostraState.words[", k, "];"});
  Line({"\t}"});
  Line({"}"});
  Line({"else"});
  Line({"{"});
  ++_depth;
  PrintEnd(at);
  Line({"ostraState.lost = ostraState.prints;"});
  --_depth;
  Line({"}"});
  Line({"if (ostraState.lost > 0u)"});
  Line({"{"});
  ++_depth;
  PrintLoss("ostraState.lost");
  --_depth;
  Line({"}"});
  for (const std::string_view member : {"used", "prints", "lost"}) Line({"ostraState.", member, " = 0u;"});
  --_depth;
  Line({"}"});
}

// What the invocation leaves behind at its end. Of failures the one with the smallest invocation is told: it is there
// whatever the order is in which they run.
void PlainPrinter::PrintReportEnd() {
  if (!_isReporting) return;
  if (!_printingFunctions.empty()) PrintRecords();
  if (!_hasFailures) return;
  const std::string before = NewName("Before"), number = NewName("Number");
  Line({"if (ostraState.failed != 0u)"});
  Line({"{"});
  ++_depth;
  Line({"uint ", before, " = 0u;"});
  Line({"uint ", number, " = 0u;"});
  Line({"AtomicMin(", HeadWord(4), ", ostraState.invocation, ", before, ");"});
  Line({"if (ostraState.invocation < ", before, ")"});
  Line({"{"});
  ++_depth;
  Line({"AtomicAdd(", HeadWord(5), ", 1u, ", number, ");"});
  Line({"if (", number, " < ", Unsigned(kMaxFailures), ")"});
  Line({"{"});
  const std::string_view members[] = {"failed", "invocation", "first", "second"};
  for (Int i = 0; i < kWordsOfFailure; ++i)
    Line({"\t", kBuffer, "[", std::to_string(GetFirstFailure() + i), "u + ", number, " * 4u] = ostraState.",
          members[static_cast<std::size_t>(i)], ";"});
  Line({"}"});
  --_depth;
  Line({"}"});
  --_depth;
  Line({"}"});
}

// Behind a statement that calls functions which print.
void PlainPrinter::PrintRecordsOf(NodeIndex node) {
  if (_isInKernel && !_printingFunctions.empty() && Contains(node, _printingFunctions, ReportUse::kPrint))
    PrintRecords();
}

// The bits of a double, by arithmetic that is exact: no language has a word for them everywhere.
std::string PlainPrinter::CallDoubleWords(const std::string& number) {
  const std::string type = TypeName(GetScalarType(Scalar::kFloat64));
  const auto make = [&type](std::string_view value) { return Join({type, "(", value, ")"}); };
  const std::string body = Join({
      "\t",
      type,
      " x = v0;\n\tuint top = 0u;\n\tint exponent = 0;\n",
      "\tif (x < ",
      make("0"),
      " || (x == ",
      make("0"),
      " && ",
      make("1"),
      " / x < ",
      make("0"),
      "))\n\t{\n",
      "\t\ttop = 2147483648u;\n\t\tx = -x;\n\t}\n",
      "\tif (x != x)\n\t{\n\t\treturn uint2(0u, 2146959360u);\n\t}\n",
      "\tif (x - x != ",
      make("0"),
      ")\n\t{\n\t\treturn uint2(0u, top | 2146435072u);\n\t}\n",
      "\tif (x == ",
      make("0"),
      ")\n\t{\n\t\treturn uint2(0u, top);\n\t}\n",
      // To [1, 2); numbers below the normal range need a second time.
      "\tfor (int time = 0; time < 2; ++time)\n\t{\n\t\tfor (int power = 512; power > 0; power = power / 2)\n\t\t{\n",
      "\t\t\t",
      type,
      " factor = ",
      make("2"),
      ";\n",
      "\t\t\tfor (int k = 1; k < power; k = k * 2)\n\t\t\t{\n\t\t\t\tfactor = factor * factor;\n\t\t\t}\n",
      "\t\t\tif (x >= factor)\n\t\t\t{\n\t\t\t\tx = x / factor;\n\t\t\t\texponent += power;\n\t\t\t}\n",
      "\t\t\telse if (x < ",
      make("1"),
      " && x * factor < ",
      make("2"),
      ")\n\t\t\t{\n\t\t\t\tx = x * factor;\n\t\t\t\texponent -= power;\n\t\t\t}\n\t\t}\n\t}\n",
      "\tif (exponent > -1023)\n\t{\n\t\tx = x - ",
      make("1"),
      ";\n",
      "\t\ttop = top | (uint(exponent + 1023) << 20);\n\t}\n",
      "\tfor (; exponent < -1022; ++exponent)\n\t{\n\t\tx = x / ",
      make("2"),
      ";\n\t}\n",
      "\tx = x * ",
      make("1048576"),
      ";\n\tuint upper = uint(x);\n",
      "\tx = (x - ",
      make("upper"),
      ") * ",
      make("65536"),
      " * ",
      make("65536"),
      ";\n",
      "\treturn uint2(uint(x), top | upper);\n",
  });
  return CallHelper("ostra_words_of_double", GetVectorType(Scalar::kUInt32, 2), {GetScalarType(Scalar::kFloat64)}, body,
                    {number});
}

std::vector<std::string> PlainPrinter::MakeWords(const std::string& value, TypeIndex type) {
  const Type& kind = _types[type];
  std::vector<std::string> numbers, words;
  if (IsMatrix(type)) {
    for (UInt32 column = 0; column < kind.count; ++column)
      for (UInt32 row = 0; row < kind.count; ++row) numbers.push_back(MakeElement(value, kind.count, column, row));
  } else {
    numbers = Components(value, type);
    // The parentheses of "(v.x != 0)" are those of the conversion.
    if (IsBoolVector(type))
      for (std::string& number : numbers) number = number.substr(1, number.size() - 2);
  }
  for (const std::string& number : numbers) {
    const Bool isFloat = kind.scalar == Scalar::kFloat32;
    if (kind.scalar == Scalar::kFloat64) {
      const std::string bits = NewName("Bits");
      Line({"const uint2 ", bits, " = ", CallDoubleWords(number), ";"});
      words.insert(words.end(), {bits + ".x", bits + ".y"});
    } else if (GetSize(kind.scalar) > 4) {
      const std::string whole = number.find(' ') == std::string::npos ? number : Join({"(", number, ")"});
      words.insert(words.end(), {Join({"uint(", number, ")"}), Join({"uint(", whole, " >> 32)"})});
    } else if (isFloat)
      words.push_back(Join({"floatBitsToUint(", number, ")"}));
    else if (kind.scalar == Scalar::kHalf)
      words.push_back(Join({"floatBitsToUint(float(", number, "))"}));
    else
      words.push_back(kind.scalar == Scalar::kUInt32 ? number : Join({"uint(", number, ")"}));
  }
  return words;
}

// Appends a record to the struct.
std::string PlainPrinter::CallPrint(std::size_t site, const std::vector<std::string>& words) {
  const std::string name = Join({"ostra_print_", std::to_string(words.size())});
  if (_helperNames.insert(name).second) {
    const std::size_t size = words.size() + kRecordHead;
    std::string parameters, stores;
    for (std::size_t i = 0; i < words.size(); ++i) {
      const std::string number = std::to_string(i);
      parameters += Join({", uint v", number});
      stores += Join({"\t\treport.words[at + ", Unsigned(i + kRecordHead), "] = v", number, ";\n"});
    }
    _helpers += Join({Mark(_place), "inline void ", name, "(INOUT OstraReport report, uint site", parameters,
                      ")\n{\n\tuint at = report.used;\n\treport.prints += 1u;\n\tif (at + ", Unsigned(size),
                      " <= ", Unsigned(kWordsOfState), ")\n\t{\n\t\treport.words[at] = site;\n",
                      "\t\treport.words[at + 1u] = report.invocation;\n", stores, "\t\treport.used = at + ",
                      Unsigned(size), ";\n\t}\n\telse\n\t{\n\t\treport.lost += 1u;\n\t}\n}\n\n"});
  }
  const std::string rest = words.empty() ? "" : Join({", ", JoinList(words)});
  return Join({name, "(ostraState, ", Unsigned(site), rest, ")"});
}

// The same without a call: drivers compile many calls that hand the struct on for minutes.
void PlainPrinter::AppendRecord(std::size_t site, const std::vector<std::string>& words) {
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

// Notes the first failure of an invocation.
std::string PlainPrinter::CallFail(std::size_t site, std::string_view first, std::string_view second) {
  if (_helperNames.insert("ostra_fail").second)
    _helpers +=
        Join({Mark(_place), "inline void ostra_fail(INOUT OstraReport report, uint site, uint first, uint second)\n",
              "{\n\tif (report.failed == 0u)\n\t{\n\t\treport.failed = site + 1u;\n\t\treport.first = first;\n",
              "\t\treport.second = second;\n\t}\n}\n\n"});
  return Join({"ostra_fail(ostraState, ", Unsigned(site), ", ", first, ", ", second, ")"});
}

void PlainPrinter::PrintStatement(NodeIndex node) {
  if (!_options.hasReports || _options.isTraced) return;
  Line({MarkOf(node), "{"});
  ++_depth;
  std::string types;
  std::vector<std::string> words;
  if (HasHoists(node)) HoistParts(node);
  for (const NodeIndex value : _tree.GetChildren(node)) {
    const TypeIndex type = _resolved.type[value];
    std::string text = Value(value, Binding::kAssignment);
    if (!IsSimpleValue(value) || !_types.IsScalar(type)) {
      const std::string name = NewName("Value");
      Line({"const ", TypeName(type), " ", name, " = ", text, ";"});
      text = name;
    }
    for (std::string& word : MakeWords(text, type)) words.push_back(std::move(word));
    types += Join({types.empty() ? "" : ",", MakeTypeCode(type)});
  }
  const std::string_view text = _tree.GetName(node);
  const std::size_t site = AddSite(node, "print", types, text.substr(1, text.size() - 2));
  if (!_isInKernel) {
    Line({CallPrint(site, words), ";"});
  } else {
    if (!_printingFunctions.empty()) PrintRecords();
    PrintRecord(site, words);
  }
  --_depth;
  Line({"}"});
}

void PlainPrinter::AssertStatement(NodeIndex node) {
  if (!_options.hasReports || _options.isTraced) return;
  const std::string_view text = _tree.GetName(node);
  const std::size_t site = AddSite(node, "assert", "", text.empty() ? text : text.substr(1, text.size() - 2));
  const Bool isOpen = OpenHoists(Child(node, 0));
  Line({MarkOf(node), "if (!(", Expression(Child(node, 0), Binding::kComma), "))"});
  Line({"{"});
  Line({"\t", CallFail(site, "0u", "0u"), ";"});
  Line({"}"});
  CloseHoists(isOpen);
}

}  // namespace ostra::kernellanguage
