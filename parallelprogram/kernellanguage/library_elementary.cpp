#include "parallelprogram/kernellanguage/library_words.h"

namespace ostra::kernellanguage {
namespace {

// x is n * ln(2) + r; p is e to the power of r, less 1.
#define OSTRA_POWER_PARTS                                                                           \
  "\tfloat n = floor(v0 * 1.44269504 + 0.5);\n"                                                     \
  "\tfloat r = v0 - n * 0.693115234375 - n * 0.000031946184945309;\n"                               \
  "\tfloat p = r + r * r * (0.5 + r * (0.1666666716 + r * (0.0416663289 + r * (0.0083332695 + r * " \
  "(0.0013943116 + r * 0.0001991652)))));\n"

// Exponentials and logarithms are polynomials of sums and products, so they have the same bits on all devices; so has
// what needs no division or square root beside them. Numbers near 0 are never a difference of others: no place is lost
// there. What is no number is told by its bits, as some devices compare it as any other.
constexpr LibraryFunction kFunctions[] = {
    {"ostra_expm1_float", "f(f)",
     "\tuint size = floatBitsToUint(v0) & 2147483647u;\n"
     "\tif (size > 2139095040u || size < 855638016u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tif (v0 >= 89.0)\n\t{\n\t\treturn uintBitsToFloat(2139095040u);\n\t}\n"
     "\tif (v0 <= -18.0)\n\t{\n\t\treturn -1.0;\n\t}\n" OSTRA_POWER_PARTS "\tif (n == 0.0)\n\t{\n\t\treturn p;\n\t}\n"
     "\tfloat scale = intBitsToFloat((int(n) + 126) << 23);\n"
     "\treturn (scale - 0.5 + scale * p) * 2.0;\n"},
    // Half of e to the power of x, for x from 0 on.
    {"ostra_half_exp", "f(f)",
     "\tif (v0 >= 89.5)\n\t{\n\t\treturn uintBitsToFloat(2139095040u);\n\t}\n" OSTRA_POWER_PARTS
     "\tfloat scale = intBitsToFloat((int(n) + 125) << 23);\n"
     "\treturn (scale + scale * p) * 2.0;\n"},
    {"ostra_exp10_float", "f(f)",
     "\tif ((floatBitsToUint(v0) & 2147483647u) > 2139095040u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tif (v0 >= 38.6)\n\t{\n\t\treturn uintBitsToFloat(2139095040u);\n\t}\n"
     "\tif (v0 <= -46.0)\n\t{\n\t\treturn 0.0;\n\t}\n"
     "\tfloat n = floor(v0 * 3.32192809 + 0.5);\n"
     "\tfloat r = v0 - n * 0.301025390625 - n * 0.000004605038981195;\n"
     "\tfloat p = r * 2.30258509 + r * r * (2.650949001 + r * (2.0346786976 + r * (1.1712430716 + r * "
     "(0.5393781662 + r * (0.2078822851 + r * 0.0683627426)))));\n"
     "\tint k = int(n);\n"
     "\tint part = k / 2;\n"
     "\treturn (1.0 + p) * intBitsToFloat((part + 127) << 23) * intBitsToFloat((k - part + 127) << 23);\n"},
    // What ln(1 + f) has beyond f - f * f / 2, for 1 + f within sqrt(0.5) and sqrt(2).
    {"ostra_log_rest", "f(f)",
     "\tfloat p = 0.2000003606 + v0 * (-0.1666944027 + v0 * (0.1428696215 + v0 * (-0.1242498904 + v0 * "
     "(0.1101167724 + v0 * (-0.1079443842 + v0 * (0.1074574888 - v0 * 0.0615341634))))));\n"
     "\treturn v0 * v0 * v0 * (0.3333333433 + v0 * (-0.2499996573 + v0 * p));\n"},
    {"ostra_log1p_float", "f(f)",
     "\tuint size = floatBitsToUint(v0) & 2147483647u;\n"
     "\tif (size > 2139095040u || size < 855638016u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tif (v0 <= -1.0)\n\t{\n\t\treturn uintBitsToFloat((v0 == -1.0) ? 4286578688u : 2143289344u);\n\t}\n"
     "\tif (size == 2139095040u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tfloat sum = 1.0 + v0;\n"
     "\tuint moved = floatBitsToUint(sum) + 4913933u;\n"
     "\tfloat k = float(int(moved >> 23u) - 127);\n"
     "\tfloat f = v0;\n"
     "\tfloat lost = 0.0;\n"
     "\tif (k != 0.0)\n\t{\n\t\tf = uintBitsToFloat((moved & 8388607u) + 1060439283u) - 1.0;\n"
     "\t\tif (v0 < 33554432.0)\n\t\t{\n\t\t\tlost = (v0 < 1.0) ? (v0 - (sum - 1.0)) : (1.0 - (sum - v0));\n"
     "\t\t\tlost = lost * intBitsToFloat((127 - int(k)) << 23);\n\t\t\tlost = lost - lost * f;\n\t\t}\n\t}\n"
     "\treturn k * 0.693115234375 + (f - (0.5 * f * f - (ostra_log_rest(f) + (k * 0.000031946184945309 + lost))));\n"},
    {"ostra_log10_float", "f(f)",
     "\tuint size = floatBitsToUint(v0) & 2147483647u;\n"
     "\tif (size >= 2139095040u)\n\t{\n"
     "\t\treturn uintBitsToFloat((floatBitsToUint(v0) == 2139095040u) ? 2139095040u : 2143289344u);\n\t}\n"
     "\tfloat x = v0;\n"
     "\tfloat k = 0.0;\n"
     "\tif (size < 8388608u)\n\t{\n\t\tx = x * 33554432.0;\n\t\tk = -25.0;\n\t}\n"
     "\tif (x <= 0.0)\n\t{\n\t\treturn uintBitsToFloat((x == 0.0) ? 4286578688u : 2143289344u);\n\t}\n"
     "\tuint moved = floatBitsToUint(x) + 4913933u;\n"
     "\tk = k + float(int(moved >> 23u) - 127);\n"
     "\tfloat f = uintBitsToFloat((moved & 8388607u) + 1060439283u) - 1.0;\n"
     "\tfloat square = 0.5 * f * f;\n"
     "\tfloat high = uintBitsToFloat(floatBitsToUint(f - square) & 4294963200u);\n"
     "\tfloat low = f - high - square + ostra_log_rest(f);\n"
     "\tfloat whole = k * 0.301025390625;\n"
     "\tfloat part = high * 0.434326171875;\n"
     "\tfloat sum = whole + part;\n"
     "\tfloat rest = whole - sum + part;\n"
     "\trest = rest + (k * 0.000004605038981195 + ((low + high) * -0.000031689971748172 + low * 0.434326171875));\n"
     "\treturn sum + rest;\n"},
    {"ostra_sinh_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tif (a < 1.0)\n\t{\n\t\tfloat z = a * a;\n"
     "\t\tfloat r = a + a * (z * (0.1666666716 + z * (0.0083333505 + z * (0.0001983607 + z * 0.0000028174))));\n"
     "\t\treturn ostra_copysign_float_float(r, v0);\n\t}\n"
     "\tfloat r = ostra_half_exp(a);\n"
     "\tif (a < 9.0)\n\t{\n\t\tfloat t = ostra_expm1_float(a);\n\t\tr = 0.5 * (t + t / (t + 1.0));\n\t}\n"
     "\treturn ostra_copysign_float_float(r, v0);\n"},
    {"ostra_cosh_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tif (a < 1.0)\n\t{\n\t\tfloat z = a * a;\n"
     "\t\treturn 1.0 + z * (0.5 + z * (0.0416666679 + z * (0.0013888911 + z * (0.000024796 + z * 0.0000002813))));\n"
     "\t}\n"
     "\tfloat r = ostra_half_exp(a);\n"
     "\treturn (a < 9.0) ? (r + 0.25 / r) : r;\n"},
    {"ostra_tanh_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tfloat r = 1.0;\n"
     "\tif (a < 0.625)\n\t{\n\t\tfloat z = a * a;\n"
     "\t\tr = a + a * (z * (-0.3333333135 + z * (0.1333321035 + z * (-0.0539472029 + z * (0.021702962 + z * "
     "(-0.0081826597 + z * 0.0021475235))))));\n"
     "\t}\n"
     "\telse if (!(a > 9.125))\n\t{\n\t\tr = 1.0 - 2.0 / (ostra_expm1_float(a + a) + 2.0);\n\t}\n"
     "\treturn ostra_copysign_float_float(r, v0);\n"},
    {"ostra_asinh_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tfloat r = a;\n"
     "\tif (a > 1048576.0)\n\t{\n\t\tr = ostra_log1p_float(a) + 0.6931471806;\n\t}\n"
     "\telse if (a > 0.0001)\n\t{\n\t\tfloat z = a * a;\n"
     "\t\tr = ostra_log1p_float(a + z / (1.0 + sqrt(z + 1.0)));\n\t}\n"
     "\treturn ostra_copysign_float_float(r, v0);\n"},
    {"ostra_acosh_float", "f(f)",
     "\tif (!(v0 >= 1.0))\n\t{\n\t\treturn uintBitsToFloat(2143289344u);\n\t}\n"
     "\tif (v0 > 1048576.0)\n\t{\n\t\treturn ostra_log1p_float(v0) + 0.6931471806;\n\t}\n"
     "\tfloat t = v0 - 1.0;\n"
     "\treturn ostra_log1p_float(t + sqrt(t + t + t * t));\n"},
    {"ostra_atanh_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tfloat t = a + a;\n"
     "\tfloat r = a;\n"
     "\tif (!(a < 1.0))\n\t{\n"
     "\t\treturn uintBitsToFloat((a == 1.0) ? ((floatBitsToUint(v0) & 2147483648u) | 2139095040u) : 2143289344u);\n"
     "\t}\n"
     "\tif (a >= 0.5)\n\t{\n\t\tr = 0.5 * ostra_log1p_float(t / (1.0 - a));\n\t}\n"
     "\telse if (a > 0.0001)\n\t{\n\t\tr = 0.5 * ostra_log1p_float(t + t * a / (1.0 - a));\n\t}\n"
     "\treturn ostra_copysign_float_float(r, v0);\n"},
    {"ostra_erf_float", "f(f)",
     "\tfloat a = abs(v0);\n"
     "\tfloat r = 1.0;\n"
     "\tif (a < 1.0)\n\t{\n\t\tfloat z = a * a;\n"
     "\t\tr = a + a * (0.1283791671 + z * (-0.3761263788 + z * (0.1128378436 + z * (-0.0268655177 + z * "
     "(0.0052212514 + z * (-0.0008487043 + z * (0.000112862 - z * 0.0000097221)))))));\n"
     "\t}\n"
     "\telse if (!(a >= 4.0))\n\t{\n"
     "\t\tr = -ostra_expm1_float(0.0001880359 + a * (-1.129578352 + a * (-0.6332198977 + a * (-0.1084185466 + a * "
     "(0.0252082404 + a * (-0.0042045563 + a * (0.0004413353 - a * 0.0000216868)))))));\n"
     "\t}\n"
     "\treturn ostra_copysign_float_float(r, v0);\n"},
    // t has so few places that its cube is exact.
    {"ostra_cbrt_float", "f(f)",
     "\tfloat x = abs(v0);\n"
     "\tfloat back = 1.0;\n"
     "\tif (x < 0.00000000000000000000000001)\n\t{\n\t\tx = x * 281474976710656.0;\n"
     "\t\tback = 0.0000152587890625;\n\t}\n"
     "\telse if (x > 10000000000000000000000000.0)\n\t{\n\t\tx = x * 0.000000000000003552713678800501;\n"
     "\t\tback = 65536.0;\n\t}\n"
     "\tuint bits = floatBitsToUint(x);\n"
     "\tif (bits == 0u || bits >= 2139095040u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tfloat y = uintBitsToFloat(bits / 3u + 709958130u);\n"
     "\tfloat cube = y * y * y;\n"
     "\ty = y * ((cube + x + x) / (cube + cube + x));\n"
     "\tfloat t = uintBitsToFloat((floatBitsToUint(y) + 32768u) & 4294901760u);\n"
     "\tcube = t * t * t;\n"
     "\tfloat d = (x - cube) / cube;\n"
     "\tfloat r = t + t * (d * (0.3333333433 + d * (-0.1111111119 + d * 0.0617283955)));\n"
     "\treturn ostra_copysign_float_float(r * back, v0);\n"},
    {"ostra_hypot_float_float", "f(ff)",
     "\tfloat a = abs(v0);\n"
     "\tfloat b = abs(v1);\n"
     "\tif (floatBitsToUint(a) == 2139095040u || floatBitsToUint(b) == 2139095040u)\n\t{\n"
     "\t\treturn uintBitsToFloat(2139095040u);\n\t}\n"
     "\tfloat size = max(a, b);\n"
     "\tif (size > 1000000000000000000.0)\n\t{\n\t\ta = a * 0.00000000000000000000000082718061255302767;\n"
     "\t\tb = b * 0.00000000000000000000000082718061255302767;\n"
     "\t\treturn sqrt(a * a + b * b) * 1208925819614629174706176.0;\n\t}\n"
     "\tif (size < 0.000000000001)\n\t{\n\t\ta = a * 1208925819614629174706176.0;\n"
     "\t\tb = b * 1208925819614629174706176.0;\n"
     "\t\treturn sqrt(a * a + b * b) * 0.00000000000000000000000082718061255302767;\n\t}\n"
     "\treturn sqrt(a * a + b * b);\n"},
    {"ostra_mul_hi_uint_uint", "u(uu)",
     "\tuint a = v0 & 65535u;\n"
     "\tuint b = v0 >> 16u;\n"
     "\tuint c = v1 & 65535u;\n"
     "\tuint d = v1 >> 16u;\n"
     "\tuint middle = b * c + ((a * c) >> 16u);\n"
     "\tuint other = a * d + (middle & 65535u);\n"
     "\treturn b * d + (middle >> 16u) + (other >> 16u);\n"},
    {"ostra_mul_hi_int_int", "i(ii)",
     "\tuint high = ostra_mul_hi_uint_uint(uint(v0), uint(v1));\n"
     "\thigh = (v0 < 0) ? (high - uint(v1)) : high;\n"
     "\thigh = (v1 < 0) ? (high - uint(v0)) : high;\n"
     "\treturn int(high);\n"},
    // The 64 bits of v0 and v1 moved down by v2 bits; the last one is set if a lost one was. The result is the lower
    // half, v3 the upper one.
    {"ostra_shift_down", "u(uuiu&)",
     "\tuint left = uint(32 - v2);\n"
     "\tuint right = uint(v2);\n"
     "\tuint low = v1;\n"
     "\tuint lost = 0u;\n"
     "\tv3 = v0;\n"
     "\tif (v2 >= 64)\n\t{\n\t\tlost = v0 | v1;\n\t\tlow = 0u;\n\t\tv3 = 0u;\n\t}\n"
     "\telse if (v2 > 32)\n\t{\n\t\tlost = v1 | (v0 << (left & 31u));\n\t\tlow = v0 >> (right & 31u);\n\t\tv3 = "
     "0u;\n\t}\n"
     "\telse if (v2 == 32)\n\t{\n\t\tlost = v1;\n\t\tlow = v0;\n\t\tv3 = 0u;\n\t}\n"
     "\telse if (v2 > 0)\n\t{\n\t\tlost = v1 << (left & 31u);\n\t\tlow = (v1 >> (right & 31u)) | (v0 << (left & "
     "31u));\n"
     "\t\tv3 = v0 >> (right & 31u);\n\t}\n"
     "\treturn (lost != 0u) ? (low | 1u) : low;\n"},
    // The same moved up by v2 bits, at most 63.
    {"ostra_shift_up", "u(uuiu&)",
     "\tuint left = uint(v2);\n"
     "\tuint right = uint(32 - v2);\n"
     "\tif (v2 >= 32)\n\t{\n\t\tv3 = v1 << (left & 31u);\n\t\treturn 0u;\n\t}\n"
     "\tv3 = ((right & 31u) == 0u) ? v0 : ((v0 << (left & 31u)) | (v1 >> (right & 31u)));\n"
     "\treturn v1 << (left & 31u);\n"},
    {"ostra_highest_of", "u(uu)",
     "\treturn uint((v0 != 0u) ? (32 + ostra_findMSB_uint(v0)) : ostra_findMSB_uint(v1));\n"},
    // In whole numbers of 64 bits, highest place at bit 62: devices may round the product of their own fma.
    {"ostra_fma_float_float_float", "f(fff)",
     "\tuint a = floatBitsToUint(v0) & 2147483647u;\n"
     "\tuint b = floatBitsToUint(v1) & 2147483647u;\n"
     "\tuint c = floatBitsToUint(v2) & 2147483647u;\n"
     "\tuint sign = (floatBitsToUint(v0) ^ floatBitsToUint(v1)) & 2147483648u;\n"
     "\tuint other = floatBitsToUint(v2) & 2147483648u;\n"
     "\tif (a < 2139095040u && b < 2139095040u && c >= 2139095040u)\n\t{\n\t\treturn v2;\n\t}\n"
     "\tif (a >= 2139095040u || b >= 2139095040u || a == 0u || b == 0u)\n\t{\n\t\treturn v0 * v1 + v2;\n\t}\n"
     "\tuint high = 0u;\n"
     "\tuint low = ostra_mantissa(a) * ostra_mantissa(b);\n"
     "\tuint above = ostra_mul_hi_uint_uint(ostra_mantissa(a), ostra_mantissa(b));\n"
     "\tint up = 62 - int(ostra_highest_of(above, low));\n"
     "\tlow = ostra_shift_up(above, low, up, high);\n"
     "\tint e = max(int(a >> 23u), 1) + max(int(b >> 23u), 1) - 300 - up;\n"
     "\tuint rest = ostra_mantissa(c);\n"
     "\tup = 30 - ostra_findMSB_uint(rest);\n"
     "\trest = rest << (uint(up) & 31u);\n"
     "\tint f = (c == 0u) ? -1000 : (max(int(c >> 23u), 1) - 182 - up);\n"
     "\tuint high2 = rest;\n"
     "\tuint low2 = 0u;\n"
     "\tif (f > e || (f == e && high2 > high))\n\t{\n\t\thigh2 = high;\n\t\tlow2 = low;\n\t\thigh = rest;\n"
     "\t\tlow = 0u;\n\t\tint swapped = e;\n\t\te = f;\n\t\tf = swapped;\n\t\tuint swappedSign = sign;\n"
     "\t\tsign = other;\n\t\tother = swappedSign;\n\t}\n"
     "\tabove = 0u;\n"
     "\tlow2 = ostra_shift_down(high2, low2, e - f, above);\n"
     "\tif (sign == other)\n\t{\n\t\tlow2 = low + low2;\n"
     "\t\thigh = high + above + ((low2 < low) ? 1u : 0u);\n\t\tlow = low2;\n\t}\n"
     "\telse\n\t{\n\t\thigh = high - above - ((low < low2) ? 1u : 0u);\n\t\tlow = low - low2;\n\t}\n"
     "\tif ((high | low) == 0u)\n\t{\n\t\treturn 0.0;\n\t}\n"
     "\tint first = int(ostra_highest_of(high, low));\n"
     "\tint last = max(e + first - 23, -149);\n"
     "\tif (last > 104)\n\t{\n\t\treturn uintBitsToFloat(sign | 2139095040u);\n\t}\n"
     "\tint drop = last - e - 2;\n"
     "\tif (drop >= 0)\n\t{\n\t\tlow = ostra_shift_down(high, low, drop, above);\n\t}\n"
     "\telse\n\t{\n\t\tlow = ostra_shift_up(high, low, -drop, above);\n\t}\n"
     "\tuint rounded = (low + 1u + ((low >> 2u) & 1u)) >> 2u;\n"
     "\treturn uintBitsToFloat(sign | ((uint(last + 149) << 23u) + rounded));\n"},
    {"ostra_mad_float_float_float", "f(fff)", "\treturn v0 * v1 + v2;\n"},
    {"ostra_frexp_float_int", "f(fi&)",
     "\tuint size = floatBitsToUint(v0) & 2147483647u;\n"
     "\tv1 = 0;\n"
     "\tif (size >= 2139095040u || size == 0u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\tuint mantissa = ostra_mantissa(size);\n"
     "\tint up = 23 - ostra_findMSB_uint(mantissa);\n"
     "\tv1 = max(int(size >> 23u), 1) - 126 - up;\n"
     "\tmantissa = (mantissa << (uint(up) & 31u)) & 8388607u;\n"
     "\treturn uintBitsToFloat(((floatBitsToUint(v0) & 2147483648u) | 1056964608u) | mantissa);\n"},
    {"ostra_modf_float_float", "f(ff&)",
     "\tfloat whole = trunc(v0);\n"
     "\tv1 = ostra_copysign_float_float(whole, v0);\n"
     "\tif ((floatBitsToUint(v0) & 2147483647u) == 2139095040u)\n\t{\n"
     "\t\treturn ostra_copysign_float_float(0.0, v0);\n\t}\n"
     "\treturn ostra_copysign_float_float(v0 - whole, v0);\n"},
    {"ostra_umulExtended_uint_uint_uint_uint", "v(uuu&u&)",
     "\tv2 = ostra_mul_hi_uint_uint(v0, v1);\n"
     "\tv3 = v0 * v1;\n"},
    {"ostra_uaddCarry_uint_uint_uint", "u(uuu&)",
     "\tv2 = (v0 + v1 < v0) ? 1u : 0u;\n"
     "\treturn v0 + v1;\n"},
    {"ostra_usubBorrow_uint_uint_uint", "u(uuu&)",
     "\tv2 = (v0 < v1) ? 1u : 0u;\n"
     "\treturn v0 - v1;\n"},
    {"ostra_sincos_float_float_float", "v(ff&f&)",
     "\tv1 = sin(v0);\n"
     "\tv2 = cos(v0);\n"},
    {"ostra_fabs_float", "f(f)", "\treturn abs(v0);\n"},
    {"ostra_fmin_float_float", "f(ff)",
     "\tif ((floatBitsToUint(v1) & 2147483647u) > 2139095040u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\treturn (v0 < v1) ? v0 : v1;\n"},
    {"ostra_fmax_float_float", "f(ff)",
     "\tif ((floatBitsToUint(v1) & 2147483647u) > 2139095040u)\n\t{\n\t\treturn v0;\n\t}\n"
     "\treturn (v0 > v1) ? v0 : v1;\n"},
    {"ostra_rint_float", "f(f)", "\treturn ostra_roundEven_float(v0);\n"},
    {"ostra_frac_float", "f(f)", "\treturn fract(v0);\n"},
    {"ostra_asfloat_uint", "f(u)", "\treturn uintBitsToFloat(v0);\n"},
    {"ostra_asfloat_int", "f(i)", "\treturn intBitsToFloat(v0);\n"},
    {"ostra_asint_float", "i(f)", "\treturn floatBitsToInt(v0);\n"},
    {"ostra_asint_uint", "i(u)", "\treturn int(v0);\n"},
    {"ostra_asuint_float", "u(f)", "\treturn floatBitsToUint(v0);\n"},
    {"ostra_asuint_int", "u(i)", "\treturn uint(v0);\n"},
};

#undef OSTRA_POWER_PARTS

}  // namespace

std::span<const LibraryFunction> GetElementaryFunctions() { return kFunctions; }

}  // namespace ostra::kernellanguage
