// GoogleTest matchers for results.
//
//   EXPECT_THAT(program->Reset(), IsOk());
//   EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "no active kernel set"));
//   ASSERT_THAT(program->GetGlobalBufferData("values"_iid), IsErrorOfKind(kOutOfMemoryError));
//
// A mismatch prints the error that came instead. Works for Result<void>, Result<T> and Result<T&>.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <string_view>

#include "ostra/core/error.h"
#include "ostra/core/result.h"
#include "ostra/core/string.h"

namespace ostra {

namespace result_matchers {

inline std::string_view GetKindName(const Id& kind) {
  if (kind == kIllegalStateError) return "illegal state";
  if (kind == kIllegalArgumentError) return "illegal argument";
  if (kind == kOutOfMemoryError) return "out of memory";
  if (kind == kNotImplementedError) return "not implemented";
  return "an error of another kind";
}

// Writes what a result holds; true when it holds an error.
template <class R>
bool DescribeError(const R& result, testing::MatchResultListener& listener) {
  if (result.IsOk()) {
    listener << "which succeeded";
    return false;
  }
  const Error& error = result.GetError();
  if (error.IsTaken()) {
    listener << "whose error was moved away";
    return false;
  }
  listener << "which failed with " << GetKindName(error.GetKind()) << " \"" << error.GetMessage().GetView()
           << "\", raised in " << error.GetUnit() << ":" << error.GetLine();
  return true;
}

}  // namespace result_matchers

// Printed by GoogleTest in front of a mismatch, in place of the bytes of the object.
template <class T>
void PrintTo(const Result<T>& result, std::ostream* out) {
  *out << (result.IsOk() ? "a successful result" : "a failed result");
}

MATCHER(IsOk, negation ? "failed" : "succeeded") {
  if (arg.IsOk()) return true;
  result_matchers::DescribeError(arg, *result_listener);
  return false;
}

MATCHER_P(IsErrorOfKind, kind,
          (negation ? std::string("did not fail with ") : std::string("failed with ")) +
              std::string(result_matchers::GetKindName(kind))) {
  return result_matchers::DescribeError(arg, *result_listener) && arg.GetError().GetKind() == kind;
}

// Kind and whole message.
MATCHER_P2(IsErrorWith, kind, message,
           (negation ? std::string("did not fail with ") : std::string("failed with ")) +
               std::string(result_matchers::GetKindName(kind)) + " \"" + std::string(message) + "\"") {
  return result_matchers::DescribeError(arg, *result_listener) && arg.GetError().GetKind() == kind &&
         arg.GetError().GetMessage().GetView() == std::string_view(message);
}

// Kind and a message that contains `part`.
MATCHER_P2(IsErrorContaining, kind, part,
           (negation ? std::string("did not fail with ") : std::string("failed with ")) +
               std::string(result_matchers::GetKindName(kind)) + " and a text containing \"" + std::string(part) +
               "\"") {
  return result_matchers::DescribeError(arg, *result_listener) && arg.GetError().GetKind() == kind &&
         arg.GetError().GetMessage().GetView().find(std::string_view(part)) != std::string_view::npos;
}

}  // namespace ostra
