// ContentStore: a folder of results that can be made again, found by a key of what they were made from.
//
//   ContentKey key;
//   key.Add(sourceText);
//   OSTRA_ASSIGN_OR_RETURN(ContentStore store, ContentStore::Open(folder, 64 << 20));
//   OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> known, store.Load(key));      // empty when there is nothing
//   store.Save(key, made.GetBlock());
//
// Several processes may use one folder. Files that are damaged, of another version or of another key count as absent.
// Only what this user or the superuser wrote is used: folders are made for the owner alone, a folder that another user
// owns or may write to is refused, and such a file counts as absent, with a warning (ostra/io/private_files.h).
// When the folder grows beyond its limit, what was not used for longest goes. Thread-safe.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"

namespace ostra {

// 128 bits for a series of texts and numbers; equal for equal series only, with overwhelming probability.
class OSTRA_API ContentKey {
 public:
  // The boundaries of texts count: "ab", "c" and "a", "bc" give different keys.
  void Add(std::string_view bytes);
  void Add(UInt64 value);
  // 32 hexadecimal digits. Error: out of memory.
  Result<String> ToText() const;
  UInt64 GetHashCode() const { return _low; }
  friend Bool operator==(const ContentKey&, const ContentKey&) = default;

 private:
  UInt64 _low = 0xCBF29CE484222325ULL;
  UInt64 _high = 0x9E3779B97F4A7C15ULL;
};

class OSTRA_API ContentStore {
 public:
  // Makes the folder if it is missing. `limit`: bytes of all files together. An empty path is a store that keeps
  // nothing. Errors: illegal state when the folder cannot be made or is not this user's alone; out of memory.
  static Result<ContentStore> Open(std::string_view folder, Int limit);

  // What was saved for `key`; empty when there is nothing, or nothing that can be read. Error: out of memory.
  Result<BaseArray<Byte>> Load(const ContentKey& key) const;
  // Saves `bytes` in place of what was there. What cannot be saved is lost: it can be made again.
  void Save(const ContentKey& key, Block<const Byte> bytes) const;

 private:
  Result<String> GetFile(const ContentKey& key) const;
  void Trim() const;

  String _folder;  // empty: keeps nothing
  Int _limit = 0;
};

// The folder of this user for things that can be made again: $XDG_CACHE_HOME/ostra, or ~/.cache/ostra; empty when the
// environment names neither. Relative paths in these variables are ignored. Error: out of memory.
OSTRA_API Result<String> GetUserCacheFolder();

}  // namespace ostra
