#include "ostra/io/url.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "ostra/core/memory.h"

namespace ostra {
namespace {

Url MakeUrl(std::string_view text) { return Url::Create(text).GetValue(); }

std::string TextOf(const Url& url) { return std::string(url.GetView()); }

// Paths of the kind people write: dots at odd places, dotted names, schemes, absolute and relative.
class UrlGenerator {
 public:
  std::string MakeName() {
    static constexpr const char* kPieces[] = {"a", "blur", ".", "..", "net.example.", "_gpu", "krn", " ", "\xC3\xA4"};
    std::string name;
    for (std::size_t i = Pick(4) + 1; i > 0; --i) name += kPieces[Pick(std::size(kPieces))];
    return name;
  }
  Url MakeUrlWithName() {
    static constexpr const char* kStarts[] = {"", "/", "relative://", "file:///", "http://"};
    std::string text = kStarts[Pick(std::size(kStarts))];
    for (std::size_t i = Pick(3); i > 0; --i) text += MakeName() + "/";
    return MakeUrl(text + MakeName());
  }

 private:
  std::size_t Pick(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(_random); }
  std::mt19937 _random{7};
};

constexpr int kRounds = 2000;

TEST(UrlTest, TakingTheSuffixOffAndPuttingItBackLeavesTheUrlUnchanged) {
  UrlGenerator generator;
  for (int round = 0; round < kRounds; ++round) {
    const Url url = generator.MakeUrlWithName();
    Url changed = url;
    const String suffix = changed.GetSuffix();
    changed.ClearSuffix();
    ASSERT_EQ(changed.GetView().size() + (suffix.IsEmpty() ? 0 : 1) + suffix.GetView().size(), url.GetView().size());
    ASSERT_TRUE(changed.SetSuffix(suffix).IsOk());
    ASSERT_EQ(TextOf(changed), TextOf(url));
  }
}

TEST(UrlTest, DirectoryPlusNameIsTheUrl) {
  UrlGenerator generator;
  for (int round = 0; round < kRounds; ++round) {
    const Url url = generator.MakeUrlWithName();
    ASSERT_EQ(TextOf((url.GetDirectory() + url.GetName().GetView()).GetValue()), TextOf(url));
  }
}

TEST(UrlTest, ANameThatWasSetIsTheNameAndKeepsTheDirectory) {
  UrlGenerator generator;
  for (int round = 0; round < kRounds; ++round) {
    Url url = generator.MakeUrlWithName();
    const Url directory = url.GetDirectory();
    const std::string name = generator.MakeName();
    ASSERT_TRUE(url.SetName(name).IsOk());
    ASSERT_EQ(url.GetName(), name.c_str());
    ASSERT_EQ(TextOf(url.GetDirectory()), TextOf(directory));
  }
}

TEST(UrlTest, ASuffixThatWasSetIsTheSuffixOfAnyName) {
  UrlGenerator generator;
  for (int round = 0; round < kRounds; ++round) {
    Url url = generator.MakeUrlWithName();
    ASSERT_TRUE(url.SetSuffix("krn").IsOk());
    ASSERT_EQ(url.GetSuffix(), "krn") << TextOf(url);
  }
}

TEST(UrlTest, AppendingIsAssociativeAndTheEmptyUrlAddsNothing) {
  UrlGenerator generator;
  for (int round = 0; round < kRounds; ++round) {
    const Url a = generator.MakeUrlWithName(), b = generator.MakeUrlWithName(), c = generator.MakeUrlWithName();
    const Url left = ((a + b).GetValue() + c).GetValue();
    const Url right = (a + (b + c).GetValue()).GetValue();
    ASSERT_EQ(TextOf(left), TextOf(right));
    ASSERT_EQ((a + Url()).GetValue(), a);
    ASSERT_EQ((Url() + a).GetValue(), a);
  }
}

TEST(UrlTest, EqualUrlsHaveEqualHashes) {
  EXPECT_EQ(MakeUrl("a/b.krn"), MakeUrl("a/b.krn/"));
  EXPECT_EQ(MakeUrl("a/b.krn").GetHashCode(), MakeUrl("a/b.krn/").GetHashCode());
  EXPECT_FALSE(MakeUrl("a/b.krn") == MakeUrl("a/B.krn"));
  EXPECT_NE(MakeUrl("a/b.krn").GetHashCode(), MakeUrl("a/B.krn").GetHashCode());
}

TEST(UrlTest, AnEmptyUrlHasNoParts) {
  Url url;
  EXPECT_TRUE(url.IsEmpty());
  EXPECT_TRUE(url.GetName().IsEmpty());
  EXPECT_TRUE(url.GetSuffix().IsEmpty());
  EXPECT_TRUE(url.GetScheme().IsEmpty());
  EXPECT_TRUE(url.GetDirectory().IsEmpty());
  url.ClearSuffix();
  EXPECT_TRUE(url.IsEmpty());
}

TEST(UrlTest, TheSchemeIsFileUnlessTheTextNamesOne) {
  EXPECT_EQ(MakeUrl("a/b").GetScheme(), "file");
  EXPECT_EQ(MakeUrl("file:///a/b").GetPath(), "/a/b");
  EXPECT_EQ(MakeUrl("relative://x.krn").GetScheme(), "relative");
  EXPECT_EQ(MakeUrl("relative://x.krn").GetPath(), "x.krn");
  EXPECT_EQ(MakeUrl("odd/name://x").GetScheme(), "file");
  EXPECT_EQ(MakeUrl("://x").GetScheme(), "file");
}

TEST(UrlTest, NamesAreTheLastComponent) {
  EXPECT_EQ(MakeUrl("/shaders/net.example.blur.krn").GetName(), "net.example.blur.krn");
  EXPECT_EQ(MakeUrl("relative://blur.krn").GetName(), "blur.krn");
  EXPECT_EQ(MakeUrl("folder/").GetName(), "folder");
  EXPECT_EQ(MakeUrl("/").GetName(), "");
  EXPECT_EQ(TextOf(MakeUrl("/").GetDirectory()), "/");
  EXPECT_EQ(TextOf(MakeUrl("relative://blur.krn").GetDirectory()), "relative://");
}

TEST(UrlTest, ADotAtTheStartOrAtTheEndOfANameMakesNoSuffix) {
  EXPECT_EQ(MakeUrl("a/.profile").GetSuffix(), "");
  EXPECT_EQ(MakeUrl("a/b.").GetSuffix(), "");
  EXPECT_EQ(MakeUrl("a.b/c").GetSuffix(), "");
  EXPECT_EQ(MakeUrl("a.b/c.d.e").GetSuffix(), "e");
}

TEST(UrlTest, TheVariantForTheOtherDeviceKeepsTheWholeDottedName) {
  Url url = MakeUrl("shaders/net.example.blur.krn");
  const String suffix = url.GetSuffix();
  url.ClearSuffix();
  ASSERT_TRUE(url.SetName(Format("@_gpu", url.GetName()).GetValue()).IsOk());
  ASSERT_TRUE(url.SetSuffix(suffix).IsOk());
  EXPECT_EQ(TextOf(url), "shaders/net.example.blur_gpu.krn");
}

TEST(UrlTest, NamesAndSuffixesThatWouldChangeTheStructureAreRefused) {
  Url url = MakeUrl("a/b.krn");
  for (const char* name : {"", "x/y", "/"}) EXPECT_EQ(url.SetName(name).GetError().GetKind(), kIllegalArgumentError);
  for (const char* suffix : {".krn", "x/y", "tar.gz"})
    EXPECT_EQ(url.SetSuffix(suffix).GetError().GetKind(), kIllegalArgumentError) << suffix;
  EXPECT_EQ(TextOf(url), "a/b.krn");
  EXPECT_EQ(MakeUrl("relative://").SetSuffix("krn").GetError().GetKind(), kIllegalStateError);
}

TEST(UrlTest, OnlyTheRelativeSchemeIsResolvedAgainstTheResources) {
  const Url resources = MakeUrl("/opt/app/resource");
  EXPECT_EQ(TextOf(ResolveUrl(resources, MakeUrl("relative://a/b.krn")).GetValue()),
            "/opt/app/resource/shaders/a/b.krn");
  EXPECT_EQ(TextOf(ResolveUrl(resources, MakeUrl("relative:///b.krn")).GetValue()), "/opt/app/resource/shaders/b.krn");
  EXPECT_EQ(TextOf(ResolveUrl(Url(), MakeUrl("relative://b.krn")).GetValue()), "shaders/b.krn");
  for (const char* text : {"b.krn", "/b.krn", "file:///b.krn", ""})
    EXPECT_EQ(TextOf(ResolveUrl(resources, MakeUrl(text)).GetValue()), text);
}

TEST(UrlTest, AFailedAllocationIsReportedAndLeavesTheUrlUnchanged) {
  Url url = MakeUrl("folder/b.krn");
  const Url other = MakeUrl("c.krn");
  const auto expectFailure = [&](auto operation) {
    AllocationFaults::FailNth(1);
    const auto result = operation();
    AllocationFaults::Disable();
    ASSERT_FALSE(result.IsOk());
    EXPECT_EQ(result.GetError().GetKind(), kOutOfMemoryError);
    EXPECT_EQ(TextOf(url), "folder/b.krn");
  };
  expectFailure([&] { return url.SetName("d"); });
  expectFailure([&] { return url.SetSuffix("d"); });
  expectFailure([&] { return url + other; });
  expectFailure([&] { return Url::Create("x"); });
  expectFailure([&] { return ResolveUrl(url, Url("relative://x"_s)); });
}

}  // namespace
}  // namespace ostra
