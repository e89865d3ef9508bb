// The state of PrintPlainForm, and how its parts call each other. Internal to plain_*.cpp.
//
// Texts carry marks, which say where in the source a piece comes from, until Print takes them out (plain_marks.cpp).
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "parallelprogram/kernellanguage/evaluation_order.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/literal.h"
#include "parallelprogram/kernellanguage/plain_form.h"
#include "parallelprogram/kernellanguage/remainders.h"

namespace ostra::kernellanguage {

// How tightly an expression is bound; what is bound less tightly than its place needs gets parentheses.
enum class Binding : UInt8 { kComma, kAssignment, kConditional, kBinary, kUnary, kPostfix };

// "x" to "w".
inline std::string_view GetComponentName(UInt32 component) { return std::string_view("xyzw").substr(component, 1); }

// The structs that lie in buffers, as elements or inside of such.
std::set<NodeIndex> FindStoredStructs(const SyntaxTree& tree, const ResolvedTree& resolved);

// Whether the node is == or != of two vectors.
Bool IsComparisonOfVectors(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node);

std::string JoinList(const std::vector<std::string>& parts);  // "a, b"

class PlainPrinter {
 public:
  PlainPrinter(const AnalyzedKernel& kernel, const PlainOptions& options)
      : _sources(kernel.sources),
        _tree(kernel.tree),
        _resolved(kernel.resolved),
        _types(kernel.resolved.types),
        _options(options),
        _order(FindEvaluationOrder(_tree, _resolved)) {
    if (_options.isForGpu) _openRemainders = FindOpenRemainders(_tree, _resolved);
  }

  PlainForm Print();

 private:
  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  NodeKind KindOf(NodeIndex node) const { return _tree.nodes[node].kind; }
  void Refuse(NodeIndex node, std::string reason);

  // plain_form.cpp: the file
  void FindUsed(NodeIndex node);
  void FindUsedType(TypeIndex type);
  void PrintStruct(NodeIndex node);
  void PrintDirective(NodeIndex node);
  void PrintParameters();
  void PrintConstant(NodeIndex declaration);
  void PrintFunction(NodeIndex node);
  void PrintKernel();
  std::string ParameterType(NodeIndex type) const;

  // plain_names.cpp
  void FindNames();
  std::string NameOf(NodeIndex declaration) const;

  // plain_statements.cpp
  void Line(std::initializer_list<std::string_view> parts);
  void Statement(NodeIndex node);
  void If(NodeIndex node, std::string_view before);
  // In braces; begins with records of `traced`: variables and changed places. `hasCalls`: so do those of functions.
  void Body(NodeIndex statement, const std::vector<NodeIndex>& traced = {}, Bool hasCalls = false);
  void Declaration(NodeIndex node);
  void ExpressionStatement(NodeIndex expression);
  Bool WriteSwizzle(NodeIndex assignment);
  Bool WriteChange(NodeIndex assignment);
  // The lines of both, which give the text of the place; of that which has the components of a swizzle.
  std::string ChangeSwizzle(NodeIndex assignment);
  std::string ChangePlace(NodeIndex assignment);
  // A place that may be named several times: what may have effects in it is computed before, on lines of its own.
  std::string Place(NodeIndex node);
  std::string ColumnPlace(NodeIndex node);
  void WriteColumns();
  std::string CopyArgument(NodeIndex argument);
  void WriteBack();
  NodeIndex FindWholeCall(NodeIndex expression) const;
  Bool IsInColumn(NodeIndex place) const;
  std::string NewName(std::string_view what);
  std::string VariableText(NodeIndex variable);
  std::string ForStart(NodeIndex node);
  void For(NodeIndex node);

  // plain_hoists.cpp: changes inside of expressions that become statements before
  struct LoopParts {
    NodeIndex node = kNoNode, start = kNoNode, condition = kNoNode, step = kNoNode, body = kNoNode;
    Bool isBodyFirst = false;
  };
  Bool IsBoolComponent(NodeIndex place) const;
  Bool IsPart(NodeIndex place) const;
  Bool IsChangedArgument(NodeIndex call, std::size_t index) const;
  Bool IsCopied(NodeIndex argument) const;
  Bool NeedsHoist(NodeIndex node) const;
  void FindHoists();
  Bool HasHoists(NodeIndex node) const;
  Bool HasInnerHoists(NodeIndex node) const;
  NodeIndex FindRoot(NodeIndex place) const;
  void CollectNames(NodeIndex node, std::set<NodeIndex>& names) const;
  void CollectChanges(NodeIndex node, std::set<NodeIndex>& changed) const;
  void CheckOrder(NodeIndex node);
  Bool IsValueFirst(NodeIndex node) const { return _order.valueFirst.contains(node); }
  void HoistParts(NodeIndex node);
  void Hoist(NodeIndex node);
  void KeepValue(NodeIndex node, TypeIndex type, const std::string& value);
  void HoistBranches(NodeIndex node);
  void HoistChange(NodeIndex node);
  std::string PartOf(const std::string& place, NodeIndex target);
  void ChangeByOne(NodeIndex node, Bool isValueUsed);
  Bool WriteBranches(NodeIndex expression);
  Bool OpenHoists(NodeIndex expression);
  void CloseHoists(Bool isOpen);
  void Loop(const LoopParts& loop);
  void LoopCondition(const LoopParts& loop);

  // plain_expressions.cpp. Expression gives the value as the type that it is wanted as, Value as its own.
  std::string Expression(NodeIndex node, Binding lowest = Binding::kAssignment);
  std::string Value(NodeIndex node, Binding lowest);
  std::string ValueItself(NodeIndex node, Binding& binding);
  std::string Operand(NodeIndex node, Operation operation, Bool isRight);
  std::string List(NodeIndex node, std::size_t first);
  std::string Name(NodeIndex node, Binding& binding);
  Bool IsElementOfTable(NodeIndex node) const;
  std::string CallTable(NodeIndex node);
  std::string Call(NodeIndex node);
  std::string Arguments(NodeIndex node);
  Bool IsChanged(NodeIndex parameter) const;
  std::string Argument(NodeIndex call, std::size_t index);
  void CheckPlainPlace(NodeIndex place);
  std::string MemberText(NodeIndex node) const;  // ".x"
  static std::string WideLiteral(const LiteralValue& value);
  std::string NoiseNumber(NodeIndex number);
  std::string Literal(NodeIndex node, TypeIndex wanted) const;
  std::string TypeName(TypeIndex type);
  static std::string ArraySizes(const TypeTable& types, TypeIndex type);
  static std::string Mark(SourceOffset offset);
  std::string MarkOf(NodeIndex node) const { return Mark(_tree.nodes[node].offset); }

  // plain_helpers.cpp: what needs a value more than once is a function, unless the value is a name.
  // A value and the type that it is taken as: its own, or the one that it is wanted as.
  struct Part {
    NodeIndex node = kNoNode;
    TypeIndex type = kUnknownType;
  };
  Bool IsSimple(NodeIndex node) const;
  Bool IsSimpleValue(NodeIndex node) const;  // of its own type
  std::string Convert(NodeIndex node);
  std::string ConvertScalar(const std::string& value, Scalar from, Scalar to);
  std::string ConvertText(const std::string& value, TypeIndex from, TypeIndex to);
  std::string ConstructVector(TypeIndex type, const std::vector<Part>& parts);
  std::string Swizzle(NodeIndex node);
  std::string PartText(const Part& part, Binding lowest);
  std::string StoredComponent(const std::string& value, Scalar from, Scalar to);
  std::string Construct(NodeIndex node, std::size_t first);
  std::string ConstructScalar(TypeIndex type, const Part& part);
  std::string ConstructStruct(TypeIndex type, const std::vector<Part>& parts);
  std::string HelperWord(TypeIndex type) const;
  // The components of a value with this text, in its own scalar type.
  std::vector<std::string> Components(const std::string& value, TypeIndex type) const;
  // A call of the helper `name`, which is written at its first use. Bit i of `changed`: it sets its argument i.
  std::string CallHelper(const std::string& name, TypeIndex result, const std::vector<TypeIndex>& parameters,
                         const std::string& body, const std::vector<std::string>& arguments, UInt8 changed = 0);

  // plain_matrices.cpp
  Bool IsMatrix(TypeIndex type) const;
  std::optional<UInt32> FindNumber(NodeIndex node) const;  // of an integer as it is written
  std::string MakeColumn(std::string_view matrix, UInt32 count, UInt32 column) const;
  std::string MakeElement(std::string_view matrix, UInt32 count, UInt32 column, UInt32 row) const;
  std::string MakeMatrix(TypeIndex type, const std::vector<std::string>& components);
  std::string ConstructMatrix(TypeIndex type, const std::vector<Part>& parts);
  std::string ComputeMatrix(Operation operation, TypeIndex result, const Part& left, const Part& right);
  std::string MultiplyMatrix(TypeIndex result, const Part& left, const Part& right);
  std::string CallOfSmallMatrix(NodeIndex node);
  std::string Column(NodeIndex node);
  std::string CallColumn(TypeIndex type, const std::string& matrix, const std::string& index);

  // plain_integers.cpp
  Bool IsSmall(TypeIndex type) const;
  Bool IsStoredSmall(NodeIndex place) const;
  std::string CutInteger(const std::string& value, Scalar from, Scalar to) const;
  std::string StoredText(NodeIndex place, const std::string& value) const;

  // plain_remainders.cpp: % as C++ computes it.
  Bool IsOpenRemainder(NodeIndex node) const { return _openRemainders.contains(node); }
  std::string CallRemainder(TypeIndex left, TypeIndex right, const std::string& dividend, const std::string& divisor);

  // plain_bools.cpp
  Bool IsBoolVector(TypeIndex type) const;
  std::string BoolComponent(NodeIndex node);
  std::string CallComparison(NodeIndex node);
  std::string BoolsOf(const std::string& numbers, NodeIndex node) const;
  std::string CallOfBools(NodeIndex node);

  // plain_groups.cpp: written before the statement, with arrays of group memory at the beginning of the kernel.
  std::string CallOfGroup(NodeIndex node);
  std::string ReduceGroup(WordId word, TypeIndex type, const std::string& array, const std::string& number);
  std::string ScanGroup(WordId word, TypeIndex type, const std::string& array, const std::string& number);
  std::string GatherGroup(WordId word, TypeIndex type, const std::string& array, const std::string& index);
  std::string CombineInGroup(WordId word, const std::string& a, const std::string& b) const;
  std::string GroupArray(TypeIndex type);
  std::string NumberInGroup() const;
  std::string DeclareGroupArrays() const;
  std::string GroupCount() const;

  // plain_library.cpp
  std::string CallOfLibrary(NodeIndex node);
  std::string CallLibrary(std::string_view word, const Overload& overload, const std::vector<std::string>& arguments);
  std::string MultiplyColumns(TypeIndex matrix);
  std::string ApplyToComponents(std::string_view word, const Overload& overload);
  void WriteParts(std::string_view body);

  // plain_reports.cpp: PRINT and ASSERT
  enum class ReportUse : UInt8 { kPrint, kFailure, kAny };
  Bool IsReport(NodeIndex node, ReportUse use) const;
  // Whether such a report, or a call of one of these functions, is at or below `node`.
  Bool Contains(NodeIndex node, const std::set<NodeIndex>& functions, ReportUse use) const;
  void FindReports();
  Int GetFirstFailure() const;
  std::size_t AddSite(NodeIndex node, std::string_view kind, std::string_view types, std::string_view text);
  std::string MakeReportTable() const;
  std::vector<std::string_view> ListMembers() const;
  void PrintReportStruct();
  void PrintReportStart();
  void PrintReportEnd();
  void PrintReservation(const std::string& at, const std::string& size);
  void PrintEnd(const std::string& at);
  void PrintLoss(const std::string& count);
  std::string RecordWord(const std::string& at, const std::string& number) const;
  void PrintRecord(std::size_t site, const std::vector<std::string>& words);
  void PrintRecords();
  void PrintRecordsOf(NodeIndex node);
  std::string CallDoubleWords(const std::string& number);
  std::vector<std::string> MakeWords(const std::string& value, TypeIndex type);
  std::string MakeTypeCode(TypeIndex type) const;
  std::string CallPrint(std::size_t site, const std::vector<std::string>& words);
  void AppendRecord(std::size_t site, const std::vector<std::string>& words);
  std::string CallFail(std::size_t site, std::string_view first, std::string_view second);
  void PrintStatement(NodeIndex node);
  void AssertStatement(NodeIndex node);

  // plain_traces.cpp: records of what the traced invocation writes, and of stores to the watched element
  static constexpr std::size_t kTracedInvocation = 9;  // of the words in front of the records; watched elements follow
  struct TracedValue {
    std::string format, types;
    std::vector<std::string> words;
  };
  Int CountTraceWords() const;
  std::string MakeTraceNames() const;
  void PrintTraceStart();
  void FindChanged(NodeIndex node, std::vector<NodeIndex>& places) const;
  Bool IsRepeatable(NodeIndex node) const;
  Bool Mentions(NodeIndex node, const std::set<NodeIndex>& variables, std::string_view buffer) const;
  NodeIndex FindTracedRoot(NodeIndex place) const;
  NodeIndex WidenPlace(NodeIndex place) const;
  Bool AreIndicesFixed(NodeIndex place, const std::vector<NodeIndex>& changed) const;
  void AddTraced(const std::string& value, TypeIndex type, TracedValue& traced);
  std::string NamePlace(NodeIndex place, TracedValue& indices);
  std::string MakeWatchCondition(NodeIndex place);
  std::string PrefixOfTrace() const;
  void TraceValue(NodeIndex node, const std::string& name, TracedValue indices, const std::string& value,
                  TypeIndex type, const std::string& watched = {});
  void TraceVariable(NodeIndex variable);
  void TracePlace(NodeIndex place, const std::vector<NodeIndex>& changed);
  void TraceChanged(NodeIndex expression);
  void TraceParameters(NodeIndex function);
  void TraceAll(const std::vector<NodeIndex>& traced);
  std::vector<NodeIndex> ListLoopVariables(NodeIndex loop) const;
  void TracedReturn(NodeIndex node);
  std::size_t CountTracedCalls(NodeIndex node) const;
  void FindUnorderedCalls();
  void AddCalls(NodeIndex node);

  // plain_checks.cpp: what checked kernels look at. Texts are given back as they are where nothing is checked.
  Bool NeedsCheck(NodeIndex node) const;
  Bool HasBarrier(NodeIndex node) const;
  Bool IsDivision(NodeIndex node) const;
  std::size_t AddCheck(NodeIndex node, std::string_view kind, std::string_view types, std::string_view text);
  static constexpr std::size_t kFirstReportedSize = 9;  // of the words in front of the records
  std::string ReportedSize(std::string_view parameter) const;
  std::string IndexSize(NodeIndex node) const;
  std::string CheckIndex(NodeIndex node, const std::string& index);
  std::string CheckLayer(NodeIndex call, const std::string& layer);
  std::string CallIndexCheck(NodeIndex node, TypeIndex type, std::size_t site, const std::string& index,
                             const std::string& size);
  Bool MayOverflow(NodeIndex division) const;
  std::string WholeNumber(std::string_view digits, Scalar scalar);
  std::string CheckDivisor(NodeIndex division, const std::string& divisor, const std::string& dividend);
  TypeIndex GetDividendType(NodeIndex division) const;
  std::string DivisorCheckName(TypeIndex left, TypeIndex right) const;
  void WriteDivisorCheck(TypeIndex left, TypeIndex right);
  std::string CallQuotient(NodeIndex division, const std::string& left, const std::string& right);
  Bool NeedsRounds(NodeIndex node) const;
  Bool HasRounds(NodeIndex node) const;
  std::string CheckStep(NodeIndex loop, const std::string& condition);
  void LoopBody(NodeIndex loop, NodeIndex body);
  void LoopEnd(NodeIndex loop);
  void PrintRoundStart();

  const SourceMap& _sources;
  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const TypeTable& _types;
  const PlainOptions& _options;

  std::string _helpers, _text;
  std::set<std::string> _helperNames;
  std::set<NodeIndex> _fileConstants;
  std::set<NodeIndex> _storedStructs;         // that lie in buffers
  std::vector<Bool> _needsHoist, _hasHoists;  // nodes, and those with one at or below them
  std::map<NodeIndex, std::string> _hoisted;  // their values
  std::vector<Bool> _isUsed;                  // functions, structs and constants that the kernel needs
  std::map<NodeIndex, std::string> _names;    // of declarations that are called otherwise here
  std::set<std::string_view> _declaredNames;
  std::size_t _depth = 0;
  NodeIndex _copyingCall = kNoNode;      // whose arguments may be copied before the statement
  std::vector<std::string> _writeBacks;  // statements behind the one that is being written
  SourceOffset _place = 0;               // of the statement that is being written
  Int _temporaries = 0;
  struct ChangedColumn {
    std::string matrix, index, name;
    UInt32 count = 0;
    std::optional<UInt32> number = {};  // of the column, where it is written as one
  };
  std::vector<ChangedColumn> _changedColumns;     // that the statement writes back at its end
  std::map<std::string, TypeIndex> _groupArrays;  // by name
  std::optional<NotUnderstood> _refusal;
  // By themselves or by what they call.
  std::set<NodeIndex> _printingFunctions, _failingFunctions, _reportingFunctions;
  std::map<NodeIndex, std::size_t> _checkSites;
  std::set<NodeIndex> _unorderedCalls;  // that record
  EvaluationOrder _order;
  std::set<NodeIndex> _openRemainders;  // of kernels for GPUs
  NodeIndex _function = kNoNode;        // that is being written; none: the kernel
  Bool _isReporting = false, _hasFailures = false, _isInKernel = false;
  std::string _sites;  // lines of the table
  std::size_t _siteCount = 0;
};

}  // namespace ostra::kernellanguage
