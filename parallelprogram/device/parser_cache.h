// Parsers that are shared: a kernel file or stage file that several programs use is translated once.
//
//   OSTRA_ASSIGN_OR_RETURN(const ParsedKernel parsed, ParseKernel({.file = file, .templateArgument = "float"_s,
//                                                                  .language = kTargetGlsl, .key = key}, lock));
//   parsed.parser->GetKernelCode();
//
// Thread-safe. Parsers that are held stay alive when the cache is emptied.
#pragma once

#include <mutex>

#include "ostra/core/hash_map.h"
#include "ostra/core/synchronized_hash_map.h"
#include "parallelprogram/program/kernel_report_interface.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra {

struct KernelSource {
  Url file;
  String templateArgument;
  Id language;
  UInt64 key = 0;          // see MakeParserKey
  Int32 sampleCount = -1;  // of the framebuffer that a fragment stage reads; -1 for kernels
  KernelReportOptions reports = {};
};

// What a parse has read: the file, then its headers.
struct SourcesRead {
  UInt64 stamp = 0;  // when they were last changed before that, see MakeSourcesStamp; 0 when nothing was read
  BaseArray<Url> files;
};

struct ParsedKernel {
  StrongRef<ShaderParser> parser;
  UInt64 stamp = 0;  // of SourcesRead
  // What the kernel reports (program/kernel_report.h); empty: nothing.
  String reportTable;
};

// `hash` is that of the file's location or of its name.
UInt64 MakeParserKey(UInt64 hash, UInt64 kernelIdHash, UInt64 stamp);

// When the file and the headers that a parse of it has read were last changed, as one number: the file's own stamp when
// there are no other files. Headers that have gone count as never changed. Error: the file has gone.
Result<UInt64> MakeSourcesStamp(const Url& file, const BaseArray<Url>& files);

class ParserCache {
 public:
  ParserCache();
  ~ParserCache();
  ParserCache(const ParserCache&) = delete;
  ParserCache& operator=(const ParserCache&) = delete;

  // The parser of a file, after its parse: a cached one when it was made for the same file, language and options and
  // the files it read have not changed since, otherwise a new one, which is cached. A parser whose parse fails is
  // forgotten; what it has read so far is put into `failed`. `lock` is held
  // while the cache is looked into; it keeps out others with the same lock only, and the cache guards itself.
  // Errors: illegal state "parser could not be build" for a language without translation; those of the parse.
  Result<ParsedKernel> Parse(const KernelSource& source, AtomicInt32& lock, SourcesRead* failed = nullptr);
  // Forgets all parsers.
  void Reset();
  Int GetCount() const;

 private:
  struct Entry;
  using EntryRef = StrongRef<Entry>;
  static Bool IsFor(const Entry& entry, const KernelSource& source);
  static Bool IsUpToDate(const Entry& entry, const KernelSource& source);
  Result<EntryRef> Find(const KernelSource& source, AtomicInt32& lock);
  void Forget(UInt64 key, const EntryRef& entry, AtomicInt32& lock);

  SynchronizedHashMap<UInt64, EntryRef> _entries;
  std::mutex _adding;  // held while an entry is put in or taken out
};

// The parsers of all GPU programs of the process. `lock` is that of the program that asks.
Result<ParsedKernel> ParseKernel(const KernelSource& source, AtomicInt32& lock, SourcesRead* failed = nullptr);
void ResetParserCache();
Int GetCachedParserCount();

}  // namespace ostra
