#include "ostra/crypt/stream_conversion.h"

#include <algorithm>

#include "ostra/crypt/conversion_base.h"
#include "ostra/crypt/crypto_key.h"
#include "ostra/crypt/host_classes.h"
#include "ostra/object/host_classes.h"

OSTRA_UNIT("streamconversion");

namespace ostra {
namespace {

constexpr Result<ClassRef> (*kClasses[])() = {&MakeHashSha256Class, &MakeHashHmacClass, &MakeCryptoKeyClass,
                                              &MakeAesDecoderClass, &MakeAesEncoderClass};

Block<Byte> GetPart(Block<Byte> block, Int start, Int count) {
  if (start >= block.GetCount()) return {};
  return {block.GetFirst() + start, std::min(count, block.GetCount() - start)};
}

}  // namespace

Result<void> RegisterConversions() {
  static_cast<void>(GetDataType<CryptoKeyRef>());
  static_cast<void>(GetDataType<Array<Byte>>());
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, FindOrDeclareRegistry(kStreamConversionRegistry));
  for (const auto make : kClasses) {
    OSTRA_ASSIGN_OR_RETURN(const ClassRef conversion, make());
    OSTRA_RETURN_IF_ERROR(InsertOnce(registry, conversion));
  }
  return OK;
}

Result<ClassRef> FindConversionClass(const Id& id) {
  OSTRA_ASSIGN_OR_RETURN(const ClassRegistry& registry, ClassRegistry::Find(kStreamConversionRegistry));
  auto conversion = registry.FindEntryValue(id);
  if (conversion || conversion.GetError().GetKind() == kOutOfMemoryError) return conversion;
  return OSTRA_ILLEGAL_ARGUMENT("Factory is nullptr.");
}

Result<StreamConversionRef> CreateStreamConversion(const Id& id, const DataDictionary& settings) {
  OSTRA_ASSIGN_OR_RETURN(const ClassRef conversionClass, FindConversionClass(id));
  OSTRA_ASSIGN_OR_RETURN(StreamConversionRef conversion, conversionClass->CreateObject<StreamConversionInterface>());
  OSTRA_RETURN_IF_ERROR(conversion->Init(settings));
  return conversion;
}

Result<void> CheckSourceSize(const StreamConversionInterface& conversion, Int size) {
  if (size % conversion.GetBlockSize() == 0) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("source size @ must be a multiple of @.", size, conversion.GetBlockSize());
}

Result<void> ConvertStream(StreamConversionInterface& conversion, Block<const Byte> source, Block<Byte> target) {
  OSTRA_RETURN_IF_ERROR(CheckSourceSize(conversion, source.GetCount()));
  for (Int done = 0; done < source.GetCount(); done += kStreamPieceSize) {
    const Int count = std::min(kStreamPieceSize, source.GetCount() - done);
    const Block<const Byte> piece(source.GetFirst() + done, count);
    OSTRA_RETURN_IF_ERROR(conversion.Convert(piece, GetPart(target, done, count)));
  }
  return OK;
}

}  // namespace ostra
