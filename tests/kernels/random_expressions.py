"""Random expressions of the kernel language, for make_random_kernels.py."""
import random

NAMES = {"f": "float", "i": "int", "u": "uint", "b": "bool", "d": "double", "l": "Int64", "f2": "vec2", "f3": "vec3",
         "f4": "vec4", "m": "mat3", "h": "half", "y": "UInt8", "w": "Int16", "i2": "int2", "i3": "int3", "i4": "int4", "u2": "uint2", "u3": "uint3", "u4": "uint4"}
VECTORS = ["f2", "f3", "f4", "i2", "i3", "i4", "u2", "u3", "u4"]
# Integers of 8 and 16 bits.
SMALL = ["y", "w"]
COMPONENTS = "xyzw"
# The struct of a kernel, kind "s".
MEMBERS = [("weight", "f"), ("place", "f3"), ("number", "i"), ("isSet", "b"), ("turn", "m"), ("mass", "d"), ("part", "h"),
           ("age", "y")]


class Variable:
    def __init__(self, name, kind, count=0, fixed=False):
        self.name, self.kind, self.count, self.fixed = name, kind, count, fixed


class Expressions:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.seed = seed
        self.lines = []
        self.indent = 0
        self.next = 0
        self.scopes = [[]]
        self.functions = []
        self.in_function = None  # result type
        self.loops = []          # "loop" or "switch"
        self.budget = 0
        self.same = False        # only values that are the same in all invocations
        # Half of the kernels have half floats and small integers; the front end writes such a kernel anew.
        self.has_small = self.chance(0.5)
        self.struct = MEMBERS if self.has_small else MEMBERS[:-2]

    # --- Writing ---

    def line(self, text):
        self.lines.append("\t" * self.indent + text)

    def name(self, stem="v"):
        self.next += 1
        return f"{stem}{self.next}"

    def chance(self, p):
        return self.random.random() < p

    def pick(self, items):
        return items[self.random.randrange(len(items))]

    # One of the kinds, of those that the kernel has.
    def pick_kind(self, kinds):
        return self.pick([kind for kind in kinds if self.has_small or kind not in ("h", "y", "w")])

    def variables(self, kind=None, is_array=False, is_writable=False):
        found = []
        for scope in self.scopes:
            for v in scope:
                if (kind is None or v.kind == kind) and (v.count > 0) == is_array and not (is_writable and v.fixed):
                    found.append(v)
        return found

    def type_name(self, kind):
        return f"State{self.seed}" if kind == "s" else NAMES[kind]

    # --- Expressions ---

    def literal(self, kind):
        if kind == "f":
            return self.pick(["0.0", "1.0", "-1.0", "0.5", "2.5", "-3.25", "100.0", "0.0625", "-0.0", "7.0", "1e10"])
        if kind == "i":
            return self.pick(["0", "1", "-1", "2", "3", "5", "-7", "12", "100", "0x7fff", "2147483647", "-40"])
        if kind == "u":
            return self.pick(["0u", "1u", "2u", "3u", "7u", "31u", "100u", "0xffffu", "4294967295u"])
        if kind == "b":
            if self.in_function is None:
                return self.pick(["UNIFORM(uu) > 7u", "UNIFORM(ui) < 0", "UNIFORM(uf) > 1.5", "UNIFORM(uu) % 3u == 1u", "true", "false"])
            return self.pick(["true", "false"])
        if kind == "d":
            return f"double({self.literal('f')})"
        if kind == "l":
            return f"Int64({self.literal('i')})"
        if kind == "h":
            return f"half({self.literal('f')})"
        if kind in SMALL:
            return f"{NAMES[kind]}({self.literal('i')})"
        return None

    def uniform(self, kind):
        with_same, self.same = self.same, True
        text = self.expression(kind, 1)
        self.same = with_same
        return text

    # An index of a read-only buffer, below 32 or of the invocation.
    def place(self, depth):
        if self.in_function is None and not self.same and self.chance(0.6):
            return self.pick(["i", "i", "i + 3u", "i * 2u", "2u + 2u * i", "UNIFORM(count) - 1u - i", "int(i)",
                              "int(i) + 1", "i ^ 1u", "(i >> 1)"])
        if self.chance(0.5):
            return f"({self.expression('u', depth - 1)} & 31u)"
        if self.chance(0.3):
            return f"({self.expression('i', depth - 1)} & 31)"
        return self.pick(["0", "5u", "UNIFORM(uu) & 31u", "UNIFORM(count) / 2u % 32u"])

    def load(self, kind, depth):
        if kind == "f4" and self.has_small and self.in_function is None:
            return f"vec4(UNIFORM_BUFFER(hfourin)[{self.place(depth)}])"
        buffer = {"f": "fin", "i": "iin", "u": "uin", "f3": "vin", "d": "din", "h": "hin", "y": "yin", "w": "win"}.get(kind)
        if buffer is None or self.in_function is not None:
            return None
        if not self.same and self.chance(0.15):
            return f"(i > 0u ? UNIFORM_BUFFER({buffer})[i - 1u] : {self.leaf(kind)})"
        return f"UNIFORM_BUFFER({buffer})[{self.place(depth)}]"

    def leaf(self, kind):
        choices = []
        if not self.same:
            choices += [v.name for v in self.variables(kind)] * 2
            if kind == "u" and self.in_function is None:
                choices += ["i", "InGlobalInvocationID.x", "InLocalInvocationID.x", "InWorkGroupID.x",
                            "InGlobalInvocationID.y", "LinearInvocation()", "InLocalInvocationID.y"]
        else:
            choices += [v.name for v in self.variables(kind) if v.name.startswith("k")]
        if self.in_function is None:
            choices += {"f": ["UNIFORM(uf)", "UNIFORM(uv).y"], "i": ["UNIFORM(ui)"], "u": ["UNIFORM(uu)"],
                        "f3": ["UNIFORM(uv)"]}.get(kind, [])
        if kind in VECTORS:
            parts = int(kind[1])
            if not choices or self.chance(0.3):
                return f"{NAMES[kind]}({', '.join(self.leaf(kind[0]) for _ in range(parts))})"
            return self.pick(choices)
        if kind == "m":
            return self.pick(choices) if choices else f"mat3({', '.join(self.leaf('f3') for _ in range(3))})"
        if kind == "s":
            return self.pick(choices) if choices else f"Make{self.seed}({self.leaf('f')}, {self.leaf('i')}, {self.leaf('m')}, {self.leaf('b')})"
        if not choices or self.chance(0.15):
            return "(" + self.literal(kind) + ")" if kind == "b" else self.literal(kind)
        return self.pick(choices)

    def call(self, kind, depth):
        # Arguments of functions are evaluated in no fixed order: those that change something stand alone.
        fits = [f for f in self.functions if f[1] == kind and all(not p[1] for p in f[2])]
        if not fits:
            return None
        f = self.pick(fits)
        return f"{f[0]}({', '.join(self.expression(p[0], depth - 1) for p in f[2])})"

    # What of a struct or a matrix is of a kind.
    def members(self, variable, kind):
        if variable.kind == "m":
            columns = [".v0", ".v1", ".v2"]
            return columns if kind == "f3" else [c + "." + x for c in columns for x in "xyz"] if kind == "f" else []
        found = []
        for name, other in self.struct:
            if other == kind:
                found.append("." + name)
            if other == "m":
                found += ["." + name + part for part in self.members(Variable("", "m"), kind)]
            if other == "f3" and kind == "f":
                found += [f".{name}.{x}" for x in "xyz"]
        return found

    def member(self, kind):
        found = [v.name + part for v in (self.variables("s") + self.variables("m")) for part in self.members(v, kind)
                 if not self.same]
        return self.pick(found) if found else None

    def make_m(self, kind, e):
        form = self.random.randrange(4)
        if form == 0:
            return f"mat3({e('f3')}, {e('f3')}, {e('f3')})"
        if form == 1:
            return f"mul({e()}, {e()})"
        return f"transpose({e()})" if form == 2 else None

    # A value of the struct: a variable, one of two, or what the function makes.
    def make_s(self, kind, e):
        name = f"Make{self.seed}"
        if self.in_function is not None:
            return None
        return f"{name}({e('f')}, {e('i')}, {e('m')}, {e('b')})"

    def component(self, kind, depth):
        wide = [v for v in VECTORS if v[0] == kind]
        if not wide:
            return None
        vector = self.pick(wide)
        part = COMPONENTS[self.random.randrange(int(vector[1]))]
        variables = self.variables(vector) if not self.same else []
        if variables and self.chance(0.8):
            return f"{self.pick(variables).name}.{part}"
        return f"({self.expression(vector, depth - 1)}).{part}"

    def element(self, kind, depth):
        arrays = self.variables(kind, is_array=True)
        if not arrays or self.same:
            return None
        array = self.pick(arrays)
        return f"{array.name}[{self.array_place(array, depth)}]"

    def array_place(self, array, depth):
        form = self.random.randrange(4)
        if form == 0:
            return str(self.random.randrange(array.count))
        if form == 1:
            return f"{self.expression('u', depth - 1)} % {array.count}u"
        if form == 2 and array.count == 4:
            return f"{self.expression('i', depth - 1)} & 3"
        return f"{self.leaf('u')} % {array.count}u"

    def expression(self, kind, depth):
        if depth <= 0:
            return self.leaf(kind)
        for _ in range(6):
            text = self.try_expression(kind, depth)
            if text is not None:
                return text
        return self.leaf(kind)

    def try_expression(self, kind, depth):
        e = lambda other=kind: self.expression(other, depth - 1)
        form = self.random.randrange(13)
        if form == 0:
            return self.leaf(kind)
        if form == 1:
            return self.load(kind, depth)
        if form == 2:
            return self.call(kind, depth)
        if form == 3:
            return self.component(kind, depth)
        if form == 4:
            return self.element(kind, depth)
        if form == 5:
            return f"({e('b')} ? {e()} : {e()})"
        if form == 12:
            return self.member(kind)
        return getattr(self, "make_" + ("vector" if kind in VECTORS else "small" if kind in SMALL else kind))(kind, e)

    def arithmetic(self, kind, e):
        left, sign, right = e(), self.pick("+-*/"), e()
        return f"({left} {'+' if sign == '-' and right.startswith(NAMES[kind] + '(') else sign} {right})"

    def make_f(self, kind, e):
        form = self.random.randrange(12)
        if form < 4:
            return self.arithmetic(kind, e)
        if form == 4:
            return f"{self.pick(['abs', 'sign', 'floor', 'ceil', 'trunc', 'fract', 'sqrt', 'inversesqrt', 'radians', 'degrees'])}({e()})"
        if form == 5:
            return f"{self.pick(['min', 'max', 'mod', 'step'])}({e()}, {e()})"
        if form == 6:
            return f"{self.pick(['clamp', 'mix', 'smoothstep'])}({e()}, {e()}, {e()})"
        if form == 7:
            return f"float({e(self.pick_kind('iubdlhhyw'))})"
        if form == 8:
            return f"(- {e()})"
        if form == 9:
            vector = self.pick(["f2", "f3", "f4"])
            return self.pick([f"dot({e(vector)}, {e(vector)})", f"length({e(vector)})",
                              f"distance({e(vector)}, {e(vector)})"])
        if form == 10 and not self.same and self.in_function is None:
            word = self.pick(["sin", "cos", "exp", "exp2", "log", "atan", "tan", "asin", "acos", "log2"])
            return f"{word}(UNIFORM_BUFFER(fin)[{self.place(1)}])"
        return f"intBitsToFloat({e('i')} & 0x7f7fffff)"

    def whole(self, kind, e):
        form = self.random.randrange(11)
        u = kind == "u"
        if form < 4:
            return f"({e()} {self.pick('+-*&|^')} {e()})"
        if form == 4:
            return f"({e()} {self.pick(['<<', '>>'])} {self.pick([str(self.random.randrange(32)), '(' + e() + (' & 31u)' if u else ' & 31)')])})"
        if form == 5:
            return f"({e()} {self.pick('/%')} (({e()} & {'15u) + 1u' if u else '15) + 1'}))"
        if form == 6:
            return f"{self.pick(['min', 'max'])}({e()}, {e()})"
        if form == 7:
            return f"clamp({e()}, {e()}, {e()})"
        if form == 8:
            return f"({self.pick('-~')} {e()})"
        return None

    def make_i(self, kind, e):
        text = self.whole(kind, e)
        if text is not None:
            return text
        form = self.random.randrange(6)
        if form == 0:
            return f"ToInt{self.seed}({e('f')})"
        if form == 1:
            return f"int({e(self.pick_kind('ublyyw'))})"
        if form == 2:
            return f"{self.pick(['abs', 'sign'])}({e()})"
        if form == 3:
            return f"({e('b')} + {e()})"
        if form == 4:
            variables = self.variables("i") if not self.same else []
            if variables:
                v = self.pick(variables).name
                return f"({v} > 0 ? {e()} {self.pick('/%')} {v} : {e()})"
        return f"int({e('u')})"

    def make_u(self, kind, e):
        text = self.whole(kind, e)
        if text is not None:
            return text
        return f"uint({e(self.pick_kind('iblyw'))})"

    def make_b(self, kind, e):
        form = self.random.randrange(9)
        if form < 4:
            other = self.pick_kind("ffiiuudlhyw")
            return f"({e(other)} {self.pick(['<', '<=', '>', '>=', '==', '!='])} {e(other)})"
        if form < 6:
            return f"({e()} {self.pick(['&&', '||'])} {e()})"
        if form == 6:
            return f"(!{e()})"
        if form == 7:
            return self.pick([f"isnan({e('f')})", f"isinf({e('f')})", f"bool({e(self.pick_kind('iuhw'))})"])
        return f"({e()} {self.pick(['==', '!=', '&', '|', '^'])} {e()})" if form == 8 else None

    # Half floats, which are computed as floats, and small integers, which are computed as ints: rounded and cut at the end.
    def make_h(self, kind, e):
        form = self.random.randrange(6)
        if form == 0:
            return f"half({e()} {self.pick('+*')} {e('f')})"
        if form == 1:
            return f"half({self.pick(['min', 'max'])}({e('f')}, float({e()})))"
        if form == 2:
            return f"half(- {e()})"
        return f"half({e(self.pick('ffiud'))})"

    def make_small(self, kind, e):
        name, form = NAMES[kind], self.random.randrange(6)
        if form < 2:
            return f"{name}({e()} {self.pick('+-*&|^')} {e(self.pick(SMALL))})"
        if form == 2:
            return f"{name}({e()} {self.pick(['<<', '>>'])} {self.random.randrange(16)})"
        if form == 3:
            return f"{name}({self.pick('-~')}{e()})"
        return f"{name}({e(self.pick('iubl'))})"

    def make_d(self, kind, e):
        form = self.random.randrange(9)
        if form < 3:
            return self.arithmetic(kind, e)
        if form == 3:
            return f"(- {e()})"
        if form == 4:
            return f"{self.pick(['abs', 'sign', 'floor', 'ceil', 'trunc', 'sqrt', 'exp', 'sin', 'log'])}({e()})"
        if form == 5:
            return f"{self.pick(['min', 'max', 'pow', 'step'])}({e()}, {e()})"
        return f"double({e(self.pick_kind('fiulh'))})"

    def make_l(self, kind, e):
        form = self.random.randrange(6)
        if form < 3:
            return f"({e()} {self.pick('+-*&|^')} {e()})"
        if form == 3:
            return f"({e()} {self.pick('/%')} (Int64({e('u')} & 15u) + Int64(1)))"
        if form == 4:
            return f"({e()} {self.pick(['<<', '>>'])} {self.random.randrange(40)})"
        return f"Int64({e(self.pick_kind('iubyw'))})"

    def make_vector(self, kind, e):
        scalar, parts = kind[0], int(kind[1])
        form = self.random.randrange(9)
        if form == 0:
            return f"{NAMES[kind]}({', '.join(e(scalar) for _ in range(parts))})"
        if form == 1:
            return f"{NAMES[kind]}({e(scalar)})"
        if form == 2 and parts > 2:
            first = f"{scalar}{parts - 1}"
            return f"{NAMES[kind]}({e(first)}, {e(scalar)})" if self.chance(0.5) else \
                f"{NAMES[kind]}({e(scalar)}, {e(first)})"
        if form < 5:
            return f"({e()} {self.pick('+-*')} {e()})"
        if form == 5:
            return f"({e()} {self.pick('+-*')} {e(scalar)})" if self.chance(0.5) else f"({e(scalar)} {self.pick('+-*')} {e()})"
        if form == 6:
            return self.pick([f"{self.pick(['min', 'max'])}({e()}, {e()})", f"min({e()}, {e(scalar)})",
                              f"clamp({e()}, {e()}, {e()})", f"clamp({e()}, {e(scalar)}, {e(scalar)})"])
        if scalar == "f":
            return self.pick([f"floor({e()})", f"abs({e()})", f"fract({e()})", f"mix({e()}, {e()}, {e('f')})",
                              f"step({e('f')}, {e()})", f"(- {e()})", f"normalize({e()})", f"({e()} / {e('f')})",
                              f"reflect({e()}, {e()})", f"mix({e()}, {e()}, {e()})", f"ceil({e()})", f"sqrt({e()})"])
        return f"(- {e()})" if scalar == "i" else None
