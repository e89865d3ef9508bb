#include "ostra/arrays/npy_records.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

#include "ostra/arrays/number_type.h"
#include "ostra/core/format.h"
#include "ostra/core/split_text.h"
#include "ostra/core/struct_type.h"

OSTRA_UNIT("npy");

namespace ostra {
namespace {

constexpr Int kMaxDepth = 64;

struct Field {
  std::string name;           // empty: bytes without a meaning
  std::string type;           // "<f4"; empty for a record
  std::vector<Field> fields;  // of a record
  Int count = 1;              // elements, of all axes together
  Int offset = 0;             // bytes

  Int GetElementSize() const;
};

Int GetSize(const std::vector<Field>& fields) {
  return fields.empty() ? 0 : fields.back().offset + fields.back().count * fields.back().GetElementSize();
}

// "<f4" has four bytes.
Int Field::GetElementSize() const {
  if (type.empty()) return GetSize(fields);
  const std::size_t digits = type.find_first_of("0123456789");
  Int size = 0;
  if (digits != std::string::npos) std::from_chars(type.data() + digits, type.data() + type.size(), size);
  return size;
}

// Reads the list of tuples that array files write.
class DescriptionReader {
 public:
  explicit DescriptionReader(std::string_view text) : _rest(text) {}

  // Nothing for a text of another form.
  std::optional<std::vector<Field>> Read(Int depth = 0) {
    std::vector<Field> fields;
    if (depth > kMaxDepth || !Take('[')) return std::nullopt;
    while (!Take(']')) {
      Field field;
      if (!ReadField(field, depth)) return std::nullopt;
      field.offset = GetSize(fields);
      fields.push_back(std::move(field));
      if (!Take(',') && !IsNext(']')) return std::nullopt;
    }
    return fields;
  }

 private:
  Bool ReadField(Field& field, Int depth) {
    if (!Take('(') || !ReadText(field.name) || !Take(',')) return false;
    if (IsNext('[')) {
      auto fields = Read(depth + 1);
      if (!fields) return false;
      field.fields = std::move(*fields);
    } else if (!ReadText(field.type)) {
      return false;
    }
    if (Take(',') && !IsNext(')') && !ReadShape(field.count)) return false;
    return Take(')');
  }

  // "(2, 3)" or "3".
  Bool ReadShape(Int& count) {
    const Bool isList = Take('(');
    while (!isList || !Take(')')) {
      Int side = 0;
      const auto [end, code] = std::from_chars(_rest.data(), _rest.data() + _rest.size(), side);
      if (code != std::errc() || side < 0 || side > (Int{1} << 32)) return false;
      _rest.remove_prefix(static_cast<std::size_t>(end - _rest.data()));
      count = std::min(count * side, Int{1} << 40);
      if (!isList) return true;
      if (!Take(',') && !IsNext(')')) return false;
    }
    return true;
  }

  Bool ReadText(std::string& text) {
    const char quote = IsNext('"') ? '"' : '\'';
    if (!Take(quote)) return false;
    const std::size_t end = _rest.find(quote);
    if (end == std::string_view::npos) return false;
    text = _rest.substr(0, end);
    _rest.remove_prefix(end + 1);
    return true;
  }

  Bool IsNext(char c) {
    while (_rest.starts_with(' ')) _rest.remove_prefix(1);
    return _rest.starts_with(c);
  }
  Bool Take(char c) {
    if (!IsNext(c)) return false;
    _rest.remove_prefix(1);
    while (_rest.starts_with(' ')) _rest.remove_prefix(1);
    return true;
  }

  std::string_view _rest;
};

// The axes of a member behind those of the array that it may be: columns, components.
struct MemberForm {
  const NumberType* number = nullptr;  // null for a struct
  std::vector<Int> axes;

  Int GetCount() const {
    Int count = 1;
    for (const Int side : axes) count *= side;
    return count;
  }
};

Result<MemberForm> FindForm(const StructMember& member) {
  MemberForm form;
  if (member.count > 0) form.axes.push_back(member.count);
  DataType type = member.type;
  if (!GetStructMembers(type).IsEmpty()) return form;
  while (type.IsMadeWith(kVectorParametricType) || type.IsMadeWith(kSquareMatrixParametricType)) {
    form.axes.push_back(type.GetElementCount());
    type = type.GetInnerType();
  }
  form.number = FindNumberType(type);
  if (!form.number)
    return OSTRA_ILLEGAL_ARGUMENT("The type @ is not made of numbers.", DescribeElementType(member.type));
  return form;
}

std::string GetCode(const NumberType& number) {
  std::string code(1, number.GetSize() == 1 ? '|' : '<');
  return code.append(number.npyCode);
}

Result<void> CheckMembersKnown(DataType type) {
  if (!GetStructMembers(type).IsEmpty()) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("The type @ is not made of numbers.", type);
}

// "3 x <f4", "2 records"
std::string Describe(Int count, const std::string& code) {
  if (code.empty()) return count == 1 ? "a record" : std::to_string(count) + " records";
  return count == 1 ? code : std::to_string(count) + " x " + code;
}

Result<void> CheckFields(const std::vector<Field>& fields, DataType type, const std::string& path) {
  OSTRA_RETURN_IF_ERROR(CheckMembersKnown(type));
  const Block<const StructMember> members = GetStructMembers(type);
  for (Int i = 0; i < members.GetCount(); ++i) {
    const StructMember& member = members[i];
    const std::string name = path + std::string(member.name.GetView());
    const auto field = std::find_if(fields.begin(), fields.end(),
                                    [&](const Field& other) { return other.name == member.name.GetView(); });
    if (field == fields.end())
      return OSTRA_ILLEGAL_ARGUMENT("the records have no field \"@\", which the struct @ has", name, type);
    OSTRA_ASSIGN_OR_RETURN(const MemberForm form, FindForm(member));
    const std::string wanted = Describe(form.GetCount(), form.number ? GetCode(*form.number) : std::string());
    const std::string given = Describe(field->count, field->type);
    if (wanted != given)
      return OSTRA_ILLEGAL_ARGUMENT("the field \"@\" is @, and the member of the struct @ is @", name, given, type,
                                    wanted);
    if (field->offset != member.offset)
      return OSTRA_ILLEGAL_ARGUMENT("the field \"@\" begins at byte @, and the member of the struct @ at byte @", name,
                                    field->offset, type, member.offset);
    if (!form.number) OSTRA_RETURN_IF_ERROR(CheckFields(field->fields, member.type, name + "."));
  }
  for (const Field& field : fields) {
    const Bool isMember = std::any_of(members.GetFirst(), members.GetFirst() + members.GetCount(),
                                      [&](const StructMember& member) { return member.name == field.name; });
    if (!isMember)
      return OSTRA_ILLEGAL_ARGUMENT("the field \"@\" of the records is no member of the struct @", path + field.name,
                                    type);
  }
  if (fields.size() != static_cast<std::size_t>(members.GetCount()))
    return OSTRA_ILLEGAL_ARGUMENT("the records have @ fields, and the struct @ has @ members", fields.size(), type,
                                  members.GetCount());
  return OK;
}

}  // namespace

Result<std::string> MakeRecordDescription(DataType structType) {
  OSTRA_RETURN_IF_ERROR(CheckMembersKnown(structType));
  const Block<const StructMember> members = GetStructMembers(structType);
  std::string text = "[";
  for (Int i = 0; i < members.GetCount(); ++i) {
    OSTRA_ASSIGN_OR_RETURN(const MemberForm form, FindForm(members[i]));
    text.append(i > 0 ? ", ('" : "('").append(members[i].name.GetView()).append("', ");
    if (form.number) {
      text.append("'").append(GetCode(*form.number)).append("'");
    } else {
      OSTRA_ASSIGN_OR_RETURN(const std::string inner, MakeRecordDescription(members[i].type));
      text += inner;
    }
    for (std::size_t k = 0; k < form.axes.size(); ++k)
      text.append(k > 0 ? ", " : ", (").append(std::to_string(form.axes[k]));
    text.append(form.axes.empty() ? ")" : form.axes.size() == 1 ? ",))" : "))");
  }
  return text.append("]");
}

Result<void> CheckRecordDescription(std::string_view description, DataType structType) {
  const auto fields = DescriptionReader(description).Read();
  if (!fields) return OSTRA_ILLEGAL_ARGUMENT("the description of the records is damaged");
  return CheckFields(*fields, structType, "");
}

}  // namespace ostra
