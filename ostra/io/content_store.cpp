#include "ostra/io/content_store.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <vector>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/diagnostics.h"
#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "ostra/io/private_files.h"

OSTRA_UNIT("contentstore");

namespace ostra {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSuffix = ".content";
constexpr std::chrono::hours kLongestWrite(1);

// In front of the bytes of every file.
struct Header {
  static constexpr UInt64 kMagic = 0x31'4341'5254'534FULL;  // names this form; another form gets another number
  UInt64 magic = kMagic;
  ContentKey key;
  UInt64 size = 0;
  UInt64 check = 0;
};

UInt64 CheckBytes(Block<const Byte> bytes) {
  return HashText({reinterpret_cast<const char*>(bytes.GetFirst()), static_cast<std::size_t>(bytes.GetCount())});
}

// What a process that was killed while it saved has left behind.
Bool IsLeftOver(const fs::path& file, fs::file_time_type time) {
  return file.extension().native() == ".tmp" && file.native().find(std::string(kSuffix) + '.') != std::string::npos &&
         time < fs::file_time_type::clock::now() - kLongestWrite;
}

}  // namespace

void ContentKey::Add(std::string_view bytes) {
  Add(static_cast<UInt64>(bytes.size()));
  for (const char character : bytes) {
    const UInt64 byte = static_cast<unsigned char>(character);
    _low = (_low ^ byte) * 0x100000001B3ULL;
    _high = (_high + byte) * 0xD1342543DE82EF95ULL;
  }
}

void ContentKey::Add(UInt64 value) {
  _low = MixHash(_low ^ value);
  _high = MixHash(_high * 31 + value);
}

Result<String> ContentKey::ToText() const {
  static constexpr char kDigits[] = "0123456789abcdef";
  char text[32];
  for (int i = 0; i < 16; ++i) {
    text[i] = kDigits[(_low >> (60 - 4 * i)) & 15];
    text[16 + i] = kDigits[(_high >> (60 - 4 * i)) & 15];
  }
  return String::Create(std::string_view(text, sizeof(text)));
}

Result<ContentStore> ContentStore::Open(std::string_view folder, Int limit) {
  ContentStore store;
  store._limit = limit;
  if (folder.empty()) return store;
  OSTRA_RETURN_IF_ERROR(MakePrivateFolder(folder));
  OSTRA_RETURN_IF_ERROR(OpenTrustedFolder(folder));
  OSTRA_ASSIGN_OR_RETURN(store._folder, String::Create(folder));
  return store;
}

Result<String> ContentStore::GetFile(const ContentKey& key) const {
  OSTRA_ASSIGN_OR_RETURN(const String name, key.ToText());
  return Format("@/@@", _folder, name, kSuffix);
}

Result<BaseArray<Byte>> ContentStore::Load(const ContentKey& key) const {
  BaseArray<Byte> bytes;
  if (_folder.IsEmpty()) return bytes;
  OSTRA_ASSIGN_OR_RETURN(const String file, GetFile(key));
  if (auto trusted = CheckTrustedFile(file.GetView()); !trusted) {
    if (trusted.GetError().GetKind() == kOutOfMemoryError) return trusted.TakeError();
    WarningOutput("@", trusted.GetError());
    return bytes;
  }
  auto content = ReadFileToMemory(Url(file));
  if (!content) {
    if (content.GetError().GetKind() == kOutOfMemoryError) return content.TakeError();
    return bytes;
  }
  Header header;
  const Int size = content->GetCount() - static_cast<Int>(sizeof(Header));
  if (size < 0) return bytes;
  MemCopy(&header, content->GetFirst(), sizeof(header));
  const Block<const Byte> body(content->GetFirst() + sizeof(Header), size);
  if (header.magic != Header::kMagic || !(header.key == key) || header.size != static_cast<UInt64>(size) ||
      header.check != CheckBytes(body))
    return bytes;
  OSTRA_RETURN_IF_ERROR(bytes.Resize(size));
  if (size > 0) MemCopy(bytes.GetFirst(), body.GetFirst(), size);
  OSTRA_RETURN_IF_ERROR(CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<void> {
    // Used now: what was not used for longest goes first.
    std::error_code code;
    fs::last_write_time(fs::path(file.GetView()), fs::file_time_type::clock::now(), code);
    return OK;
  }));
  return bytes;
}

void ContentStore::Save(const ContentKey& key, Block<const Byte> bytes) const {
  const Int size = bytes.GetCount();
  if (_folder.IsEmpty() || size + static_cast<Int>(sizeof(Header)) > _limit) return;
  const auto file = GetFile(key);
  BaseArray<Byte> content;
  if (!file || !content.Resize(size + static_cast<Int>(sizeof(Header)))) return;
  Header header;
  header.key = key;
  header.size = static_cast<UInt64>(size);
  header.check = CheckBytes(bytes);
  MemCopy(content.GetFirst(), &header, sizeof(header));
  if (size > 0) MemCopy(content.GetFirst() + sizeof(header), bytes.GetFirst(), size);
  if (!WritePrivateFile(file->GetView(), content.GetBlock())) return;
  Trim();
}

void ContentStore::Trim() const {
  struct Entry {
    fs::path path;
    fs::file_time_type time;
    Int size;
  };
  // Files come and go under other processes: whatever cannot be looked at is left out.
  try {
    std::vector<Entry> entries;
    Int total = 0;
    std::error_code code;
    for (fs::directory_iterator i(fs::path(_folder.GetView()), code), end; !code && i != end; i.increment(code)) {
      std::error_code entryCode;
      const auto time = i->last_write_time(entryCode);
      if (entryCode) continue;
      if (IsLeftOver(i->path(), time)) fs::remove(i->path(), entryCode);
      if (i->path().extension().native() != kSuffix) continue;
      const auto size = i->file_size(entryCode);
      if (entryCode) continue;
      entries.push_back({i->path(), time, static_cast<Int>(size)});
      total += static_cast<Int>(size);
    }
    if (total <= _limit) return;
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.time < b.time; });
    // A quarter more than needed, so that not every save has to look.
    for (const Entry& entry : entries) {
      if (total <= _limit - _limit / 4) break;
      fs::remove(entry.path, code);
      total -= entry.size;
    }
  } catch (const std::bad_alloc&) {
    return;  // the next save trims
  }
}

Result<String> GetUserCacheFolder() {
  // The convention for these variables: a relative path is invalid and ignored.
  const char* cache = std::getenv("XDG_CACHE_HOME");
  if (cache && *cache == '/') return Format("@/ostra", cache);
  const char* home = std::getenv("HOME");
  if (home && *home == '/') return Format("@/.cache/ostra", home);
  return String();
}

}  // namespace ostra
