// Files that are written under a temporary name, removed if the process ends before they are whole.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Removes the files of all UnfinishedFile objects. May be called in a signal handler, and allocates nothing: a program
// that ends by a signal calls it first.
OSTRA_API void RemoveUnfinishedFiles();

// A file of this name goes with the process while the object lives. When very many are written at once some of them are
// not remembered, as is a path beyond PATH_MAX.
class OSTRA_API UnfinishedFile {
 public:
  explicit UnfinishedFile(const char* path);
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
  ~UnfinishedFile();

 private:
  Int _slot;  // -1: not remembered
};

}  // namespace ostra
