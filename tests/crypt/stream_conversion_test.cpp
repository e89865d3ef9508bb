// What all conversions have in common: their registry, the order of calls, what happens when memory runs out.
#include "ostra/object/class.h"
#include "ostra/object/framework.h"
#include "tests/crypt/conversions.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"
#include "tests/support/texts.h"

namespace ostra {
namespace {

DataDictionary MakeAllSettings() {
  DataDictionary settings = MakeHmacSettings(std::string(16, 'k'));
  const auto key = CreateCryptoKey(BytesOf(std::string(16, 'k')), BytesOf(std::string(16, 'v')), 128);
  EXPECT_THAT(settings.Set(kAesKey, CryptoKeyRef(*key)), IsOk());
  return settings;
}

const Id kConversions[] = {kHashSha256, kHashHmac, kAesDecoder, kAesEncoder};

// Takes a class out of the registry as long as it lives.
class MissingFactory {
 public:
  explicit MissingFactory(const Id& id) : _registry(*ClassRegistry::Find(kStreamConversionRegistry)) {
    _class = _registry.FindEntryValue(id).GetValue();
    EXPECT_TRUE(_registry.Erase(id));
  }
  ~MissingFactory() { EXPECT_THAT(_registry.Insert(_class), IsOk()); }
  MissingFactory(const MissingFactory&) = delete;
  MissingFactory& operator=(const MissingFactory&) = delete;

 private:
  ClassRegistry& _registry;
  ClassRef _class;
};

// A conversion that notes how many bytes each call brings.
class CountingConversion final : public Component<CountingConversion, StreamConversionInterface> {
 public:
  static constexpr const char* kComponentName = "CountingConversion";
  static inline std::vector<Int> sizes;

  Result<void> Init(const DataDictionary&) final { return OK; }
  Int GetBlockSize() const final { return 1; }
  Int GetResultSize() const final { return 0; }
  Result<void> Convert(Block<const Byte> source, Block<Byte>) final {
    sizes.push_back(source.GetCount());
    return OK;
  }
  Result<void> Finish(Block<Byte>) final { return OK; }
};

TEST(StreamConversionTest, TheRegistryHoldsExactlyTheKnownClasses) {
  const auto registry = ClassRegistry::Find("net.ostra.registry.streamconversions"_id);
  ASSERT_THAT(registry, IsOk());
  const auto ids = registry->GetIds();
  ASSERT_THAT(ids, IsOk());
  EXPECT_THAT(GetTexts(*ids),
              testing::ElementsAre("net.ostra.streamconversion.aes.decoder", "net.ostra.streamconversion.aes.encoder",
                                   "net.ostra.streamconversion.cryptokey", "net.ostra.streamconversion.hashhmac",
                                   "net.ostra.streamconversion.hashsha256"));
}

TEST(StreamConversionTest, StreamsAreFedInPiecesAndAShortRest) {
  const Id id = "net.ostra.test.streamconversion.counting"_id;
  const auto countingClass = Class::Create<CountingConversion>(id);
  ASSERT_THAT(countingClass, IsOk());
  auto registry = ClassRegistry::Find(kStreamConversionRegistry);
  ASSERT_THAT(registry->Insert(*countingClass), IsOk());
  CountingConversion::sizes.clear();
  {
    const auto conversion = CreateStreamConversion(id);
    ASSERT_THAT(conversion, IsOk());
    EXPECT_THAT(ConvertStream(**conversion, BytesOf(std::string(65537, 'x')), {}), IsOk());
    EXPECT_THAT(CountingConversion::sizes, testing::ElementsAre(65536, 1));
    CountingConversion::sizes.clear();
    EXPECT_THAT(ConvertStream(**conversion, BytesOf(std::string(65536, 'x')), {}), IsOk());
    EXPECT_THAT(CountingConversion::sizes, testing::ElementsAre(65536));
  }
  EXPECT_TRUE(registry->Erase(id));
}

TEST(StreamConversionTest, AMissingFactorySaysSo) {
  const DataDictionary settings = MakeAllSettings();
  EXPECT_THAT(CreateStreamConversion("net.ostra.streamconversion.zip"_id, settings),
              IsErrorWith(kIllegalArgumentError, "Factory is nullptr."));
  for (const Id& id : kConversions) {
    const MissingFactory missing(id);
    EXPECT_THAT(CreateStreamConversion(id, settings), IsErrorWith(kIllegalArgumentError, "Factory is nullptr."));
  }
  const MissingFactory missing(kCryptoKey);
  const std::string bytes(16, 'k');
  EXPECT_THAT(CreateCryptoKey(BytesOf(bytes), BytesOf(bytes), 128),
              IsErrorWith(kIllegalArgumentError, "Factory is nullptr."));
}

TEST(StreamConversionTest, TheKeyIsNoConversion) {
  EXPECT_THAT(CreateStreamConversion(kCryptoKey),
              IsErrorContaining(kIllegalArgumentError, "net.ostra.interface.streamconversion"));
}

TEST(StreamConversionTest, CallsOutOfOrderAreRefused) {
  const auto registry = ClassRegistry::Find(kStreamConversionRegistry);
  const DataDictionary settings = MakeAllSettings();
  for (const Id& id : kConversions) {
    SCOPED_TRACE(id.GetView());
    const StreamConversionRef conversion =
        (*registry->FindEntryValue(id))->CreateObject<StreamConversionInterface>().GetValue();
    std::string bytes(32, 'x');
    const Block<Byte> target = WritableBytesOf(bytes);
    EXPECT_THAT(conversion->Convert(BytesOf(bytes), target),
                IsErrorWith(kIllegalStateError, "The stream conversion was not initialized."));
    EXPECT_THAT(conversion->Finish(target),
                IsErrorWith(kIllegalStateError, "The stream conversion was not initialized."));
    ASSERT_THAT(conversion->Init(settings), IsOk());
    EXPECT_THAT(conversion->Init(settings),
                IsErrorWith(kIllegalStateError, "The stream conversion was initialized already."));
    EXPECT_THAT(conversion->Convert(BytesOf(bytes), target), IsOk());
    EXPECT_THAT(conversion->Finish(target), IsOk());
    EXPECT_THAT(conversion->Convert(BytesOf(bytes), target),
                IsErrorWith(kIllegalStateError, "The stream was finished already."));
    EXPECT_THAT(conversion->Finish(target), IsErrorWith(kIllegalStateError, "The stream was finished already."));
  }
}

TEST(StreamConversionTest, AFailedInitCanBeRepeated) {
  const auto registry = ClassRegistry::Find(kStreamConversionRegistry);
  const StreamConversionRef conversion =
      (*registry->FindEntryValue(kHashHmac))->CreateObject<StreamConversionInterface>().GetValue();
  EXPECT_THAT(conversion->Init({}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(conversion->Init(MakeAllSettings()), IsOk());
}

TEST(StreamConversionTest, AHashNeedsRoomForItsValue) {
  for (const Id& id : {kHashSha256, kHashHmac}) {
    const auto conversion = CreateStreamConversion(id, MakeAllSettings());
    ASSERT_THAT(conversion, IsOk());
    std::string value(31, '.');
    EXPECT_THAT((*conversion)->Finish(WritableBytesOf(value)),
                IsErrorWith(kIllegalArgumentError, "The target of a stream conversion is too small."));
    EXPECT_EQ(value, std::string(31, '.'));
    value.resize(40, '.');
    EXPECT_THAT((*conversion)->Finish(WritableBytesOf(value)), IsOk());
    EXPECT_EQ(value.substr(32), "........");
  }
}

TEST(StreamConversionTest, ConversionsAreNotCopied) {
  const DiagnosticRecorder diagnostics;
  for (const Id& id : kConversions) {
    const auto conversion = CreateStreamConversion(id, MakeAllSettings());
    ASSERT_THAT(conversion, IsOk());
    EXPECT_THAT((*conversion)->CopyFrom(**conversion), IsErrorOfKind(kNotImplementedError));
  }
  EXPECT_EQ(diagnostics.GetLines().size(), 4u);
}

TEST(StreamConversionTest, EveryAllocationMayFail) {
  const Int failures = ExpectEveryAllocationFailureIsReported([]() -> Result<void> {
    const std::string bytes(64, 'x');
    OSTRA_ASSIGN_OR_RETURN(const CryptoKeyRef key,
                           CreateCryptoKey({BytesOf(bytes).GetFirst(), 16}, {BytesOf(bytes).GetFirst(), 16}, 128));
    DataDictionary settings;
    OSTRA_RETURN_IF_ERROR(settings.Set(kAesKey, key));
    OSTRA_RETURN_IF_ERROR(settings.Set(kHmacBaseAlgorithm, Id(kHashSha256)));
    BaseArray<Byte> keyBytes;
    OSTRA_RETURN_IF_ERROR(keyBytes.Resize(16));
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> array, NewBaseArray(GenericBaseArray(std::move(keyBytes))));
    OSTRA_RETURN_IF_ERROR(settings.Set(kHmacKey, Array<Byte>(array.GetReference())));
    for (const Id& id : kConversions) {
      OSTRA_ASSIGN_OR_RETURN(const StreamConversionRef conversion, CreateStreamConversion(id, settings));
      std::string target = bytes;
      OSTRA_RETURN_IF_ERROR(ConvertStream(*conversion, BytesOf(bytes), WritableBytesOf(target)));
      OSTRA_RETURN_IF_ERROR(conversion->Finish(WritableBytesOf(target)));
    }
    return OK;
  });
  EXPECT_GE(failures, 10);
}

TEST(StreamConversionTest, OnceMadeAConversionAllocatesNothing) {
  const auto conversion = CreateStreamConversion(kAesDecoder, MakeAllSettings());
  ASSERT_THAT(conversion, IsOk());
  std::string bytes(1 << 20, 'x');
  const Int before = AllocationFaults::GetCount();
  ASSERT_THAT(ConvertStream(**conversion, BytesOf(bytes), WritableBytesOf(bytes)), IsOk());
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

TEST(StreamConversionTest, TheFrameworkOfTheRoomIsPublishedByTheHost) {
  ASSERT_THAT(Frameworks::PublishHostFrameworks(), IsOk());
  EXPECT_TRUE(Frameworks::IsPublished("net.ostra.crypt.framework"_id));
  Frameworks::WithdrawHostFrameworks();
}

}  // namespace
}  // namespace ostra
