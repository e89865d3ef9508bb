#include "ostra/arrays/npy.h"

#include <bit>
#include <charconv>
#include <string>

#include "ostra/arrays/npy_records.h"
#include "ostra/core/format.h"
#include "ostra/core/split_text.h"

OSTRA_UNIT("npy");

namespace ostra {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they are");

namespace {

constexpr std::string_view kMagic = "\x93NUMPY";
constexpr std::size_t kAlignment = 64;  // of the first number in the file

// The text of the header and the position of the first number behind it.
struct Header {
  std::string_view text;
  Int end;
};

Result<Header> FindHeader(Block<const Byte> bytes) {
  const std::string_view file(reinterpret_cast<const char*>(bytes.GetFirst()),
                              static_cast<std::size_t>(bytes.GetCount()));
  if (file.substr(0, kMagic.size()) != kMagic) return OSTRA_ILLEGAL_ARGUMENT("this is no .npy file");
  if (file.size() < 12) return OSTRA_ILLEGAL_ARGUMENT("the file ends in its header");
  const Byte version = bytes[6];
  if (version < 1 || version > 3)
    return OSTRA_ILLEGAL_ARGUMENT("version @ of the format is not known, only 1, 2 and 3", version);
  const std::size_t start = version == 1 ? 10 : 12;
  std::size_t size = bytes[8] + (std::size_t(bytes[9]) << 8);
  if (version > 1) size += (std::size_t(bytes[10]) << 16) + (std::size_t(bytes[11]) << 24);
  if (size > file.size() - start) return OSTRA_ILLEGAL_ARGUMENT("the file ends in its header");
  return Header{file.substr(start, size), static_cast<Int>(start + size)};
}

// What follows 'key': in the header, up to the end of the header.
Result<std::string_view> FindValue(std::string_view header, std::string_view key) {
  for (const char quote : {'\'', '"'}) {
    const std::string quoted = quote + std::string(key) + quote;
    // Fields of records may have the name of a key.
    for (std::size_t at = header.find(quoted); at != std::string_view::npos; at = header.find(quoted, at + 1)) {
      const std::string_view rest = TrimText(header.substr(at + quoted.size()));
      if (!rest.empty() && rest.front() == ':') return TrimText(rest.substr(1));
    }
  }
  return OSTRA_ILLEGAL_ARGUMENT("the header has no \"@\"", key);
}

Result<const NumberType*> ParseType(std::string_view header) {
  OSTRA_ASSIGN_OR_RETURN(std::string_view value, FindValue(header, "descr"));
  const char quote = value.empty() ? ' ' : value.front();
  const std::size_t end = quote == '\'' || quote == '"' ? value.find(quote, 1) : std::string_view::npos;
  if (end == std::string_view::npos)
    return OSTRA_ILLEGAL_ARGUMENT("the elements are records; only plain numbers can be read");
  value = value.substr(1, end - 1);
  if (value.substr(0, 1) == ">")
    return OSTRA_ILLEGAL_ARGUMENT("the numbers are big-endian (\"@\"); only little-endian ones can be read", value);
  const Bool hasOrder = value.find_first_of("<=|") == 0;
  const NumberType* number = FindNumberType(value.substr(hasOrder ? 1 : 0));
  if (!number) return OSTRA_ILLEGAL_ARGUMENT("the type \"@\" of the numbers is not known", value);
  return number;
}

Result<std::vector<Int>> ParseShape(std::string_view header) {
  OSTRA_ASSIGN_OR_RETURN(const std::string_view value, FindValue(header, "shape"));
  const std::size_t end = value.find(')');
  if (value.substr(0, 1) != "(" || end == std::string_view::npos)
    return OSTRA_ILLEGAL_ARGUMENT("the shape in the header is damaged");
  std::vector<Int> shape;
  std::vector<std::string_view> parts = SplitText(value.substr(1, end - 1), ',');
  if (parts.back().empty()) parts.pop_back();  // one axis is written "(5,)", none "()"
  for (const std::string_view part : parts) {
    Int side = 0;
    const auto [last, code] = std::from_chars(part.data(), part.data() + part.size(), side);
    if (code != std::errc() || last != part.data() + part.size() || side < 0)
      return OSTRA_ILLEGAL_ARGUMENT("the shape in the header is damaged");
    shape.push_back(side);
  }
  return shape;
}

// The bytes of all elements behind the header. Error: illegal argument when the file has fewer.
Result<Block<const Byte>> FindElements(Block<const Byte> bytes, const Header& header, const std::vector<Int>& shape,
                                       Int size) {
  const Int available = bytes.GetCount() - header.end;
  Int count = size;
  for (const Int side : shape) {
    if (side > 0 && count > available / side)
      return OSTRA_ILLEGAL_ARGUMENT("the file ends too early: it has @ bytes of numbers, fewer than its shape needs",
                                    available);
    count *= side;
  }
  if (count > available)
    return OSTRA_ILLEGAL_ARGUMENT("the file ends too early: it has @ bytes of numbers, and its shape needs @",
                                  available, count);
  return Block<const Byte>(bytes.GetFirst() + header.end, count);
}

Result<void> CheckOrder(std::string_view header) {
  OSTRA_ASSIGN_OR_RETURN(const std::string_view order, FindValue(header, "fortran_order"));
  if (order.substr(0, 5) != "False")
    return OSTRA_ILLEGAL_ARGUMENT("the array is in Fortran order; only C order can be read");
  return OK;
}

// A whole header around the description of an element.
std::string EncodeHeader(std::string_view description, std::span<const Int> shape) {
  std::string header = "{'descr': ";
  header.append(description).append(", 'fortran_order': False, 'shape': (");
  for (std::size_t i = 0; i < shape.size(); ++i) header += (i > 0 ? ", " : "") + std::to_string(shape[i]);
  header += shape.size() == 1 ? ",), }" : "), }";
  // Long headers need version 2.
  const std::size_t sizeBytes = header.size() + kAlignment > 0xFFFF ? 4 : 2;
  const std::size_t start = kMagic.size() + 2 + sizeBytes;
  header.append(kAlignment - 1 - (start + header.size()) % kAlignment, ' ').push_back('\n');
  std::string prefix(kMagic);
  prefix += {static_cast<char>(sizeBytes / 2), 0};
  for (std::size_t i = 0; i < sizeBytes; ++i) prefix += static_cast<char>(header.size() >> (8 * i) & 0xFF);
  return prefix + header;
}

}  // namespace

Result<NumberArray> DecodeNpy(Block<const Byte> bytes) {
  OSTRA_ASSIGN_OR_RETURN(const Header header, FindHeader(bytes));
  NumberArray array;
  OSTRA_ASSIGN_OR_RETURN(array.number, ParseType(header.text));
  OSTRA_RETURN_IF_ERROR(CheckOrder(header.text));
  OSTRA_ASSIGN_OR_RETURN(array.shape, ParseShape(header.text));
  OSTRA_ASSIGN_OR_RETURN(array.numbers, FindElements(bytes, header, array.shape, array.number->GetSize()));
  return array;
}

Result<RecordArray> DecodeNpyRecords(Block<const Byte> bytes, DataType structType) {
  OSTRA_ASSIGN_OR_RETURN(const Header header, FindHeader(bytes));
  OSTRA_ASSIGN_OR_RETURN(const std::string_view description, FindValue(header.text, "descr"));
  if (!description.starts_with('[')) {
    OSTRA_ASSIGN_OR_RETURN(const NumberType* const number, ParseType(header.text));
    return OSTRA_ILLEGAL_ARGUMENT("the elements are numbers of the type @, and records of the struct @ are needed",
                                  number->type, structType);
  }
  OSTRA_RETURN_IF_ERROR(CheckRecordDescription(description, structType));
  OSTRA_RETURN_IF_ERROR(CheckOrder(header.text));
  RecordArray array;
  OSTRA_ASSIGN_OR_RETURN(array.shape, ParseShape(header.text));
  OSTRA_ASSIGN_OR_RETURN(array.records, FindElements(bytes, header, array.shape, structType.GetSize()));
  return array;
}

std::string EncodeNpyRecordHeader(std::string_view description, std::span<const Int> shape) {
  return EncodeHeader(description, shape);
}

std::string EncodeNpyHeader(const NumberType& number, std::span<const Int> shape) {
  const std::string order = number.GetSize() == 1 ? "'|" : "'<";
  return EncodeHeader(order + std::string(number.npyCode) + "'", shape);
}

}  // namespace ostra
