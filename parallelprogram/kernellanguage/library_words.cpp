#include "parallelprogram/kernellanguage/library_words.h"

#include <iterator>
#include <unordered_map>
#include <vector>

namespace ostra::kernellanguage {
namespace {

// Behind the first line, which sums a product of vectors from the first component to the last: the word dot does so in
// an order of its own on some devices.
#define OSTRA_REFRACT                               \
  "\tfloat k = 1.0 - v2 * v2 * (1.0 - d * d);\n"    \
  "\tif (k < 0.0)\n\t{\n\t\treturn v0 - v0;\n\t}\n" \
  "\treturn v0 * v2 - v1 * (v2 * d + sqrt(k));\n"
#define OSTRA_FACEFORWARD                      \
  "\tif (d < 0.0)\n\t{\n\t\treturn v0;\n\t}\n" \
  "\treturn -v0;\n"
constexpr std::string_view kSelect =
    "\tif (v2)\n\t{\n\t\treturn v1;\n\t}\n"
    "\treturn v0;\n";

// Nothing in here depends on what devices do differently: no shift by 32 or more, no conversion of numbers that do not
// fit, no sign of a zero or payload of what is no number but by its bits.
constexpr LibraryFunction kFunctions[] = {
    // Of numbers. The part behind the point is exact: both are multiples of the last place of |x|.
    {"ostra_round_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tfloat r = floor(a);\n"
     "\tif (a - r >= 0.5)\n\t{\n\t\tr = r + 1.0;\n\t}\n"
     "\treturn uintBitsToFloat(floatBitsToUint(r) | (floatBitsToUint(v0) & 2147483648u));\n"},
    {"ostra_roundEven_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tfloat r = floor(a);\n"
     "\tfloat part = a - r;\n"
     "\tif (part > 0.5 || (part == 0.5 && floor(r * 0.5) * 2.0 != r))\n\t{\n\t\tr = r + 1.0;\n\t}\n"
     "\treturn uintBitsToFloat(floatBitsToUint(r) | (floatBitsToUint(v0) & 2147483648u));\n"},
    {"ostra_saturate_float", "f(f)",
     "\tif (v0 >= 1.0)\n\t{\n\t\treturn 1.0;\n\t}\n"
     "\tif (v0 > 0.0)\n\t{\n\t\treturn v0;\n\t}\n"
     "\treturn 0.0;\n"},
    {"ostra_lerp_float_float_float", "f(fff)", "\treturn v0 * (1.0 - v2) + v1 * v2;\n"},
    {"ostra_atan2_float_float", "f(ff)", "\treturn atan(v0, v1);\n"},
    {"ostra_rcp_float", "f(f)", "\treturn 1.0 / v0;\n"},
    {"ostra_rsqrt_float", "f(f)", "\treturn 1.0 / sqrt(v0);\n"},
    // Long division of the mantissas, one bit a step: exact for all numbers.
    {"ostra_mantissa", "u(u)", "\treturn (v0 < 8388608u) ? v0 : ((v0 & 8388607u) | 8388608u);\n"},
    {"ostra_fmod_float_float", "f(ff)",
     "\tuint sign = floatBitsToUint(v0) & 2147483648u;\n"
     "\tuint a = floatBitsToUint(v0) & 2147483647u;\n"
     "\tuint b = floatBitsToUint(v1) & 2147483647u;\n"
     "\tif (a >= 2139095040u || b > 2139095040u || b == 0u)\n\t{\n\t\treturn uintBitsToFloat(2143289344u);\n\t}\n"
     "\tif (a < b)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tuint divisor = ostra_mantissa(b);\n"
     "\tuint rest = ostra_mantissa(a) % divisor;\n"
     "\tuint low = max(b >> 23u, 1u);\n"
     "\tfor (uint at = max(a >> 23u, 1u); at > low; --at)\n\t{\n\t\trest = (rest << 1u) % divisor;\n\t}\n"
     "\tif (rest == 0u)\n\t{\n\t\treturn uintBitsToFloat(sign);\n\t}\n"
     "\twhile (rest < 8388608u && low > 1u)\n\t{\n\t\trest = rest << 1u;\n\t\t--low;\n\t}\n"
     "\tif (rest >= 8388608u)\n\t{\n\t\trest = (rest & 8388607u) | (low << 23u);\n\t}\n"
     "\treturn uintBitsToFloat(rest | sign);\n"},
    // Only the last factor rounds, or those before it have made a 0 of what becomes one.
    {"ostra_ldexp_float_int", "f(fi)",
     "\tfloat x = v0;\n"
     "\tint n = clamp(v1, -300, 300);\n"
     "\twhile (n > 127)\n\t{\n\t\tx = x * intBitsToFloat(2130706432);\n\t\tn = n - 127;\n\t}\n"
     "\tint last = max(n, -126);\n"
     "\tn = n - last;\n"
     "\twhile (n < 0)\n\t{\n"
     "\t\tint step = max(n, -126);\n"
     "\t\tx = x * intBitsToFloat((step + 127) << 23);\n"
     "\t\tn = n - step;\n\t}\n"
     "\treturn x * intBitsToFloat((last + 127) << 23);\n"},
    {"ostra_copysign_float_float", "f(ff)",
     "\treturn uintBitsToFloat((floatBitsToUint(v0) & 2147483647u) | (floatBitsToUint(v1) & 2147483648u));\n"},
    {"ostra_isfinite_float", "b(f)", "\treturn (floatBitsToUint(v0) & 2139095040u) != 2139095040u;\n"},
    {"ostra_select_float_float_bool", "f(ffb)", kSelect},
    {"ostra_select_int_int_bool", "i(iib)", kSelect},
    {"ostra_select_uint_uint_bool", "u(uub)", kSelect},
    // Of 64-bit integers, for which some languages have no such functions. The least one stays what it is.
    {"ostra_min_Int64_Int64", "l(ll)", "\treturn (v1 < v0) ? v1 : v0;\n"},
    {"ostra_min_UInt64_UInt64", "m(mm)", "\treturn (v1 < v0) ? v1 : v0;\n"},
    {"ostra_max_Int64_Int64", "l(ll)", "\treturn (v0 < v1) ? v1 : v0;\n"},
    {"ostra_max_UInt64_UInt64", "m(mm)", "\treturn (v0 < v1) ? v1 : v0;\n"},
    {"ostra_clamp_Int64_Int64_Int64", "l(lll)", "\treturn ostra_min_Int64_Int64(ostra_max_Int64_Int64(v0, v1), v2);\n"},
    {"ostra_clamp_UInt64_UInt64_UInt64", "m(mmm)",
     "\treturn ostra_min_UInt64_UInt64(ostra_max_UInt64_UInt64(v0, v1), v2);\n"},
    {"ostra_abs_Int64", "l(l)", "\treturn (v0 < Int64(0u)) ? Int64(UInt64(0u) - UInt64(v0)) : v0;\n"},
    {"ostra_sign_Int64", "l(l)",
     "\tif (v0 < Int64(0u))\n\t{\n\t\treturn Int64(-1);\n\t}\n"
     "\treturn (v0 > Int64(0u)) ? Int64(1) : Int64(0);\n"},
    // Of vectors and matrices.
    {"ostra_refract_vec2_vec2_float", "2(22f)", "\tfloat d = v1.x * v0.x + v1.y * v0.y;\n" OSTRA_REFRACT},
    {"ostra_refract_vec3_vec3_float", "3(33f)", "\tfloat d = v1.x * v0.x + v1.y * v0.y + v1.z * v0.z;\n" OSTRA_REFRACT},
    {"ostra_refract_vec4_vec4_float", "4(44f)",
     "\tfloat d = v1.x * v0.x + v1.y * v0.y + v1.z * v0.z + v1.w * v0.w;\n" OSTRA_REFRACT},
    {"ostra_faceforward_vec2_vec2_vec2", "2(222)", "\tfloat d = v2.x * v1.x + v2.y * v1.y;\n" OSTRA_FACEFORWARD},
    {"ostra_faceforward_vec3_vec3_vec3", "3(333)",
     "\tfloat d = v2.x * v1.x + v2.y * v1.y + v2.z * v1.z;\n" OSTRA_FACEFORWARD},
    {"ostra_faceforward_vec4_vec4_vec4", "4(444)",
     "\tfloat d = v2.x * v1.x + v2.y * v1.y + v2.z * v1.z + v2.w * v1.w;\n" OSTRA_FACEFORWARD},
    {"ostra_outerProduct_vec3_vec3", "M(33)", "\treturn mat3(v0 * v1.x, v0 * v1.y, v0 * v1.z);\n"},
    {"ostra_outerProduct_vec4_vec4", "N(44)", "\treturn mat4(v0 * v1.x, v0 * v1.y, v0 * v1.z, v0 * v1.w);\n"},
    // Of bits.
    {"ostra_bitCount_uint", "i(u)",
     "\tuint n = v0 - ((v0 >> 1u) & 1431655765u);\n"
     "\tn = (n & 858993459u) + ((n >> 2u) & 858993459u);\n"
     "\tn = (n + (n >> 4u)) & 252645135u;\n"
     "\treturn int((n * 16843009u) >> 24u);\n"},
    {"ostra_bitCount_int", "i(i)", "\treturn ostra_bitCount_uint(uint(v0));\n"},
    {"ostra_findMSB_uint", "i(u)",
     "\tuint n = v0 | (v0 >> 1u);\n"
     "\tn = n | (n >> 2u);\n"
     "\tn = n | (n >> 4u);\n"
     "\tn = n | (n >> 8u);\n"
     "\tn = n | (n >> 16u);\n"
     "\treturn ostra_bitCount_uint(n) - 1;\n"},
    {"ostra_findMSB_int", "i(i)", "\treturn ostra_findMSB_uint((v0 < 0) ? ~uint(v0) : uint(v0));\n"},
    {"ostra_findLSB_uint", "i(u)",
     "\tif (v0 == 0u)\n\t{\n\t\treturn -1;\n\t}\n"
     "\treturn ostra_bitCount_uint(~v0 & (v0 - 1u));\n"},
    {"ostra_findLSB_int", "i(i)", "\treturn ostra_findLSB_uint(uint(v0));\n"},
    {"ostra_clz_uint", "i(u)", "\treturn 31 - ostra_findMSB_uint(v0);\n"},
    {"ostra_clz_int", "i(i)", "\treturn 31 - ostra_findMSB_uint(uint(v0));\n"},
    {"ostra_ctz_uint", "i(u)", "\treturn ostra_bitCount_uint(~v0 & (v0 - 1u));\n"},
    {"ostra_ctz_int", "i(i)", "\treturn ostra_ctz_uint(uint(v0));\n"},
    {"ostra_bitfieldExtract_uint_int_int", "u(uii)",
     "\tif (v2 <= 0)\n\t{\n\t\treturn 0u;\n\t}\n"
     "\tuint rest = uint(32 - v2);\n"
     "\treturn (v0 >> uint(v1 & 31)) & (4294967295u >> (rest & 31u));\n"},
    {"ostra_bitfieldExtract_int_int_int", "i(iii)",
     "\tif (v2 <= 0)\n\t{\n\t\treturn 0;\n\t}\n"
     "\tuint above = uint(32 - v1 - v2);\n"
     "\tint rest = 32 - v2;\n"
     "\treturn int(uint(v0) << (above & 31u)) >> (rest & 31);\n"},
    {"ostra_bitfieldInsert_uint_uint_int_int", "u(uuii)",
     "\tif (v3 <= 0)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tuint rest = uint(32 - v3);\n"
     "\tuint mask = (4294967295u >> (rest & 31u)) << uint(v2 & 31);\n"
     "\treturn (v0 & ~mask) | ((v1 << uint(v2 & 31)) & mask);\n"},
    {"ostra_bitfieldInsert_int_int_int_int", "i(iiii)",
     "\treturn int(ostra_bitfieldInsert_uint_uint_int_int(uint(v0), uint(v1), v2, v3));\n"},
    {"ostra_bitfieldReverse_uint", "u(u)",
     "\tuint n = ((v0 >> 1u) & 1431655765u) | ((v0 & 1431655765u) << 1u);\n"
     "\tn = ((n >> 2u) & 858993459u) | ((n & 858993459u) << 2u);\n"
     "\tn = ((n >> 4u) & 252645135u) | ((n & 252645135u) << 4u);\n"
     "\tn = ((n >> 8u) & 16711935u) | ((n & 16711935u) << 8u);\n"
     "\treturn (n >> 16u) | (n << 16u);\n"},
    {"ostra_bitfieldReverse_int", "i(i)", "\treturn int(ostra_bitfieldReverse_uint(uint(v0)));\n"},
    {"ostra_rotate_uint_uint", "u(uu)",
     "\tuint down = 32u - (v1 & 31u);\n"
     "\treturn (v0 << (v1 & 31u)) | (v0 >> (down & 31u));\n"},
    // Numbers in one word. Half floats are rounded to nearest, halves to even.
    {"ostra_half_of", "u(f)",
     "\tuint sign = (floatBitsToUint(v0) >> 16u) & 32768u;\n"
     "\tuint a = floatBitsToUint(v0) & 2147483647u;\n"
     "\tif (a > 2139095040u)\n\t{\n\t\treturn sign | 32256u;\n\t}\n"
     "\tif (a >= 1199566848u)\n\t{\n\t\treturn sign | 31744u;\n\t}\n"
     "\tif (a >= 947912704u)\n\t{\n\t\treturn sign | ((a - 939520001u + ((a >> 13u) & 1u)) >> 13u);\n\t}\n"
     "\tif (a <= 855638016u)\n\t{\n\t\treturn sign;\n\t}\n"
     "\tuint shift = 126u - (a >> 23u);\n"
     "\tuint mantissa = (a & 8388607u) | 8388608u;\n"
     "\tuint r = mantissa >> (shift & 31u);\n"
     "\tuint rest = mantissa - (r << (shift & 31u));\n"
     "\tuint before = shift - 1u;\n"
     "\tuint middle = 1u << (before & 31u);\n"
     "\tif (rest > middle || (rest == middle && (r & 1u) == 1u))\n\t{\n\t\t++r;\n\t}\n"
     "\treturn sign | r;\n"},
    {"ostra_float_of_half", "f(u)",
     "\tuint sign = (v0 & 32768u) << 16u;\n"
     "\tuint e = (v0 >> 10u) & 31u;\n"
     "\tuint m = v0 & 1023u;\n"
     "\tif (e == 0u)\n\t{\n"
     "\t\treturn uintBitsToFloat(floatBitsToUint(float(int(m)) * 0.000000059604644775390625) | sign);\n\t}\n"
     "\tif (e == 31u)\n\t{\n\t\treturn uintBitsToFloat((sign | 2139095040u) | (m << 13u));\n\t}\n"
     "\treturn uintBitsToFloat((sign | ((e + 112u) << 23u)) | (m << 13u));\n"},
    {"ostra_packHalf2x16_vec2", "u(2)", "\treturn ostra_half_of(v0.x) | (ostra_half_of(v0.y) << 16u);\n"},
    {"ostra_unpackHalf2x16_uint", "2(u)",
     "\treturn vec2(ostra_float_of_half(v0 & 65535u), ostra_float_of_half(v0 >> 16u));\n"},
    // v0 times v1, rounded, for v0 within 0 and 1, or -1 and 1.
    {"ostra_unorm_of", "u(ff)", "\treturn uint(ostra_round_float(ostra_saturate_float(v0) * v1));\n"},
    {"ostra_snorm_of", "u(ff)",
     "\tif (v0 < 0.0)\n\t{\n\t\treturn uint(-int(ostra_unorm_of(-v0, v1)));\n\t}\n"
     "\treturn ostra_unorm_of(v0, v1);\n"},
    {"ostra_packUnorm4x8_vec4", "u(4)",
     "\tuint low = ostra_unorm_of(v0.x, 255.0) | (ostra_unorm_of(v0.y, 255.0) << 8u);\n"
     "\treturn (low | (ostra_unorm_of(v0.z, 255.0) << 16u)) | (ostra_unorm_of(v0.w, 255.0) << 24u);\n"},
    {"ostra_packSnorm4x8_vec4", "u(4)",
     "\tuint low = (ostra_snorm_of(v0.x, 127.0) & 255u) | ((ostra_snorm_of(v0.y, 127.0) & 255u) << 8u);\n"
     "\treturn (low | ((ostra_snorm_of(v0.z, 127.0) & 255u) << 16u)) | (ostra_snorm_of(v0.w, 127.0) << 24u);\n"},
    {"ostra_packUnorm2x16_vec2", "u(2)",
     "\treturn ostra_unorm_of(v0.x, 65535.0) | (ostra_unorm_of(v0.y, 65535.0) << 16u);\n"},
    {"ostra_packSnorm2x16_vec2", "u(2)",
     "\treturn (ostra_snorm_of(v0.x, 32767.0) & 65535u) | (ostra_snorm_of(v0.y, 32767.0) << 16u);\n"},
    // n / 255 and its relatives without a division: n times a short number is exact, and so little is missing of the
    // quotient that the sum is rounded as it is, for all n.
    {"ostra_part_of_255", "f(u)",
     "\tfloat n = float(v0);\n"
     "\treturn n * 0.0039215087890625 + n * 0.00000005983839201917;\n"},
    {"ostra_unpackUnorm4x8_uint", "4(u)",
     "\treturn vec4(ostra_part_of_255(v0 & 255u), ostra_part_of_255((v0 >> 8u) & 255u), "
     "ostra_part_of_255((v0 >> 16u) & 255u), ostra_part_of_255(v0 >> 24u));\n"},
    {"ostra_part_of_127", "f(i)",
     "\tfloat n = float(v0);\n"
     "\treturn max(n * 0.00787353515625 + n * 0.00000048059177970572, -1.0);\n"},
    {"ostra_unpackSnorm4x8_uint", "4(u)",
     "\treturn vec4(ostra_part_of_127(int(v0 << 24u) >> 24), ostra_part_of_127(int(v0 << 16u) >> 24), "
     "ostra_part_of_127(int(v0 << 8u) >> 24), ostra_part_of_127(int(v0) >> 24));\n"},
    {"ostra_part_of_65535", "f(u)",
     "\tfloat n = float(v0);\n"
     "\treturn n * 0.0000152587890625 + n * 0.000000000232834196367548;\n"},
    {"ostra_unpackUnorm2x16_uint", "2(u)",
     "\treturn vec2(ostra_part_of_65535(v0 & 65535u), "
     "ostra_part_of_65535(v0 >> 16u));\n"},
    {"ostra_part_of_32767", "f(i)",
     "\tfloat n = float(v0);\n"
     "\treturn max(n * 0.000030517578125 + n * 0.000000000931350996324909, -1.0);\n"},
    {"ostra_unpackSnorm2x16_uint", "2(u)",
     "\treturn vec2(ostra_part_of_32767(int(v0 << 16u) >> 16), "
     "ostra_part_of_32767(int(v0) >> 16));\n"},
};

const std::unordered_map<std::string_view, const LibraryFunction*>& GetByName() {
  static const auto table = [] {
    std::unordered_map<std::string_view, const LibraryFunction*> byName;
    for (const LibraryFunction& function : GetLibraryFunctions()) byName.emplace(function.name, &function);
    return byName;
  }();
  return table;
}

#undef OSTRA_REFRACT
#undef OSTRA_FACEFORWARD

}  // namespace

const LibraryFunction* FindLibraryFunction(std::string_view name) {
  const auto found = GetByName().find(name);
  return found == GetByName().end() ? nullptr : found->second;
}

std::span<const LibraryFunction> GetLibraryFunctions() {
  static const auto all = [] {
    std::vector<LibraryFunction> functions(std::begin(kFunctions), std::end(kFunctions));
    const auto elementary = GetElementaryFunctions();
    functions.insert(functions.end(), elementary.begin(), elementary.end());
    return functions;
  }();
  return all;
}

}  // namespace ostra::kernellanguage
