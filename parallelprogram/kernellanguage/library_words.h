// Functions of the language that are written in the language itself: their definitions in the plain form. One text is
// what CPU, lanes and all GPUs compute, so results have the same bits where the words in it have.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

struct LibraryFunction {
  std::string_view name;  // ostra_WORD and its parameters, as GetLibraryName says it; other names for parts of several
  std::string_view form;  // as in Word::forms
  std::string_view body;  // lines of the plain form, with the parameters v0, v1, ...
};

inline Bool IsLibraryWord(WordId id) { return id >= kFirstLibraryWord && id < WordId::kCount; }
// Whether a call of the word with a result of this scalar is one of 64-bit integers, which is written here, too.
inline Bool IsLongCall(WordId id, Scalar result) { return IsLongInteger(result) && !GetLongOverloads(id).empty(); }

// Null: there is none. Words of vectors that have none of their own apply that of numbers to each component.
const LibraryFunction* FindLibraryFunction(std::string_view name);

std::span<const LibraryFunction> GetLibraryFunctions();

// Those of exponentials, logarithms, roots and exact arithmetic (library_elementary.cpp).
std::span<const LibraryFunction> GetElementaryFunctions();

}  // namespace ostra::kernellanguage
