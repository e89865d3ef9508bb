"""A Pygments lexer for kernel files.

    pygmentize -x -l editors/pygments/ostra_lexer.py:OstraKernelLexer kernels/net.ostra.kernels.blur5.krn
"""

from pygments.lexer import RegexLexer, bygroups, include, using, this, words
from pygments.token import Comment, Keyword, Name, Number, Operator, Punctuation, String, Text

# Written by editors/write_words.py.
WORDS = {
    "Type": """
        void bool Bool int Int32 uint UInt32 Int8 UInt8 Byte Int16 UInt16 Int64 Int UInt64 int8_t uint8_t int16_t
        uint16_t int64_t uint64_t half HalfFloat float Float32 double Float64 vec2 vec3 vec4 float2 float3 float4 int2
        int3 int4 uint2 uint3 uint4 ivec2 ivec3 ivec4 uvec2 uvec3 uvec4 bvec2 bvec3 bvec4 bool2 bool3 bool4 half2 half3
        half4 Vector2d32 Vector32 Vector4d32 IntVector4d32 Vec2 Vec3 Vec4 mat2 mat3 sqmat SquareMatrix32 mat4
        SquareMatrix4d32 Matrix32 AffineMatrix32 Block BaseArray AtomicUInt32 GradientRenderData
        """.split(),
    "Function": """
        abs sign floor ceil trunc fract mod min max clamp mix step smoothstep sqrt Sqrt inversesqrt pow exp exp2 log
        log2 sin cos tan asin acos atan radians degrees isnan isinf floatBitsToUint floatBitsToInt uintBitsToFloat
        intBitsToFloat dot cross length distance normalize reflect mul transpose MatrixOffset matoff determinant inverse
        lessThan lessThanEqual greaterThan greaterThanEqual equal notEqual any all not round roundEven saturate lerp
        atan2 rcp rsqrt fmod ldexp copysign isfinite select refract faceforward outerProduct matrixCompMult bitCount
        popcount findMSB findLSB clz ctz bitfieldExtract bitfieldInsert bitfieldReverse rotate packHalf2x16
        unpackHalf2x16 packUnorm4x8 unpackUnorm4x8 packSnorm4x8 unpackSnorm4x8 packUnorm2x16 unpackUnorm2x16
        packSnorm2x16 unpackSnorm2x16 expm1 exp10 log1p log10 sinh cosh tanh asinh acosh atanh erf cbrt hypot fma mad
        modf frexp sincos fabs fmin fmax rint frac mul_hi umulExtended uaddCarry usubBorrow asfloat asint asuint
        groupReduceAdd groupReduceMin groupReduceMax groupReduceAnd groupReduceOr groupReduceXor groupScanInclusiveAdd
        groupScanExclusiveAdd groupBroadcast groupAny groupAll groupCount groupBallot
        """.split(),
    "Value": """
        InGlobalInvocationID InLocalInvocationID InWorkGroupID InWorkGroupSize
        """.split(),
    "Parameter": """
        UNIFORM UNIFORM_BUFFER CPU_PASS_BUFFER GetAtomicCounter LOCALDATA
        """.split(),
    "Texture": """
        SampleTexture SampleTextureLayer FetchTexture FetchTextureLayer TextureSize StoreImage
        """.split(),
    "Atomic": """
        AtomicAdd AtomicSub AtomicMin AtomicMax AtomicAnd AtomicOr AtomicXor AtomicExchange AtomicCompareExchange
        """.split(),
    "Call": """
        LinearInvocation RenderNoise SampleGradient
        """.split(),
    "Statement": """
        GROUPSIZE CPU_GRANULARITY CPU_SINGLETHREADEDTHRESHOLD KERNELINPUTS OSTRA_PARALLEL_KERNEL
        OSTRA_PARALLEL_KERNEL_END FP_KERNEL FP_KERNEL_END OSTRA_METHOD KERNEL_RETURN CPU_SCOPE_START CPU_SCOPE_END
        ADDNOISECALL GROUPSHAREDMEM MAKELOCAL groupSharedBarrier PRINT ASSERT
        """.split(),
    "Qualifier": """
        INOUT inout out in CPU_CONSTREF IGNORE_VARIABLE_GPU ATOMIC TYPE
        """.split(),
    "Stage": """
        OutPosition OutPointSize InVertexID InInstanceID InFragCoord InSampleID GetFramebufferTexel PassTexture
        PassMultisampledTexture SampleParameter FetchParameter InPatch InPatchPosition InPatchSize InInvocationID
        InPrimitiveID OutTessLevelOuter OutTessLevelInner InTessCoord discard
        """.split(),
    "Reserved": """
        auto template class union enum typedef using goto asm try throw new delete operator sizeof decltype
        static_assert reinterpret_cast const_cast dynamic_cast nullptr this extern thread_local volatile mutable friend
        virtual public private protected typename typeid concept requires noexcept alignas alignof wchar_t long short
        char Char signed register
        """.split(),
}
KEYWORDS = {
    "Control": """
        if else for while do switch case default break continue return
        """.split(),
    "Storage": """
        inline struct const static constexpr unsigned namespace
        """.split(),
    "Constant": """
        true false
        """.split(),
    "Cast": """
        static_cast
        """.split(),
}
# End of what is written.

# The token of each kind of words.
TOKENS = {
    "Type": Keyword.Type,
    "Function": Name.Builtin,
    "Value": Name.Variable.Magic,
    "Parameter": Name.Builtin,
    "Texture": Name.Builtin,
    "Atomic": Name.Builtin,
    "Call": Name.Builtin,
    "Statement": Keyword.Pseudo,
    "Qualifier": Keyword.Declaration,
    "Stage": Name.Variable.Magic,
    "Reserved": Keyword.Reserved,
    "Control": Keyword,
    "Storage": Keyword.Declaration,
    "Constant": Keyword.Constant,
    "Cast": Operator.Word,
}


class OstraKernelLexer(RegexLexer):
    """Lexer of kernel files, `*.krn`."""

    name = "Ostra kernel"
    aliases = ["ostra-kernel", "krn"]
    filenames = ["*.krn"]

    tokens = {
        "root": [
            # A parameter: its type in parentheses and its name, alone in a line.
            (r"^(\()([^()\n]+)(\))([ \t]*)(\w+)(?=[ \t]*(?:,[ \t]*)?(?:\\[ \t]*)?$)",
             bygroups(Punctuation, using(this, state="type"), Punctuation, Text, Name.Variable)),
            (r"^([ \t]*)(#[ \t]*define)([ \t]+)(KERNELINPUTS)\b",
             bygroups(Text, Comment.Preproc, Text, TOKENS["Statement"])),
            (r"^([ \t]*)(#[ \t]*include)([ \t]+)(<[^>\n]*>|\"[^\"\n]*\")",
             bygroups(Text, Comment.Preproc, Text, Comment.PreprocFile)),
            (r"^([ \t]*)(#[ \t]*(?:define|undef|ifdef|ifndef))([ \t]+)(\w+)",
             bygroups(Text, Comment.Preproc, Text, Name.Constant)),
            (r"^([ \t]*)(#[ \t]*[a-z]+)", bygroups(Text, Comment.Preproc)),
            (r"\b(OSTRA_PARALLEL_KERNEL|FP_KERNEL)([ \t]*)(\()([ \t]*)(\w+)",
             bygroups(TOKENS["Statement"], Text, Punctuation, Text, Name.Function)),
            (r"\b(struct)([ \t]+)(\w+)", bygroups(Keyword.Declaration, Text, Name.Class)),
            include("code"),
        ],
        "type": [
            (r"\b(?:attribute|varying)\b", Keyword.Declaration),
            include("code"),
        ],
        "code": [
            (r"\s+", Text),
            (r"\\$", Text),
            (r"//(?:[^\\\n]|\\.|\\\n)*", Comment.Single),
            (r"/\*[\s\S]*?\*/", Comment.Multiline),
            (r'"(?:[^"\\\n]|\\.)*"', String),
            (r"(?<=[\w)\]])(\.)([A-Za-z_]\w*)", bygroups(Operator, Name.Attribute)),
            (r"0[xX][0-9A-Fa-f]+[uU]?", Number.Hex),
            (r"(?:\d+\.\d*|\.\d+)(?:[eE][-+]?\d+)?[fF]?|\d+[eE][-+]?\d+[fF]?", Number.Float),
            (r"\d+[uUlL]*", Number.Integer),
            (r"TextureSampler_[123]D_\w+", Keyword.Type),
            *((words(names, prefix=r"\b", suffix=r"\b"), TOKENS[kind])
              for kind, names in (WORDS | KEYWORDS).items()),
            (r"[A-Za-z_]\w*(?=\s*\()", Name.Function),
            (r"[A-Za-z_]\w*", Name),
            (r"[-+*/%=<>!&|^~?:.]+", Operator),
            (r"[{}()\[\],;]", Punctuation),
        ],
    }
