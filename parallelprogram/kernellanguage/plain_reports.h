// Reports of a kernel: words of one more buffer, "ostraReport", that the program empties before a dispatch and reads
// after it (parallelprogram/program/kernel_report.h; plain_report_layout.h says where what stands).
//
// Functions see no buffers: they write records and their first failure into a struct that is handed on to them, and the
// kernel empties it behind the statement.
#pragma once

#include "parallelprogram/kernellanguage/plain_part.h"
#include "parallelprogram/kernellanguage/plain_report_sites.h"

namespace ostra::kernellanguage {

class PlainReports : PlainPart {
 public:
  PlainReports(const PlainBasis& basis, const ReportPlan& plan, const ReportSites& sites)
      : PlainPart(basis), _reportPlan(plan), _sites(sites) {}

  void PrintReportStruct();
  // Lines at the beginning of the kernel, and wherever it ends. Of failures the one with the smallest invocation is
  // told: it is there whatever the order is in which they run.
  void PrintReportStart();
  void PrintReportEnd();
  // A record of the kernel's body.
  void PrintRecord(std::size_t site, const std::vector<std::string>& words);
  // Records that functions have left in the struct.
  void PrintRecords();
  // The same behind a statement that calls functions which print; nothing behind others.
  void PrintRecordsOf(NodeIndex node);
  // A call that appends a record to the struct, and the lines that do the same without a call: drivers compile many
  // calls that hand the struct on for minutes.
  std::string CallPrint(std::size_t site, const std::vector<std::string>& words);
  void AppendRecord(std::size_t site, const std::vector<std::string>& words);
  // A call that notes the first failure of an invocation. Its definition stands in front of those that call it.
  std::string CallFail(std::size_t site, std::string_view first, std::string_view second);
  void DefineFail();

 private:
  std::vector<std::string_view> ListMembers() const;
  void PrintTraceStart();
  void PrintReservation(const std::string& at, const std::string& size);
  void PrintEnd(const std::string& at);
  void PrintLoss(const std::string& count);
  std::string RecordWord(const std::string& at, const std::string& number) const;

  const ReportPlan& _reportPlan;
  const ReportSites& _sites;
};

}  // namespace ostra::kernellanguage
