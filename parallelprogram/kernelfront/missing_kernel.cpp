#include "parallelprogram/kernelfront/missing_kernel.h"

#include <algorithm>

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernelfront {
namespace {

// How kernels begin in other languages.
constexpr std::string_view kOtherBeginnings[] = {"__kernel", "__global__", "kernel", "numthreads", "main"};

// The word of the language that a misspelt beginning of a kernel is; empty for any other word.
std::string_view FindBeginning(std::string_view word) {
  constexpr Int kMaxDistance = 4;
  NearestWord nearest(word, kMaxDistance);
  nearest.Try("OSTRA_PARALLEL_KERNEL");
  return kernellanguage::FindWord(word) ? std::string_view() : nearest.Get();
}

void FailForMisspeltStart(const EditedText& text) {
  for (const Token& token : text.GetTokens()) {
    const std::string_view word = text.GetText(token);
    if (const std::string_view beginning = FindBeginning(word); !beginning.empty())
      Fail(text, token, Join({"unknown word \"", word, "\"; did you mean \"", beginning, "\"?"}));
  }
}

}  // namespace

void FailForMissingKernel(const EditedText& text) {
  const auto& tokens = text.GetTokens();
  FailForMisspeltStart(text);
  const std::string message = Join({"the file has no kernel: ", kHowToWriteAKernel});
  for (const Token& token : tokens) {
    const std::string_view word = text.GetText(token);
    if (std::find(std::begin(kOtherBeginnings), std::end(kOtherBeginnings), word) != std::end(kOtherBeginnings))
      Fail(text, token, message);
  }
  Fail(text.GetSource(), tokens.empty() ? 0 : tokens.back().begin, message);
}

void FailForMissingStart(const EditedText& text, const Token& end) {
  FailForMisspeltStart(text);
  Fail(text, end, Join({"the kernel that ends here has no start: ", kHowToWriteAKernel}));
}

}  // namespace ostra::kernelfront
