#include "parallelprogram/device/parser_cache.h"

#include <mutex>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/diagnostics.h"
#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "ostra/io/file.h"
#include "parallelprogram/base/spin.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/kernel_mistakes.h"
#include "parallelprogram/device/plain_source.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/kernellanguage/diagnostic.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

ParserCache g_parsers;

// As MakeSourcesStamp was when the parser began to read.
UInt64 MakeReadStamp(const ShaderParser& parser) {
  const BaseArray<UInt64>& stamps = parser.GetFileStamps();
  if (stamps.IsEmpty()) return 0;
  UInt64 stamp = stamps[0];
  for (Int i = 1; i < stamps.GetCount(); ++i) stamp = AppendToKey(stamp, MixKey(stamps[i]));
  return stamp;
}

Bool IsKernel(const KernelSource& source) { return source.sampleCount < 0; }

// Error: illegal argument (kernellanguage/diagnostic.h) for the first line that the translator takes for something
// else.
Result<void> CheckSourceRules(const ShaderParser& parser, const KernelSource& source) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<void> {
    for (const Url& file : parser.GetFiles()) {
      const auto read = ReadSourceFile(file, LineEnds::LineFeeds);
      if (!read) continue;  // the parser says why
      const std::string_view text = read->text.GetView();
      const auto mistakes = file == source.file ? FindSourceMistakes(text) : FindHeaderMistakes(text);
      if (mistakes.empty()) continue;
      SourceMessage message = kernellanguage::MakeSourceMessage({file.GetView(), text, read->isEncoded},
                                                                mistakes[0].position, mistakes[0].text);
      if (IsKernel(source) && mistakes[0].isLineRule) {
        OSTRA_ASSIGN_OR_RETURN(auto note, ExplainLineRules(source.file, source.templateArgument.GetView()));
        if (note) message.notes.push_back(std::move(*note));
      }
      return MakeSourceError({std::move(message)}, kOstraUnit, __LINE__);
    }
    return OK;
  });
}

Result<void> ParseSource(ShaderParser& parser, const KernelSource& source, const DataDictionary& options,
                         String& reportTable) {
  const auto parse = [&](const WrittenSource* written) {
    // A source that would be replaced for ever must not keep a worker for ever.
    return parser.Init(source.file, options, EndlessSource::Refuse, LineEnds::LineFeeds, written);
  };
  auto plain =
      IsKernel(source) ? MakePlainSource(source.file, source.templateArgument.GetView(), source.reports) : std::nullopt;
  if (plain && *plain) {
    reportTable = (*plain)->reportTable;
    return parse(&**plain);
  }
  Result<void> parsed = parse(nullptr);
  if (parsed && !plain) parsed = plain.TakeError();
  // What breaks a rule fails further down, with a message that explains nothing.
  if (auto kept = CheckSourceRules(parser, source); !kept) return kept;
  return parsed;
}

Bool IsTargetLanguage(const Id& language) {
  return language == kTargetGlsl || language == kTargetHlsl || language == kTargetMetal;
}

}  // namespace

struct ParserCache::Entry : RefCounted<Entry> {
  Entry(StrongRef<ShaderParser> theParser, const KernelSource& source)
      : parser(std::move(theParser)),
        file(source.file),
        templateArgument(source.templateArgument),
        sampleCount(source.sampleCount),
        reports(source.reports) {}

  const StrongRef<ShaderParser> parser;
  const Url file;
  const String templateArgument;
  const Int32 sampleCount;
  const KernelReportOptions reports;
  std::atomic<UInt64> stamp{0};  // 0 until it has parsed

  std::mutex mutex;  // held by the thread that parses
  String reportTable;
  Bool hasFailed = false;  // guarded by it: the parser has parts of what a failed parse has found
};

ParserCache::ParserCache() = default;
ParserCache::~ParserCache() = default;

Bool ParserCache::IsFor(const Entry& entry, const KernelSource& source) {
  return entry.parser->GetTargetLanguage() == source.language && entry.file == source.file &&
         entry.templateArgument == source.templateArgument && entry.sampleCount == source.sampleCount &&
         entry.reports == source.reports;
}

Bool ParserCache::IsUpToDate(const Entry& entry, const KernelSource& source) {
  const UInt64 parsed = entry.stamp.load(std::memory_order_acquire);
  if (parsed == 0) return true;
  const auto current = MakeSourcesStamp(source.file, entry.parser->GetFiles());
  return current && *current == parsed;
}

Result<ParserCache::EntryRef> ParserCache::Find(const KernelSource& source, AtomicInt32& lock) {
  EntryRef known;
  {
    const SpinGuard guard(lock);
    _entries.Find(source.key, known);
  }
  // Looking at files takes long, so it happens outside of the lock.
  if (known && IsFor(*known, source) && IsUpToDate(*known, source)) return known;

  if (!IsTargetLanguage(source.language)) return OSTRA_ILLEGAL_STATE("parser could not be build");
  OSTRA_ASSIGN_OR_RETURN(StrongRef<ShaderParser> parser, ShaderParser::Create(source.language));
  Entry* entry = NewObj<Entry>(std::move(parser), source);
  if (!entry) return OSTRA_OUT_OF_MEMORY();
  const EntryRef added = EntryRef::Adopt(entry);
  const SpinGuard guard(lock);
  const std::scoped_lock adding(_adding);  // programs have locks of their own
  // Another thread that missed it as well may have been faster.
  EntryRef present;
  if (_entries.Find(source.key, present) && !(present == known) && IsFor(*present, source)) return present;
  _entries.Erase(source.key);
  OSTRA_RETURN_IF_ERROR(_entries.Insert(source.key, added));
  return added;
}

void ParserCache::Forget(UInt64 key, const EntryRef& entry, AtomicInt32& lock) {
  const SpinGuard guard(lock);
  const std::scoped_lock adding(_adding);
  EntryRef present;
  if (_entries.Find(key, present) && present == entry) _entries.Erase(key);
}

UInt64 MakeParserKey(UInt64 hash, UInt64 kernelIdHash, UInt64 stamp) {
  return AppendToKey(AppendToKey(hash, kernelIdHash), MixKey(stamp));
}

Result<UInt64> MakeSourcesStamp(const Url& file, const BaseArray<Url>& files) {
  OSTRA_ASSIGN_OR_RETURN(UInt64 stamp, GetModificationStamp(file));
  for (const Url& header : files) {
    if (header == file) continue;
    const auto headerStamp = GetModificationStamp(header);
    stamp = AppendToKey(stamp, MixKey(headerStamp ? *headerStamp : 0));
  }
  return stamp;
}

Result<ParsedKernel> ParserCache::Parse(const KernelSource& source, AtomicInt32& lock, SourcesRead* failed) {
  DataDictionary options;
  if (source.templateArgument.IsPopulated())
    OSTRA_RETURN_IF_ERROR(options.Set(kShaderTemplateArgument, source.templateArgument));
  if (source.sampleCount >= 0) OSTRA_RETURN_IF_ERROR(options.Set(kShaderMultisampling, source.sampleCount));
  while (true) {
    OSTRA_ASSIGN_OR_RETURN(const EntryRef entry, Find(source, lock));
    const std::scoped_lock parsing(entry->mutex);
    if (entry->hasFailed) continue;  // while this caller waited; a new parser begins from the beginning
    Result<void> parsed =
        entry->stamp.load() ? Result<void>(OK) : ParseSource(*entry->parser, source, options, entry->reportTable);
    const UInt64 stamp = MakeReadStamp(*entry->parser);
    if (parsed) {
      for (const ShaderMissingHeader& missing : entry->parser->GetPieces().missingHeaders)
        WarningOutput("@:@: warning: the header \"@\" is not found: the GPU goes without it",
                      entry->parser->GetFiles()[missing.origin.file], missing.origin.line, missing.name);
      entry->stamp.store(stamp, std::memory_order_release);
      return ParsedKernel{entry->parser, stamp, entry->reportTable};
    }
    entry->hasFailed = true;
    Forget(source.key, entry, lock);
    if (failed) {
      OSTRA_RETURN_IF_ERROR(failed->files.CopyFrom(entry->parser->GetFiles()));
      failed->stamp = stamp;
    }
    return parsed.TakeError();
  }
}

void ParserCache::Reset() { _entries.Reset(); }
Int ParserCache::GetCount() const { return _entries.GetCount(); }

Result<ParsedKernel> ParseKernel(const KernelSource& source, AtomicInt32& lock, SourcesRead* failed) {
  return g_parsers.Parse(source, lock, failed);
}
void ResetParserCache() { g_parsers.Reset(); }
Int GetCachedParserCount() { return g_parsers.GetCount(); }

}  // namespace ostra
