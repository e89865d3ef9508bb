#include "parallelprogram/gpu/parser_cache.h"

#include "ostra/core/hash_map.h"
#include "ostra/io/file.h"
#include "parallelprogram/gpu/cache_keys.h"
#include "parallelprogram/module/spin.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

struct CachedParser : RefCounted<CachedParser> {
  CachedParser(StrongRef<ShaderParser> theParser, const String& argument)
      : parser(std::move(theParser)), templateArgument(argument) {}

  const StrongRef<ShaderParser> parser;
  const String templateArgument;
  std::atomic<UInt64> stamp{0};  // 0 until it has parsed
};
using CachedParserRef = StrongRef<CachedParser>;

SynchronizedHashMap<UInt64, CachedParserRef> g_parsers;

Bool IsTargetLanguage(const Id& language) {
  return language == kTargetGlsl || language == kTargetHlsl || language == kTargetMetal;
}

Bool Fits(const CachedParser& cached, const KernelSource& source) {
  if (!(cached.parser->GetTargetLanguage() == source.language)) return false;
  if (!(cached.templateArgument == source.templateArgument)) return false;
  const UInt64 parsed = cached.stamp.load(std::memory_order_acquire);
  if (parsed == 0) return true;
  const auto current = MakeSourcesStamp(source.file, cached.parser->GetFiles());
  return current && *current == parsed;
}

Result<CachedParserRef> Find(const KernelSource& source, AtomicInt32& lock) {
  CachedParserRef known;
  {
    const SpinGuard guard(lock);
    g_parsers.Find(source.key, known);
  }
  // Looking at files takes long, so it happens outside of the lock.
  if (known && Fits(*known, source)) return known;

  if (!IsTargetLanguage(source.language)) return OSTRA_ILLEGAL_STATE("parser could not be build");
  OSTRA_ASSIGN_OR_RETURN(StrongRef<ShaderParser> parser, ShaderParser::Create(source.language));
  CachedParser* cached = NewObj<CachedParser>(std::move(parser), source.templateArgument);
  if (!cached) return OSTRA_OUT_OF_MEMORY();
  const CachedParserRef added = CachedParserRef::Adopt(cached);
  const SpinGuard guard(lock);
  g_parsers.Erase(source.key);
  OSTRA_RETURN_IF_ERROR(g_parsers.Insert(source.key, added));
  return added;
}

}  // namespace

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

Result<ParsedKernel> ParseKernel(const KernelSource& source, AtomicInt32& lock) {
  OSTRA_ASSIGN_OR_RETURN(const CachedParserRef cached, Find(source, lock));
  DataDictionary options;
  if (source.templateArgument.IsPopulated())
    OSTRA_RETURN_IF_ERROR(options.Set(kShaderTemplateArgument, source.templateArgument));
  // A source that would be replaced for ever must not keep a worker for ever.
  if (auto parsed = cached->parser->Init(source.file, options, EndlessSource::Refuse); !parsed) {
    const SpinGuard guard(lock);
    g_parsers.Erase(source.key);
    return parsed.TakeError();
  }
  OSTRA_ASSIGN_OR_RETURN(const UInt64 stamp, MakeSourcesStamp(source.file, cached->parser->GetFiles()));
  cached->stamp.store(stamp, std::memory_order_release);
  return ParsedKernel{cached->parser, stamp};
}

void ResetParserCache() { g_parsers.Reset(); }
Int GetCachedParserCount() { return g_parsers.GetCount(); }

}  // namespace ostra
