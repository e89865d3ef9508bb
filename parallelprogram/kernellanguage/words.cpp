#include "parallelprogram/kernellanguage/words.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <vector>

namespace ostra::kernellanguage {
namespace {

using enum WordKind;
using Id = WordId;

constexpr std::string_view kUnary = "f(f) F(F)";
constexpr std::string_view kComparison = "B(FF) B(II) B(UU)";
constexpr std::string_view kEquality = "B(FF) B(II) B(UU) B(BB)";
constexpr std::string_view kSmallest = "f(ff) i(ii) u(uu) F(FF) I(II) U(UU) F(Ff) I(Ii) U(Uu)";
constexpr std::string_view kChoice = "f(ffb) i(iib) u(uub) F(FFB) I(IIB) U(UUB) F(FFb) I(IIb) U(UUb)";
constexpr std::string_view kGroupNumbers = "f(f) i(i) u(u) F(F) I(I) U(U)";
constexpr std::string_view kOfBits = "i(i) i(u) I(I) I(U)";

constexpr Word kWords[] = {
    // Invocations.
    {"InGlobalInvocationID", kValue, Id::kGlobalInvocation, "", "position of the invocation in the dispatch"},
    {"InLocalInvocationID", kValue, Id::kLocalInvocation, "", "position of the invocation in its work group"},
    {"InWorkGroupID", kValue, Id::kWorkGroup, "", "position of the work group in the dispatch"},
    {"InWorkGroupSize", kValue, Id::kWorkGroupSize, "", "size of a work group, a constant"},
    {"LinearInvocation", kCall, Id::kLinearInvocation, "", "number of the invocation, counted over rows of groups"},
    // Parameters.
    {"UNIFORM", kParameter, Id::kUniform, "", "value of a parameter"},
    {"UNIFORM_BUFFER", kParameter, Id::kUniformBuffer, "", "elements of a buffer parameter"},
    {"CPU_PASS_BUFFER", kParameter, Id::kPassBuffer, "", "a buffer parameter as an argument, on the CPU only"},
    {"GetAtomicCounter", kParameter, Id::kAtomicCounter, "", "a counter as the place of an atomic operation"},
    {"LOCALDATA", kParameter, Id::kLocalData, "", "element of a buffer, on the GPU of its copy in group memory"},
    // Textures, noises, gradients.
    {"SampleTexture", kTexture, Id::kSampleTexture, "", "filtered value at coordinates"},
    {"SampleTextureLayer", kTexture, Id::kSampleTextureLayer, "", "filtered value at coordinates of a layer"},
    {"FetchTexture", kTexture, Id::kFetchTexture, "", "texel at integer coordinates; wrap modes apply"},
    {"FetchTextureLayer", kTexture, Id::kFetchTextureLayer, "", "texel of a layer"},
    {"TextureSize", kTexture, Id::kTextureSize, "", "texels per axis"},
    {"StoreImage", kTexture, Id::kStoreImage, "", "writes a texel, on the GPU only"},
    {"RenderNoise", kCall, Id::kRenderNoise, "", "value of a noise at a position and time"},
    {"SampleGradient", kCall, Id::kSampleGradient, "", "colour of a gradient at a position"},
    // Atomic operations: place, value, value before.
    {"AtomicAdd", kAtomic, Id::kAtomicAdd, "", "adds to a place"},
    {"AtomicSub", kAtomic, Id::kAtomicSub, "", "subtracts from a place"},
    {"AtomicMin", kAtomic, Id::kAtomicMin, "", "lowers a place"},
    {"AtomicMax", kAtomic, Id::kAtomicMax, "", "raises a place"},
    {"AtomicAnd", kAtomic, Id::kAtomicAnd, "", "clears bits of a place"},
    {"AtomicOr", kAtomic, Id::kAtomicOr, "", "sets bits of a place"},
    {"AtomicXor", kAtomic, Id::kAtomicXor, "", "changes bits of a place"},
    {"AtomicExchange", kAtomic, Id::kAtomicExchange, "", "replaces the value of a place"},
    {"AtomicCompareExchange", kAtomic, Id::kAtomicCompareExchange, "", "replaces an expected value of a place"},
    // Functions of components.
    {"abs", kFunction, Id::kAbs, "f(f) i(i) F(F) I(I)", "value without its sign"},
    {"sign", kFunction, Id::kSign, "f(f) i(i) F(F) I(I)", "-1, 0 or 1"},
    {"floor", kFunction, Id::kFloor, kUnary, "next whole number below"},
    {"ceil", kFunction, Id::kCeil, kUnary, "next whole number above"},
    {"trunc", kFunction, Id::kTrunc, kUnary, "whole number towards 0"},
    {"fract", kFunction, Id::kFract, kUnary, "x - floor(x)"},
    {"mod", kFunction, Id::kMod, "f(ff) F(FF) F(Ff)", "x - y * floor(x / y)"},
    {"min", kFunction, Id::kMin, kSmallest, "smaller value"},
    {"max", kFunction, Id::kMax, kSmallest, "larger value"},
    {"clamp", kFunction, Id::kClamp, "f(fff) i(iii) u(uuu) F(FFF) I(III) U(UUU) F(Fff) I(Iii) U(Uuu)",
     "value within limits"},
    {"mix", kFunction, Id::kMix, "f(fff) F(FFF) F(FFf)", "x * (1 - part) + y * part"},
    {"step", kFunction, Id::kStep, "f(ff) F(FF) F(fF)", "0 below the edge, 1 from it on"},
    {"smoothstep", kFunction, Id::kSmoothstep, "f(fff) F(FFF) F(ffF)", "0 to 1 with even ends"},
    {"sqrt", kFunction, Id::kSqrt, kUnary, "square root"},
    {"Sqrt", kFunction, Id::kSqrt, "", "square root"},
    {"inversesqrt", kFunction, Id::kInverseSqrt, kUnary, "1 / sqrt(x)"},
    {"pow", kFunction, Id::kPow, "f(ff) F(FF)", "power"},
    {"exp", kFunction, Id::kExp, kUnary, "power of e"},
    {"exp2", kFunction, Id::kExp2, kUnary, "power of 2"},
    {"log", kFunction, Id::kLog, kUnary, "natural logarithm"},
    {"log2", kFunction, Id::kLog2, kUnary, "logarithm to base 2"},
    {"sin", kFunction, Id::kSin, kUnary, "sine"},
    {"cos", kFunction, Id::kCos, kUnary, "cosine"},
    {"tan", kFunction, Id::kTan, kUnary, "tangent"},
    {"asin", kFunction, Id::kAsin, kUnary, "inverse sine"},
    {"acos", kFunction, Id::kAcos, kUnary, "inverse cosine"},
    {"atan", kFunction, Id::kAtan, "f(f) F(F) f(ff) F(FF)", "inverse tangent; with two arguments angle of (x, y)"},
    {"radians", kFunction, Id::kRadians, kUnary, "degrees to radians"},
    {"degrees", kFunction, Id::kDegrees, kUnary, "radians to degrees"},
    {"isnan", kFunction, Id::kIsNan, "b(f)", "whether a value is no number"},
    {"isinf", kFunction, Id::kIsInf, "b(f)", "whether a value is infinite"},
    {"floatBitsToUint", kFunction, Id::kFloatBitsToUint, "u(f)", "the same bits"},
    {"floatBitsToInt", kFunction, Id::kFloatBitsToInt, "i(f)", "the same bits"},
    {"uintBitsToFloat", kFunction, Id::kUintBitsToFloat, "f(u)", "the same bits"},
    {"intBitsToFloat", kFunction, Id::kIntBitsToFloat, "f(i)", "the same bits"},
    // Functions of vectors and matrices.
    {"dot", kFunction, Id::kDot, "f(FF)", "sum of the products, first component first"},
    {"cross", kFunction, Id::kCross, "3(33)", "cross product"},
    {"length", kFunction, Id::kLength, "f(F)", "length of a vector"},
    {"distance", kFunction, Id::kDistance, "f(FF)", "length of a - b"},
    {"normalize", kFunction, Id::kNormalize, "F(F)", "vector of length 1"},
    {"reflect", kFunction, Id::kReflect, "F(FF)", "mirror image at a plane"},
    {"mul", kFunction, Id::kMul, "3(M3) 4(N4) 3(3M) 4(4N) M(MM) N(NN) 3(A3) 2(K2) 2(2K) K(KK)",
     "product with a matrix"},
    {"transpose", kFunction, Id::kTranspose, "M(M) N(N) K(K)", "rows as columns"},
    {"MatrixOffset", kFunction, Id::kMatrixOffset, "3(N)", "offset of an affine matrix"},
    {"matoff", kFunction, Id::kMatrixOffset, "", "offset of an affine matrix"},
    {"determinant", kFunction, Id::kDeterminant, "f(M) f(N) f(K)", "determinant"},
    {"inverse", kFunction, Id::kInverse, "M(M) N(N) K(K)", "inverse matrix"},
    // Functions of vectors of bools.
    {"lessThan", kFunction, Id::kLessThan, kComparison, "which components are less", true},
    {"lessThanEqual", kFunction, Id::kLessThanEqual, kComparison, "which components are less or equal", true},
    {"greaterThan", kFunction, Id::kGreaterThan, kComparison, "which components are greater", true},
    {"greaterThanEqual", kFunction, Id::kGreaterThanEqual, kComparison, "which components are greater or equal", true},
    {"equal", kFunction, Id::kEqual, kEquality, "which components are equal", true},
    {"notEqual", kFunction, Id::kNotEqual, kEquality, "which components are different", true},
    {"any", kFunction, Id::kAny, "b(B)", "whether a component is true", true},
    {"all", kFunction, Id::kAll, "b(B)", "whether all components are true", true},
    {"not", kFunction, Id::kNot, "b(b) B(B)", "which components are false", true},
    // Functions that are written in the language itself.
    {"round", kFunction, Id::kRound, kUnary, "nearest whole number, halves away from 0", true},
    {"roundEven", kFunction, Id::kRoundEven, kUnary, "nearest whole number, halves to the even one", true},
    {"saturate", kFunction, Id::kSaturate, kUnary, "value within 0 and 1", true},
    {"lerp", kFunction, Id::kLerp, "f(fff) F(FFF) F(FFf)", "x * (1 - part) + y * part", true},
    {"atan2", kFunction, Id::kAtan2, "f(ff) F(FF)", "angle of (x, y), from y and x", true},
    {"rcp", kFunction, Id::kRcp, kUnary, "1 / x", true},
    {"rsqrt", kFunction, Id::kRsqrt, kUnary, "1 / sqrt(x)", true},
    {"fmod", kFunction, Id::kFmod, "f(ff) F(FF) F(Ff)", "rest of a division, with the sign of x", true},
    {"ldexp", kFunction, Id::kLdexp, "f(fi) F(FI)", "x times a power of 2", true},
    {"copysign", kFunction, Id::kCopysign, "f(ff) F(FF)", "size of x, sign of y", true},
    {"isfinite", kFunction, Id::kIsFinite, "b(f) B(F)", "whether a value is neither infinite nor none", true},
    {"select", kFunction, Id::kSelect, kChoice, "y where true, else x", true},
    {"refract", kFunction, Id::kRefract, "2(22f) 3(33f) 4(44f)", "direction behind a surface", true},
    {"faceforward", kFunction, Id::kFaceforward, "2(222) 3(333) 4(444)", "normal that looks against a ray", true},
    {"outerProduct", kFunction, Id::kOuterProduct, "M(33) N(44)", "column times row", true},
    {"matrixCompMult", kFunction, Id::kMatrixCompMult, "M(MM) N(NN)", "product component by component", true},
    {"bitCount", kFunction, Id::kBitCount, kOfBits, "number of bits that are 1", true},
    {"popcount", kFunction, Id::kBitCount, "", "number of bits that are 1", true},
    {"findMSB", kFunction, Id::kFindMsb, kOfBits, "number of the highest bit that is 1 (0 in numbers below 0)", true},
    {"findLSB", kFunction, Id::kFindLsb, kOfBits, "number of the lowest bit that is 1", true},
    {"clz", kFunction, Id::kClz, kOfBits, "how many of the highest bits are 0", true},
    {"ctz", kFunction, Id::kCtz, kOfBits, "how many of the lowest bits are 0", true},
    {"bitfieldExtract", kFunction, Id::kBitfieldExtract, "i(iii) u(uii) I(Iii) U(Uii)", "some bits as a number", true},
    {"bitfieldInsert", kFunction, Id::kBitfieldInsert, "i(iiii) u(uuii) I(IIii) U(UUii)", "replaces some bits", true},
    {"bitfieldReverse", kFunction, Id::kBitfieldReverse, "i(i) u(u) I(I) U(U)", "bits in the opposite order", true},
    {"rotate", kFunction, Id::kRotate, "u(uu) U(UU) U(Uu)", "bits moved up, the highest to the lowest places", true},
    {"packHalf2x16", kFunction, Id::kPackHalf2x16, "u(2)", "two half floats in one word", true},
    {"unpackHalf2x16", kFunction, Id::kUnpackHalf2x16, "2(u)", "two half floats of one word", true},
    {"packUnorm4x8", kFunction, Id::kPackUnorm4x8, "u(4)", "0 to 1 as 0 to 255, in one word", true},
    {"unpackUnorm4x8", kFunction, Id::kUnpackUnorm4x8, "4(u)", "0 to 1 of 0 to 255", true},
    {"packSnorm4x8", kFunction, Id::kPackSnorm4x8, "u(4)", "-1 to 1 as -127 to 127, in one word", true},
    {"unpackSnorm4x8", kFunction, Id::kUnpackSnorm4x8, "4(u)", "-1 to 1 of -127 to 127", true},
    {"packUnorm2x16", kFunction, Id::kPackUnorm2x16, "u(2)", "0 to 1 as 0 to 65535, in one word", true},
    {"unpackUnorm2x16", kFunction, Id::kUnpackUnorm2x16, "2(u)", "0 to 1 of 0 to 65535", true},
    {"packSnorm2x16", kFunction, Id::kPackSnorm2x16, "u(2)", "-1 to 1 as -32767 to 32767, in one word", true},
    {"unpackSnorm2x16", kFunction, Id::kUnpackSnorm2x16, "2(u)", "-1 to 1 of -32767 to 32767", true},
    {"expm1", kFunction, Id::kExpm1, kUnary, "power of e, less 1", true},
    {"exp10", kFunction, Id::kExp10, kUnary, "power of 10", true},
    {"log1p", kFunction, Id::kLog1p, kUnary, "natural logarithm of 1 + x", true},
    {"log10", kFunction, Id::kLog10, kUnary, "logarithm to base 10", true},
    {"sinh", kFunction, Id::kSinh, kUnary, "hyperbolic sine", true},
    {"cosh", kFunction, Id::kCosh, kUnary, "hyperbolic cosine", true},
    {"tanh", kFunction, Id::kTanh, kUnary, "hyperbolic tangent", true},
    {"asinh", kFunction, Id::kAsinh, kUnary, "inverse hyperbolic sine", true},
    {"acosh", kFunction, Id::kAcosh, kUnary, "inverse hyperbolic cosine", true},
    {"atanh", kFunction, Id::kAtanh, kUnary, "inverse hyperbolic tangent", true},
    {"erf", kFunction, Id::kErf, kUnary, "error function", true},
    {"cbrt", kFunction, Id::kCbrt, kUnary, "cube root", true},
    {"hypot", kFunction, Id::kHypot, "f(ff) F(FF)", "sqrt(x * x + y * y) without overflow", true},
    {"fma", kFunction, Id::kFma, "f(fff) F(FFF)", "x * y + z, rounded once", true},
    {"mad", kFunction, Id::kMad, "f(fff) F(FFF)", "x * y + z, product and sum rounded", true},
    {"modf", kFunction, Id::kModf, "f(ff&) F(FF&)", "part behind the point; sets y to that before it", true},
    {"frexp", kFunction, Id::kFrexp, "f(fi&) F(FI&)", "mantissa from 0.5 to 1; sets y to the power of 2", true},
    {"sincos", kFunction, Id::kSincos, "v(ff&f&) v(FF&F&)", "sets y to the sine and z to the cosine of x", true},
    {"fabs", kFunction, Id::kFabs, kUnary, "value without its sign", true},
    {"fmin", kFunction, Id::kFmin, "f(ff) F(FF)", "smaller value; the other of what is no number", true},
    {"fmax", kFunction, Id::kFmax, "f(ff) F(FF)", "larger value; the other of what is no number", true},
    {"rint", kFunction, Id::kRint, kUnary, "nearest whole number, halves to the even one", true},
    {"frac", kFunction, Id::kFrac, kUnary, "x - floor(x)", true},
    {"mul_hi", kFunction, Id::kMulHi, "i(ii) u(uu) I(II) U(UU)", "upper 32 bits of a product", true},
    {"umulExtended", kFunction, Id::kUmulExtended, "v(uuu&u&)", "sets z and w to upper and lower bits of x * y", true},
    {"uaddCarry", kFunction, Id::kUaddCarry, "u(uuu&) U(UUU&)", "x + y; sets z to the carry, 0 or 1", true},
    {"usubBorrow", kFunction, Id::kUsubBorrow, "u(uuu&) U(UUU&)", "x - y; sets z to the borrow, 0 or 1", true},
    {"asfloat", kFunction, Id::kAsFloat, "f(u) f(i) F(U) F(I)", "the same bits", true},
    {"asint", kFunction, Id::kAsInt, "i(f) i(u) I(F) I(U)", "the same bits", true},
    {"asuint", kFunction, Id::kAsUint, "u(f) u(i) U(F) U(I)", "the same bits", true},
    // Functions of a work group.
    {"groupReduceAdd", kFunction, Id::kGroupReduceAdd, kGroupNumbers, "sum over the work group", true},
    {"groupReduceMin", kFunction, Id::kGroupReduceMin, kGroupNumbers, "smallest value of the work group", true},
    {"groupReduceMax", kFunction, Id::kGroupReduceMax, kGroupNumbers, "largest value of the work group", true},
    {"groupReduceAnd", kFunction, Id::kGroupReduceAnd, "i(i) u(u)", "bits that all of the work group have", true},
    {"groupReduceOr", kFunction, Id::kGroupReduceOr, "i(i) u(u)", "bits that some of the work group have", true},
    {"groupReduceXor", kFunction, Id::kGroupReduceXor, "i(i) u(u)", "bits that an odd number of the group have", true},
    {"groupScanInclusiveAdd", kFunction, Id::kGroupScanInclusiveAdd, kGroupNumbers,
     "sum over the work group up to this invocation", true},
    {"groupScanExclusiveAdd", kFunction, Id::kGroupScanExclusiveAdd, kGroupNumbers,
     "sum over the invocations of the work group before this one", true},
    {"groupBroadcast", kFunction, Id::kGroupBroadcast, "f(fu) i(iu) u(uu) b(bu) F(Fu) I(Iu) U(Uu)",
     "value of one invocation of the work group", true},
    {"groupAny", kFunction, Id::kGroupAny, "b(b)", "whether a condition holds for some of the work group", true},
    {"groupAll", kFunction, Id::kGroupAll, "b(b)", "whether a condition holds for all of the work group", true},
    {"groupCount", kFunction, Id::kGroupCount, "u(b)", "for how many of the work group a condition holds", true},
    {"groupBallot", kFunction, Id::kGroupBallot, "u(bu)", "32 invocations of the work group as bits of one word", true},
    // Statements and directives.
    {"GROUPSIZE", kStatement, Id::kGroupSize, "", "size of a work group"},
    {"CPU_GRANULARITY", kStatement, Id::kGranularity, "", "invocations that a worker takes at least"},
    {"CPU_SINGLETHREADEDTHRESHOLD", kStatement, Id::kSingleThreadedThreshold, "",
     "up to so many run in order on the calling thread"},
    {"KERNELINPUTS", kStatement, Id::kKernelInputs, "", "the parameters"},
    {"OSTRA_PARALLEL_KERNEL", kStatement, Id::kKernelStart, "", "begins the kernel"},
    {"OSTRA_PARALLEL_KERNEL_END", kStatement, Id::kKernelEnd, "", "ends the kernel"},
    {"FP_KERNEL", kStatement, Id::kKernelStart, "", "begins the kernel"},
    {"FP_KERNEL_END", kStatement, Id::kKernelEnd, "", "ends the kernel"},
    {"OSTRA_METHOD", kStatement, Id::kKernelMethod, "", "begins a kernel that can fail"},
    {"KERNEL_RETURN", kStatement, Id::kOther, "", "ends the invocation of a kernel that can fail"},
    {"CPU_SCOPE_START", kStatement, Id::kCpuScopeStart, "", "begins lines for the CPU only"},
    {"CPU_SCOPE_END", kStatement, Id::kCpuScopeEnd, "", "ends lines for the CPU only"},
    {"ADDNOISECALL", kStatement, Id::kNoiseMark, "", "counts a call of a noise"},
    {"GROUPSHAREDMEM", kStatement, Id::kOther, "", "declares an array in group memory"},
    {"MAKELOCAL", kStatement, Id::kOther, "", "copies elements of a buffer into group memory"},
    {"groupSharedBarrier", kStatement, Id::kOther, "", "waits for the invocations of the group"},
    {"PRINT", kStatement, Id::kPrint, "", "PRINT(\"x = %v\", x): shows values, for the invocation and the line", true},
    {"ASSERT", kStatement, Id::kAssert, "", "ASSERT(condition, \"text\"): an error of the dispatch unless it holds",
     true},
    // Qualifiers.
    {"INOUT", kQualifier, Id::kOther, "", "a parameter that the function changes"},
    {"inout", kQualifier, Id::kOther, "", "a parameter that the function changes"},
    {"out", kQualifier, Id::kOther, "", "a parameter that the function sets"},
    {"in", kQualifier, Id::kOther, "", "a parameter that is given"},
    {"CPU_CONSTREF", kQualifier, Id::kOther, "", "a parameter by constant reference, on the CPU"},
    {"IGNORE_VARIABLE_GPU", kQualifier, Id::kOther, "", "a parameter for the CPU only"},
    {"ATOMIC", kQualifier, Id::kOther, "", "an atomic variable in Metal text"},
    {"TYPE", kQualifier, Id::kOther, "", "the template argument"},
    // Types.
    {"void", kType, Id::kOther, "", "no value"},
    {"bool", kType, Id::kOther, "", "true or false"},
    {"Bool", kType, Id::kOther, "", "true or false"},
    {"int", kType, Id::kOther, "", "32-bit integer"},
    {"Int32", kType, Id::kOther, "", "32-bit integer"},
    {"uint", kType, Id::kOther, "", "32-bit integer without sign"},
    {"UInt32", kType, Id::kOther, "", "32-bit integer without sign"},
    {"Int8", kType, Id::kOther, "", "8-bit integer"},
    {"UInt8", kType, Id::kOther, "", "8-bit integer without sign"},
    {"Byte", kType, Id::kOther, "", "8-bit integer without sign"},
    {"Int16", kType, Id::kOther, "", "16-bit integer"},
    {"UInt16", kType, Id::kOther, "", "16-bit integer without sign"},
    {"Int64", kType, Id::kOther, "", "64-bit integer"},
    {"Int", kType, Id::kOther, "", "64-bit integer"},
    {"UInt64", kType, Id::kOther, "", "64-bit integer without sign"},
    {"int8_t", kType, Id::kOther, "", "8-bit integer"},
    {"uint8_t", kType, Id::kOther, "", "8-bit integer without sign"},
    {"int16_t", kType, Id::kOther, "", "16-bit integer"},
    {"uint16_t", kType, Id::kOther, "", "16-bit integer without sign"},
    {"int64_t", kType, Id::kOther, "", "64-bit integer"},
    {"uint64_t", kType, Id::kOther, "", "64-bit integer without sign"},
    {"half", kType, Id::kOther, "", "16-bit number"},
    {"HalfFloat", kType, Id::kOther, "", "16-bit number"},
    {"float", kType, Id::kOther, "", "32-bit number"},
    {"Float32", kType, Id::kOther, "", "32-bit number"},
    {"double", kType, Id::kOther, "", "64-bit number"},
    {"Float64", kType, Id::kOther, "", "64-bit number"},
    {"vec2", kType, Id::kOther, "", "vector of floats"},
    {"vec3", kType, Id::kOther, "", "vector of floats"},
    {"vec4", kType, Id::kOther, "", "vector of floats"},
    {"float2", kType, Id::kOther, "", "vector of floats"},
    {"float3", kType, Id::kOther, "", "vector of floats"},
    {"float4", kType, Id::kOther, "", "vector of floats"},
    {"int2", kType, Id::kOther, "", "vector of integers"},
    {"int3", kType, Id::kOther, "", "vector of integers"},
    {"int4", kType, Id::kOther, "", "vector of integers"},
    {"uint2", kType, Id::kOther, "", "vector of integers without sign"},
    {"uint3", kType, Id::kOther, "", "vector of integers without sign"},
    {"uint4", kType, Id::kOther, "", "vector of integers without sign"},
    {"ivec2", kType, Id::kOther, "", "vector of integers"},
    {"ivec3", kType, Id::kOther, "", "vector of integers"},
    {"ivec4", kType, Id::kOther, "", "vector of integers"},
    {"uvec2", kType, Id::kOther, "", "vector of integers without sign"},
    {"uvec3", kType, Id::kOther, "", "vector of integers without sign"},
    {"uvec4", kType, Id::kOther, "", "vector of integers without sign"},
    {"bvec2", kType, Id::kOther, "", "vector of bools"},
    {"bvec3", kType, Id::kOther, "", "vector of bools"},
    {"bvec4", kType, Id::kOther, "", "vector of bools"},
    {"bool2", kType, Id::kOther, "", "vector of bools"},
    {"bool3", kType, Id::kOther, "", "vector of bools"},
    {"bool4", kType, Id::kOther, "", "vector of bools"},
    {"half2", kType, Id::kOther, "", "vector of 16-bit numbers"},
    {"half3", kType, Id::kOther, "", "vector of 16-bit numbers"},
    {"half4", kType, Id::kOther, "", "vector of 16-bit numbers"},
    {"Vector2d32", kType, Id::kOther, "", "vector of floats"},
    {"Vector32", kType, Id::kOther, "", "vector of three floats"},
    {"Vector4d32", kType, Id::kOther, "", "vector of floats"},
    {"IntVector4d32", kType, Id::kOther, "", "vector of integers"},
    {"Vec2", kType, Id::kOther, "", "vector of two of a type, Vec2<UInt32>"},
    {"Vec3", kType, Id::kOther, "", "vector of three of a type"},
    {"Vec4", kType, Id::kOther, "", "vector of four of a type"},
    {"mat2", kType, Id::kOther, "", "matrix of two columns"},
    {"mat3", kType, Id::kOther, "", "matrix of three columns v0, v1, v2"},
    {"sqmat", kType, Id::kOther, "", "matrix of three columns v0, v1, v2"},
    {"SquareMatrix32", kType, Id::kOther, "", "matrix of three columns v0, v1, v2"},
    {"mat4", kType, Id::kOther, "", "matrix of four columns v0 to v3"},
    {"SquareMatrix4d32", kType, Id::kOther, "", "matrix of four columns v0 to v3"},
    {"Matrix32", kType, Id::kOther, "", "matrix of four columns v0 to v3"},
    {"AffineMatrix32", kType, Id::kOther, "", "offset off and axes v1, v2, v3"},
    {"Block", kType, Id::kOther, "", "a buffer parameter, Block<Float32>"},
    {"BaseArray", kType, Id::kOther, "", "a buffer parameter"},
    {"AtomicUInt32", kType, Id::kOther, "", "a counter parameter"},
    {"GradientRenderData", kType, Id::kGradientData, "", "a gradient parameter"},
    // Graphics stages.
    {"OutPosition", kStage, Id::kOther, "", "position that a vertex stage gives"},
    {"OutPointSize", kStage, Id::kOther, "", "width of a point"},
    {"InVertexID", kStage, Id::kOther, "", "number of the vertex"},
    {"InInstanceID", kStage, Id::kOther, "", "number of the instance"},
    {"InFragCoord", kStage, Id::kOther, "", "position of the pixel"},
    {"InSampleID", kStage, Id::kOther, "", "number of the sample"},
    {"GetFramebufferTexel", kStage, Id::kOther, "", "texel of a framebuffer layer"},
    {"PassTexture", kStage, Id::kOther, "", "a texture as an argument"},
    {"PassMultisampledTexture", kStage, Id::kOther, "", "a texture as an argument"},
    {"SampleParameter", kStage, Id::kOther, "", "filtered value of a sampler that a function takes"},
    {"FetchParameter", kStage, Id::kOther, "", "texel of a sampler that a function takes"},
    {"InPatch", kStage, Id::kOther, "", "varying of a control point"},
    {"InPatchPosition", kStage, Id::kOther, "", "position of a control point"},
    {"InPatchSize", kStage, Id::kOther, "", "number of control points"},
    {"InInvocationID", kStage, Id::kOther, "", "number of this control point"},
    {"InPrimitiveID", kStage, Id::kOther, "", "number of the patch"},
    {"OutTessLevelOuter", kStage, Id::kOther, "", "how often edges are divided"},
    {"OutTessLevelInner", kStage, Id::kOther, "", "how often the inside is divided"},
    {"InTessCoord", kStage, Id::kOther, "", "position in the patch"},
    {"discard", kStage, Id::kOther, "", "drops the pixel"},
    // Of C++.
    {"if", kKeyword, Id::kOther, "", ""},
    {"else", kKeyword, Id::kOther, "", ""},
    {"for", kKeyword, Id::kOther, "", ""},
    {"while", kKeyword, Id::kOther, "", ""},
    {"do", kKeyword, Id::kOther, "", ""},
    {"switch", kKeyword, Id::kOther, "", ""},
    {"case", kKeyword, Id::kOther, "", ""},
    {"default", kKeyword, Id::kOther, "", ""},
    {"break", kKeyword, Id::kOther, "", ""},
    {"continue", kKeyword, Id::kOther, "", ""},
    {"return", kKeyword, Id::kOther, "", ""},
    {"inline", kKeyword, Id::kOther, "", ""},
    {"struct", kKeyword, Id::kOther, "", ""},
    {"const", kKeyword, Id::kOther, "", ""},
    {"static", kKeyword, Id::kOther, "", ""},
    {"constexpr", kKeyword, Id::kOther, "", ""},
    {"true", kKeyword, Id::kOther, "", ""},
    {"false", kKeyword, Id::kOther, "", ""},
    {"unsigned", kKeyword, Id::kOther, "", ""},
    {"static_cast", kKeyword, Id::kOther, "", ""},
    {"namespace", kKeyword, Id::kOther, "", ""},
    // Words of C++ that stand for more than the language has.
    {"auto", kReserved, Id::kOther, "", ""},
    {"template", kReserved, Id::kOther, "", ""},
    {"class", kReserved, Id::kOther, "", ""},
    {"union", kReserved, Id::kOther, "", ""},
    {"enum", kReserved, Id::kOther, "", ""},
    {"typedef", kReserved, Id::kOther, "", ""},
    {"using", kReserved, Id::kOther, "", ""},
    {"goto", kReserved, Id::kOther, "", ""},
    {"asm", kReserved, Id::kOther, "", ""},
    {"try", kReserved, Id::kOther, "", ""},
    {"throw", kReserved, Id::kOther, "", ""},
    {"new", kReserved, Id::kOther, "", ""},
    {"delete", kReserved, Id::kOther, "", ""},
    {"operator", kReserved, Id::kOther, "", ""},
    {"sizeof", kReserved, Id::kOther, "", ""},
    {"decltype", kReserved, Id::kOther, "", ""},
    {"static_assert", kReserved, Id::kOther, "", ""},
    {"reinterpret_cast", kReserved, Id::kOther, "", ""},
    {"const_cast", kReserved, Id::kOther, "", ""},
    {"dynamic_cast", kReserved, Id::kOther, "", ""},
    {"nullptr", kReserved, Id::kOther, "", ""},
    {"this", kReserved, Id::kOther, "", ""},
    {"extern", kReserved, Id::kOther, "", ""},
    {"thread_local", kReserved, Id::kOther, "", ""},
    {"volatile", kReserved, Id::kOther, "", ""},
    {"mutable", kReserved, Id::kOther, "", ""},
    {"friend", kReserved, Id::kOther, "", ""},
    {"virtual", kReserved, Id::kOther, "", ""},
    {"public", kReserved, Id::kOther, "", ""},
    {"private", kReserved, Id::kOther, "", ""},
    {"protected", kReserved, Id::kOther, "", ""},
    {"typename", kReserved, Id::kOther, "", ""},
    {"typeid", kReserved, Id::kOther, "", ""},
    {"concept", kReserved, Id::kOther, "", ""},
    {"requires", kReserved, Id::kOther, "", ""},
    {"noexcept", kReserved, Id::kOther, "", ""},
    {"alignas", kReserved, Id::kOther, "", ""},
    {"alignof", kReserved, Id::kOther, "", ""},
    {"wchar_t", kReserved, Id::kOther, "", ""},
    {"long", kReserved, Id::kOther, "", ""},
    {"short", kReserved, Id::kOther, "", ""},
    {"char", kReserved, Id::kOther, "", ""},
    {"Char", kReserved, Id::kOther, "", ""},
    {"signed", kReserved, Id::kOther, "", ""},
    {"register", kReserved, Id::kOther, "", ""},
};

constexpr std::size_t kIdCount = static_cast<std::size_t>(WordId::kCount);

// What a letter of a form stands for: a type, or a vector of as many components as the form has.
struct FormLetter {
  char letter;
  TypeIndex type = kUnknownType;
  Scalar ofVector = Scalar::kFloat32;
};
constexpr FormLetter kFormLetters[] = {
    {'f', kFloatType},
    {'d', kDoubleType},
    {'i', kIntType},
    {'u', kUIntType},
    {'l', GetScalarType(Scalar::kInt64)},
    {'m', GetScalarType(Scalar::kUInt64)},
    {'b', kBoolType},
    {'F', kUnknownType, Scalar::kFloat32},
    {'I', kUnknownType, Scalar::kInt32},
    {'U', kUnknownType, Scalar::kUInt32},
    {'B', kUnknownType, Scalar::kBool},
    {'2', GetVectorType(Scalar::kFloat32, 2)},
    {'3', GetVectorType(Scalar::kFloat32, 3)},
    {'4', GetVectorType(Scalar::kFloat32, 4)},
    {'v', kVoidType},
    {'K', kMatrix2Type},
    {'M', kMatrix3Type},
    {'N', kMatrix4Type},
};

// The type of a letter in a form, for vectors of `width` components.
TypeIndex ReadLetter(char letter, UInt32 width) {
  for (const FormLetter& entry : kFormLetters) {
    if (entry.letter == letter) return entry.type == kUnknownType ? GetVectorType(entry.ofVector, width) : entry.type;
  }
  return kAffineMatrixType;
}

void AddOverloads(std::string_view form, std::vector<Overload>& overloads) {
  const Bool isGeneric = form.find_first_of("FIUB") != std::string_view::npos;
  for (UInt32 width = isGeneric ? 2 : 1; width <= (isGeneric ? 4u : 1u); ++width)
    overloads.push_back(ReadForm(form, width));
}

// Functions of floats alone are there for 64-bit floats, too; those that are written in the language are not.
Bool HasDoubleForm(const Word& word, std::string_view form) {
  const std::string_view parameters = form.substr(2, form.size() - 3);
  return !word.isExtension && (form[0] == 'f' || form[0] == 'b') &&
         parameters.find_first_not_of('f') == std::string_view::npos;
}

std::string MakeDoubleForm(std::string_view form) {
  std::string made(form);
  std::replace(made.begin(), made.end(), 'f', 'd');
  return made;
}

// Functions of integers alone are there for those of 64 bits.
Bool HasLongForm(const Word& word, std::string_view form) {
  const std::string_view parameters = form.substr(2, form.size() - 3);
  return !word.isExtension && (form[0] == 'i' || form[0] == 'u') &&
         parameters.find_first_not_of(form[0]) == std::string_view::npos;
}

std::string MakeLongForm(std::string_view form) {
  std::string made(form);
  std::replace(made.begin(), made.end(), 'i', 'l');
  std::replace(made.begin(), made.end(), 'u', 'm');
  return made;
}

struct Tables {
  Tables() {
    for (const Word& word : kWords) {
      byName.emplace(word.name, &word);
      const auto id = static_cast<std::size_t>(word.id);
      if (!byId[id]) byId[id] = &word;
      for (std::size_t at = 0; at < word.forms.size();) {
        const std::size_t end = std::min(word.forms.find(' ', at), word.forms.size());
        const std::string_view form = word.forms.substr(at, end - at);
        AddOverloads(form, overloads[id]);
        if (HasDoubleForm(word, form)) doubleOverloads[id].push_back(ReadForm(MakeDoubleForm(form), 1));
        if (HasLongForm(word, form)) longOverloads[id].push_back(ReadForm(MakeLongForm(form), 1));
        at = end + 1;
      }
    }
  }
  std::unordered_map<std::string_view, const Word*> byName;
  std::array<const Word*, kIdCount> byId{};
  std::array<std::vector<Overload>, kIdCount> overloads, doubleOverloads, longOverloads;
};

const Tables& GetTables() {
  static const Tables tables;
  return tables;
}

}  // namespace

Overload ReadForm(std::string_view form, UInt32 width) {
  Overload overload{.result = ReadLetter(form[0], width)};
  for (const char letter : form.substr(2, form.size() - 3)) {
    if (letter == '&')
      overload.changed |= 1u << (overload.count - 1);
    else
      overload.parameters[overload.count++] = ReadLetter(letter, width);
  }
  return overload;
}

std::span<const Word> GetWords() { return kWords; }

const Word* FindWord(std::string_view name) {
  const auto found = GetTables().byName.find(name);
  return found == GetTables().byName.end() ? nullptr : found->second;
}

WordId FindWordId(std::string_view name) {
  const Word* word = FindWord(name);
  return word ? word->id : WordId::kNone;
}

const Word& GetWord(WordId id) { return *GetTables().byId[static_cast<std::size_t>(id)]; }

std::span<const Overload> GetOverloads(WordId id) { return GetTables().overloads[static_cast<std::size_t>(id)]; }

std::span<const Overload> GetDoubleOverloads(WordId id) {
  return GetTables().doubleOverloads[static_cast<std::size_t>(id)];
}

std::span<const Overload> GetLongOverloads(WordId id) {
  return GetTables().longOverloads[static_cast<std::size_t>(id)];
}

}  // namespace ostra::kernellanguage
