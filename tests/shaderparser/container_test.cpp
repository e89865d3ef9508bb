// The encoded container: its layout byte for byte, every damage, every padding.
#include "parallelprogram/shaderparser/container.h"

#include <atomic>
#include <thread>
#include <vector>

#include "ostra/crypt/stream_conversion.h"
#include "ostra/object/class.h"
#include "tests/support/bytes.h"
#include "tests/support/container_reference.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

constexpr std::string_view kSalt = "0123456789abcdef";

std::string Encode(std::string_view text, std::string_view salt = kSalt) {
  const auto container = EncodeContainer(BytesOf(text), BytesOf(salt));
  EXPECT_THAT(container, IsOk());
  return container ? TextOf(*container) : "";
}

// The text, or the error's message in angles.
std::string Decode(std::string_view container) {
  BaseArray<Byte> bytes = ArrayOf(container);
  const auto decoded = DecodeContainer(bytes);
  if (decoded) return TextOf(bytes);
  return std::string("<").append(decoded.GetError().GetMessage().GetView()).append(">");
}

Result<void> DecodeBytes(std::string_view container) {
  BaseArray<Byte> bytes = ArrayOf(container);
  return DecodeContainer(bytes);
}

TEST(ContainerTest, PlainFilesStayAsTheyAre) {
  const std::string texts[] = {"", "e", "encode", "Encoded", " encoded", "encode\0d", "// a kernel\n"};
  for (const std::string& text : texts) {
    EXPECT_EQ(Decode(text), text);
    EXPECT_FALSE(IsContainer(BytesOf(text))) << text;
  }
  EXPECT_TRUE(IsContainer(BytesOf("encoded")));
  EXPECT_TRUE(IsContainer(BytesOf("encoded things")));
}

TEST(ContainerTest, APlainFileThatStartsLikeAContainerIsTakenForOne) {
  EXPECT_THAT(DecodeBytes("encoded"), IsErrorWith(kIllegalArgumentError, "hmac different"));
  EXPECT_THAT(DecodeBytes("encoded by hand, says this comment, which is long enough to reach behind the head."),
              IsErrorWith(kIllegalArgumentError, "hmac different"));
}

TEST(ContainerTest, AContainerIsLaidOutAsDescribed) {
  const std::string container = Encode("a kernel");
  ASSERT_EQ(container.size(), 55u + 16u);
  EXPECT_EQ(container.substr(0, 7), "encoded");
  EXPECT_EQ(container.substr(39, 16), kSalt);
  EXPECT_EQ(ToHex(container), ToHex(reference::MakeContainer(kSalt, "a kernel")));
}

// Written down once, made with other tools: a file that was shipped must be readable for ever.
constexpr const char* kKnownContainer =
    "656e636f646564"
    "e79beb5ebbcd5faebe44736c1ffe2fb0d4c90f053cfda6bd7160ce61aa1c7a5e"
    "30313233343536373839616263646566d3d55f936f2df8a2128961af334c9523";

TEST(ContainerTest, AContainerOfLongAgoIsStillRead) {
  EXPECT_EQ(Decode(FromHex(kKnownContainer)), "// known\n");
  EXPECT_EQ(ToHex(Encode("// known\n")), kKnownContainer);
}

TEST(ContainerTest, EveryLengthFrom0To1000ComesBack) {
  for (std::size_t size = 0; size <= 1000; ++size) {
    const std::string text = MakeRandomBytes(size, static_cast<unsigned>(size));
    const auto container = EncodeContainer(BytesOf(text));
    ASSERT_THAT(container, IsOk()) << size;
    ASSERT_EQ(container->GetCount(), 55 + static_cast<Int>(size / 16 + 1) * 16);
    ASSERT_TRUE(Decode(TextOf(*container)) == text) << size;
    ASSERT_TRUE(Decode(reference::MakeContainer(kSalt, text)) == text) << size;
    ASSERT_TRUE(Encode(text) == reference::MakeContainer(kSalt, text)) << size;
  }
}

TEST(ContainerTest, TextsOfSeveralPiecesComeBack) {
  for (const Int size : {kStreamPieceSize - 1, kStreamPieceSize, kStreamPieceSize + 1, 3 * kStreamPieceSize + 12345}) {
    const std::string text = MakeRandomBytes(static_cast<std::size_t>(size), 3);
    EXPECT_TRUE(Decode(Encode(text)) == text) << size;
    EXPECT_TRUE(Decode(reference::MakeContainer(kSalt, text)) == text) << size;
  }
}

TEST(ContainerTest, TheSameTextIsEncodedDifferentlyEachTime) {
  const auto first = EncodeContainer(BytesOf("text")), second = EncodeContainer(BytesOf("text"));
  ASSERT_THAT(first, IsOk());
  ASSERT_THAT(second, IsOk());
  EXPECT_NE(TextOf(*first).substr(39), TextOf(*second).substr(39));
}

TEST(ContainerTest, AContainerMayHoldAContainer) {
  const std::string inner = Encode("text");
  EXPECT_EQ(Decode(Encode(inner)), inner);
}

TEST(ContainerTest, AContainerThatIsCutAnywhereIsRefused) {
  const std::string container = Encode("a text of some length, so that there are three blocks");
  for (std::size_t size = kContainerTagStart; size < container.size(); ++size)
    ASSERT_THAT(DecodeBytes(container.substr(0, size)), IsErrorWith(kIllegalArgumentError, "hmac different")) << size;
  // Cut inside of the mark it is not known as a container.
  for (std::size_t size = 0; size < kContainerTagStart; ++size)
    ASSERT_EQ(Decode(container.substr(0, size)), container.substr(0, size));
}

TEST(ContainerTest, EveryFlippedBitBehindTheMarkIsNoticedAndLeavesTheBytesAlone) {
  const std::string container = Encode("two blocks of text: here");
  for (std::size_t bit = 8 * kContainerTagStart; bit < 8 * container.size(); ++bit) {
    std::string changed = container;
    changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
    BaseArray<Byte> bytes = ArrayOf(changed);
    ASSERT_THAT(DecodeContainer(bytes), IsErrorWith(kIllegalArgumentError, "hmac different")) << bit;
    ASSERT_EQ(TextOf(bytes), changed) << bit;
  }
}

TEST(ContainerTest, AFlippedBitInTheMarkMakesAPlainFile) {
  const std::string container = Encode("text");
  for (std::size_t bit = 0; bit < 8 * kContainerTagStart; ++bit) {
    std::string changed = container;
    changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
    ASSERT_EQ(Decode(changed), changed);
  }
}

TEST(ContainerTest, BytesThatWereAddedAreNoticed) {
  const std::string container = Encode("text");
  for (const std::size_t count : {1u, 15u, 16u, 100u})
    EXPECT_EQ(Decode(container + std::string(count, 'x')), "<hmac different>") << count;
}

TEST(ContainerTest, AHeadThatIsTooShortForItsSaltHasNoTagThatFits) {
  for (std::size_t size = 0; size < kSalt.size(); ++size)
    EXPECT_EQ(Decode(reference::SealContainer(kSalt.substr(0, size), "")), "<hmac different>") << size;
}

TEST(ContainerTest, AContainerWithoutBlocksIsRefused) {
  EXPECT_THAT(DecodeBytes(reference::SealContainer(kSalt, "")),
              IsErrorWith(kIllegalArgumentError, "The container holds no text."));
}

TEST(ContainerTest, CipherTextThatIsNoWholeBlocksIsRefused) {
  for (const std::size_t size : {1u, 15u, 17u, 31u, 70001u}) {
    const std::string container = reference::SealContainer(kSalt, std::string(size, 'x'));
    BaseArray<Byte> bytes = ArrayOf(container);
    EXPECT_THAT(DecodeContainer(bytes), IsErrorWith(kIllegalArgumentError, "source size " + std::to_string(size) +
                                                                               " must be a multiple of 16."));
    EXPECT_TRUE(TextOf(bytes) == container);
  }
}

TEST(ContainerTest, AsManyBytesAsTheLastOneSaysAreRemovedAndNotLookedAt) {
  for (int count = 1; count <= 127; ++count) {
    std::string text = MakeRandomBytes(160, 9);
    text.back() = static_cast<char>(count);
    EXPECT_EQ(Decode(reference::MakePaddedContainer(kSalt, text)),
              text.substr(0, text.size() - static_cast<unsigned>(count)));
  }
}

TEST(ContainerTest, AZeroAtTheEndRemovesNothingAndStays) {
  const std::string text = std::string("fifteen bytes..") + '\0';
  EXPECT_EQ(Decode(reference::MakePaddedContainer(kSalt, text)), text);
}

TEST(ContainerTest, ThePaddingMayBeTheWholeText) {
  EXPECT_EQ(Decode(reference::MakePaddedContainer(kSalt, std::string(16, '\x10'))), "");
  EXPECT_EQ(Decode(reference::MakePaddedContainer(kSalt, std::string(32, '\x20'))), "");
}

TEST(ContainerTest, MorePaddingThanTextIsTheErrorOfTheArray) {
  for (const int count : {17, 32, 127})
    EXPECT_THAT(DecodeBytes(reference::MakePaddedContainer(kSalt, std::string(16, static_cast<char>(count)))),
                IsErrorWith(kIllegalArgumentError, "An array cannot have a negative count."));
}

TEST(ContainerTest, ALastByteFrom128OnIsMoreThanAnyText) {
  for (int last = 128; last <= 255; ++last) {
    std::string text(512, 'x');
    text.back() = static_cast<char>(last);
    EXPECT_THAT(DecodeBytes(reference::MakePaddedContainer(kSalt, text)),
                IsErrorWith(kIllegalArgumentError, "An array cannot have a negative count."))
        << last;
  }
}

TEST(ContainerTest, ASaltHas16Bytes) {
  for (const std::size_t size : {0u, 15u, 17u})
    EXPECT_THAT(
        EncodeContainer(BytesOf("text"), BytesOf(std::string(size, 's'))),
        IsErrorWith(kIllegalArgumentError, "The salt of a container has 16 bytes, not " + std::to_string(size) + "."));
}

TEST(ContainerTest, AMissingConversionSaysSo) {
  auto registry = ClassRegistry::Find(kStreamConversionRegistry);
  const std::string container = Encode("text");
  for (const Id& id : {kHashSha256, kHashHmac, kCryptoKey, kAesDecoder}) {
    const ClassRef conversion = registry->FindEntryValue(id).GetValue();
    ASSERT_TRUE(registry->Erase(id));
    EXPECT_THAT(DecodeBytes(container), IsErrorWith(kIllegalArgumentError, "Factory is nullptr.")) << id.GetView();
    EXPECT_EQ(Decode("a plain file"), "a plain file");
    ASSERT_THAT(registry->Insert(conversion), IsOk());
  }
  EXPECT_EQ(Decode(container), "text");
}

TEST(ContainerTest, EveryAllocationMayFail) {
  const std::string text = MakeRandomBytes(100, 1);
  const std::string container = Encode(text);
  EXPECT_GE(ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
              OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> encoded, EncodeContainer(BytesOf(text), BytesOf(kSalt)));
              EXPECT_TRUE(TextOf(encoded) == container);
              return OK;
            }),
            8);
  EXPECT_GE(ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
              BaseArray<Byte> bytes;
              OSTRA_RETURN_IF_ERROR(bytes.Resize(static_cast<Int>(container.size())));
              MemCopy(bytes.GetFirst(), container.data(), bytes.GetCount());
              const auto decoded = DecodeContainer(bytes);
              EXPECT_TRUE(TextOf(bytes) == (decoded ? text : container));
              return decoded;
            }),
            8);
}

TEST(ContainerTest, ManyThreadsDecodeAtOnce) {
  const std::string text = MakeRandomBytes(100000, 1), container = Encode(text);
  std::vector<std::thread> threads;
  std::atomic<int> rightCount = 0;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&] {
      for (int round = 0; round < 20; ++round) rightCount += Decode(container) == text;
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(rightCount, 160);
}

TEST(ContainerTest, DecodingNeedsNoSecondCopyOfTheText) {
  BaseArray<Byte> bytes = ArrayOf(Encode(MakeRandomBytes(1 << 20, 1)));
  const Byte* before = bytes.GetFirst();
  ASSERT_THAT(DecodeContainer(bytes), IsOk());
  EXPECT_EQ(bytes.GetFirst(), before);
  EXPECT_EQ(bytes.GetCount(), 1 << 20);
}

}  // namespace
}  // namespace ostra
