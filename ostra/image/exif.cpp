#include "ostra/image/exif.h"

namespace ostra {

namespace {

constexpr Int kOrientationTag = 0x0112, kSubfolderTag = 0x8769, kColorSpaceTag = 0xA001;
constexpr Int kEntrySize = 12;
constexpr Int kShortType = 3, kLongType = 4;

class Reader {
 public:
  explicit Reader(Block<const Byte> bytes)
      : _bytes(bytes), _isBigEndian(bytes.GetCount() > 0 && bytes.GetFirst()[0] == 'M') {}

  Bool Has(Int position, Int size) const { return position >= 0 && position <= _bytes.GetCount() - size; }

  // 0 behind the end.
  Int Read(Int position, Int size) const {
    if (!Has(position, size)) return 0;
    Int value = 0;
    for (Int i = 0; i < size; ++i) value = value << 8 | _bytes.GetFirst()[position + (_isBigEndian ? i : size - 1 - i)];
    return value;
  }

  // The one number of an entry; -1 when the folder at `folder` has no such entry.
  Int Find(Int folder, Int tag) const {
    const Int count = Read(folder, 2);
    for (Int i = 0; i < count; ++i) {
      const Int entry = folder + 2 + i * kEntrySize;
      if (!Has(entry, kEntrySize)) return -1;
      const Int type = Read(entry + 2, 2);
      if (Read(entry, 2) == tag && (type == kShortType || type == kLongType))
        return Read(entry + 8, type == kShortType ? 2 : 4);
    }
    return -1;
  }

 private:
  const Block<const Byte> _bytes;
  const Bool _isBigEndian;
};

}  // namespace

ExifNotes ReadExif(Block<const Byte> bytes) {
  const Reader reader(bytes);
  ExifNotes notes;
  if (reader.Read(2, 2) != 42) return notes;
  const Int folder = reader.Read(4, 4);
  const Int orientation = reader.Find(folder, kOrientationTag);
  if (orientation >= 1 && orientation <= 8) notes.orientation = orientation;
  const Int subfolder = reader.Find(folder, kSubfolderTag);
  notes.isSrgb = subfolder > 0 && reader.Find(subfolder, kColorSpaceTag) == 1;
  return notes;
}

}  // namespace ostra
