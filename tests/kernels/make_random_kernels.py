#!/usr/bin/env python3
"""Writes random kernels, the same ones for the same seed:

    make_random_kernels.py --seed 7 --count 2 FOLDER        net.ostra.test.random7.krn, net.ostra.test.random8.krn

All have the parameters that RandomKernels in lane_forms_test.cpp sets. An invocation writes elements of its own only, so
that the order of invocations makes no difference; divisors are never 0, indices are inside, and loops end. Values that
are no number must not reach integers: their bits are not fixed. Nor is the sign of `0.0 - float(n)` of an integer, which
GCC 12 takes for `-float(n)`: no converted integer is subtracted.
"""
import argparse
import os
import random

INPUTS = [
    "(UInt32) count", "(UInt32) width", "(Int32) ui", "(UInt32) uu", "(Float32) uf", "(Vector32) uv",
    "(const Block<Float32>) fin", "(const Block<Int32>) iin", "(const Block<UInt32>) uin",
    "(const Block<Vector32>) vin", "(const Block<Float64>) din", "(Block<Float32>) fout", "(Block<Int32>) iout",
    "(Block<UInt32>) uout", "(Block<Vector2d32>) twoout", "(Block<Vector32>) threeout", "(Block<Vector4d32>) fourout",
    "(Block<Float64>) dout", "(Block<Int64>) lout", "(Block<UInt32>) bins", "(AtomicUInt32*) counter"
]
NAMES = {"f": "float", "i": "int", "u": "uint", "b": "bool", "d": "double", "l": "Int64", "f2": "vec2", "f3": "vec3",
         "f4": "vec4", "i2": "int2", "i3": "int3", "i4": "int4", "u2": "uint2", "u3": "uint3", "u4": "uint4"}
VECTORS = ["f2", "f3", "f4", "i2", "i3", "i4", "u2", "u3", "u4"]
COMMON = ["f", "f", "f", "i", "i", "i", "u", "u", "b", "f2", "f3", "f4", "i2", "u3", "d", "l"]
COMPONENTS = "xyzw"
# What a buffer gets, and where an invocation writes.
OUTPUTS = [("fout", "f", "i"), ("iout", "i", "i"), ("uout", "u", "many"), ("twoout", "f2", "back"),
           ("threeout", "f3", "i"), ("fourout", "f4", "two"), ("dout", "d", "i"), ("lout", "l", "i")]


class Variable:
    def __init__(self, name, kind, count=0, fixed=False):
        self.name, self.kind, self.count, self.fixed = name, kind, count, fixed


class Kernel:
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

    def variables(self, kind=None, is_array=False, is_writable=False):
        found = []
        for scope in self.scopes:
            for v in scope:
                if (kind is None or v.kind == kind) and (v.count > 0) == is_array and not (is_writable and v.fixed):
                    found.append(v)
        return found

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
        buffer = {"f": "fin", "i": "iin", "u": "uin", "f3": "vin", "d": "din"}.get(kind)
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
        form = self.random.randrange(12)
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
        return getattr(self, "make_" + ("vector" if kind in VECTORS else kind))(kind, e)

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
            return f"float({e(self.pick('iubdl'))})"
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
            return f"ToInt({e('f')})"
        if form == 1:
            return f"int({e(self.pick('ubl'))})"
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
        return f"uint({e(self.pick('ibl'))})"

    def make_b(self, kind, e):
        form = self.random.randrange(9)
        if form < 4:
            other = self.pick("ffiiuudl")
            return f"({e(other)} {self.pick(['<', '<=', '>', '>=', '==', '!='])} {e(other)})"
        if form < 6:
            return f"({e()} {self.pick(['&&', '||'])} {e()})"
        if form == 6:
            return f"(!{e()})"
        if form == 7:
            return self.pick([f"isnan({e('f')})", f"isinf({e('f')})", f"bool({e(self.pick('iu'))})"])
        return f"({e()} {self.pick(['==', '!=', '&', '|', '^'])} {e()})" if form == 8 else None

    def make_d(self, kind, e):
        form = self.random.randrange(6)
        if form < 3:
            return self.arithmetic(kind, e)
        if form == 3:
            return f"(- {e()})"
        return f"double({e(self.pick('fiul'))})"

    def make_l(self, kind, e):
        form = self.random.randrange(6)
        if form < 3:
            return f"({e()} {self.pick('+-*&|^')} {e()})"
        if form == 3:
            return f"({e()} {self.pick('/%')} (Int64({e('u')} & 15u) + Int64(1)))"
        if form == 4:
            return f"({e()} {self.pick(['<<', '>>'])} {self.random.randrange(40)})"
        return f"Int64({e(self.pick('iub'))})"

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

    # --- Statements ---

    def block(self, depth, count):
        self.line("{")
        self.indent += 1
        self.scopes.append([])
        for _ in range(count):
            self.statement(depth)
        self.scopes.pop()
        self.indent -= 1
        self.line("}")

    def size(self):
        return self.random.randrange(1, 5)

    def condition(self):
        return self.uniform("b") if self.chance(0.25) else self.expression("b", 2)

    def statement(self, depth):
        self.budget -= 1
        form = self.random.randrange(20)
        if self.budget <= 0 or depth <= 0:
            form = self.pick([0, 1, 2, 2, 3, 10])
        if form <= 1:
            return self.declare()
        if form <= 4:
            return self.assign()
        if form == 5:
            return self.array()
        if form in (6, 7):
            self.line(f"if ({self.condition()})")
            self.block(depth - 1, self.size())
            if self.chance(0.5):
                self.line("else")
                self.block(depth - 1, self.size())
            return None
        if form in (8, 9):
            return self.loop(depth)
        if form == 10:
            return self.store()
        if form == 11:
            return self.switch(depth)
        if form in (12, 13, 14):
            return self.jump()
        if form == 15:
            return self.change_by_call()
        if form == 16:
            return self.atomic()
        return self.assign()

    def declare(self, kind=None):
        kind = kind or self.pick(COMMON)
        name = self.name()
        value = self.uniform(kind) if self.chance(0.2) else self.expression(kind, 3)
        self.line(f"{NAMES[kind]} {name} = {value};")
        self.scopes[-1].append(Variable(name, kind))

    def array(self):
        kind = self.pick(["f", "f", "i", "u", "f2", "b"])
        name = self.name("a")
        count = self.pick([3, 4, 5])
        values = ", ".join(self.uniform(kind) if self.chance(0.4) else self.expression(kind, 1) for _ in range(count))
        if self.chance(0.3):
            values = ", ".join(self.uniform(kind) for _ in range(count - 1))
        self.line(f"{NAMES[kind]} {name}[{count}] = {{{values}}};")
        self.scopes[-1].append(Variable(name, kind, count))

    def assign(self):
        arrays = [v for v in self.variables(is_array=True) if not v.fixed]
        if arrays and self.chance(0.25):
            array = self.pick(arrays)
            place = self.array_place(array, 2)
            self.line(f"{array.name}[{place}] = {self.expression(array.kind, 2)};")
            return
        variables = self.variables(is_writable=True)
        if not variables:
            return self.declare()
        v = self.pick(variables)
        target, kind = v.name, v.kind
        if kind in VECTORS and self.chance(0.5):
            target += "." + COMPONENTS[self.random.randrange(int(kind[1]))]
            kind = kind[0]
        form = self.random.randrange(8)
        if form == 0 and kind in ("i", "u", "l"):
            self.line(f"{target}{self.pick(['++', '--'])};" if self.chance(0.5) else f"++{target};")
        elif form <= 3 and kind != "b":
            operators = {"i": "+-*&|^", "u": "+-*&|^", "l": "+-*^", "f": "+-*/", "d": "+-*"}.get(kind, "+-*")
            value = self.uniform(kind) if self.chance(0.2) else self.expression(kind, 2)
            if kind in ("i", "u") and self.chance(0.2):
                self.line(f"{target} {self.pick(['<<=', '>>='])} {self.random.randrange(32)};")
            else:
                self.line(f"{target} {self.pick(operators)}= {value};")
        else:
            value = self.uniform(kind) if self.chance(0.2) else self.expression(kind, 3)
            self.line(f"{target} = {value};")

    def loop(self, depth):
        k = self.name("k")
        count = self.random.randrange(1, 6)
        form = self.random.randrange(6)
        varying = f"({self.expression('i', 2)} & 7)"
        kind, one = "i", "1"
        self.loops.append("loop")
        self.scopes.append([])
        if form <= 1:
            self.line(f"for (int {k} = 0; {k} < {count}; {k}++)")
            self.scopes[-1].append(Variable(k, "i", fixed=True))
            self.block(depth - 1, self.size())
        elif form == 2:
            # Counters that the body moves on, too.
            limit = varying if self.chance(0.5) else f"{count + 4}"
            self.line(f"for (int {k} = {self.pick(['0', '-2', varying])}; {k} < {limit}; {self.pick([k + '++', '++' + k, k + ' += 2'])})")
            self.line("{")
            self.indent += 1
            self.name()
            self.scopes[-1].append(Variable(k, "i", fixed=True))
            self.block(depth - 1, self.size())
            if self.chance(0.6):
                self.line(f"if ({self.condition()}) continue;")
            if self.chance(0.6):
                self.line(f"{k} += {self.random.randrange(3)};")
            self.block(depth - 1, self.size())
            self.indent -= 1
            self.line("}")
        elif form == 3:
            self.line(f"for (int {k} = 0; {k} < {varying}; ++{k})")
            self.scopes[-1].append(Variable(k, "i", fixed=True))
            self.block(depth - 1, self.size())
        else:
            # Ends by its counter, which grows before anything may continue.
            condition = self.condition()
            start = self.pick(["0", f"({self.expression('i', 1)} & 3)"])
            self.scopes.pop()
            self.line(f"int {k} = {start};")
            self.scopes[-1].append(Variable(k, kind, fixed=True))
            self.scopes.append([])
            do = form == 5
            self.line("do" if do else f"while ({k} < {count} && {condition})")
            self.line("{")
            self.indent += 1
            self.line(f"{k} = {k} + {one};")
            self.block(depth - 1, self.size())
            if self.chance(0.3):
                self.jump()
            self.block(depth - 1, self.size())
            self.indent -= 1
            self.line("}")
            if do:
                self.line(f"while ({k} < {count} && {condition});")
        self.scopes.pop()
        self.loops.pop()

    def switch(self, depth):
        n = self.random.randrange(2, 5)
        unsigned = self.chance(0.4)
        suffix = "u" if unsigned else ""
        kind = "u" if unsigned else "i"
        value = self.uniform(kind) if self.chance(0.3) else self.expression(kind, 2)
        self.line(f"switch ({value} {self.pick(['%', '&'])} {n}{suffix})")
        self.line("{")
        self.loops.append("switch")
        labels = [f"case {c}{suffix}:" for c in range(n)]
        if self.chance(0.7):
            labels.insert(self.random.randrange(len(labels) + 1), "default:")
        for i, label in enumerate(labels):
            self.line(label)
            if self.chance(0.15) and i + 1 < len(labels):
                continue
            self.block(depth - 1, self.size())
            if self.chance(0.2):
                self.line(f"if ({self.condition()}) break;")
                self.block(depth - 1, 1)
            if self.chance(0.6):
                self.line("break;")
            elif i + 1 < len(labels):
                self.line("// falls through")
        self.loops.pop()
        self.line("}")

    def jump(self):
        jumps = []
        if self.loops:
            jumps += ["break;"] * 3
        if "loop" in self.loops:
            jumps += ["continue;"] * 3
        if self.in_function is None:
            jumps += ["return;"]
            if not self.loops and not self.chance(0.25):
                return self.assign()
        elif self.in_function == "void":
            jumps += ["return;"]
        else:
            jumps += [f"return {self.expression(self.in_function, 2)};"]
        jump = self.pick(jumps)
        self.line(f"if ({self.condition()}) {jump}" if self.chance(0.7) else f"if ({self.condition()}) {{ {self.pick(['', 'if (' + self.condition() + ') '])}{jump} }}")

    def store(self):
        if self.in_function is not None:
            return self.assign()
        buffer, kind, where = self.pick(OUTPUTS)
        place = {"i": "i", "many": self.pick(["i * 4u", "i * 4u + 1u", "4u * i + 3u", f"i * 4u + ({self.expression('u', 1)} & 3u)"]),
                 "back": "UNIFORM(count) - 1u - i", "two": self.pick(["i * 2u", "2u * i + 1u"])}[where]
        target = f"UNIFORM_BUFFER({buffer})[{place}]"
        form = self.random.randrange(6)
        if kind in VECTORS and form <= 1:
            target += "." + COMPONENTS[self.random.randrange(int(kind[1]))]
            kind = kind[0]
        sign = self.pick("+-*") + "=" if form == 2 and "&" not in place else "="
        self.line(f"{target} {sign} {self.uniform(kind) if self.chance(0.15) else self.expression(kind, 3)};")

    # Changes an element whatever its expression gives: an odd number is exclusive-ored with what stood there. So an
    # invocation has done something before it may return. Random numbers of its own leave the rest as it is.
    def first_store(self):
        others, self.random = self.random, random.Random(f"first store {self.seed}")
        text = f"UNIFORM_BUFFER(lout)[i] ^= Int64({self.expression('u', 3)}) * Int64(2) + Int64(1);"
        self.random = others
        return text

    def atomic(self):
        if self.in_function is not None:
            return self.assign()
        old = self.name("o")
        self.line(f"uint {old} = 0u;")
        if self.chance(0.5):
            self.line(f"AtomicAdd(UNIFORM_BUFFER(bins)[{self.expression('u', 2)} % 8u], {self.expression('u', 2)}, {old});")
        else:
            self.line(f"{self.pick(['AtomicAdd', 'AtomicSub'])}(GetAtomicCounter(counter), {self.expression('u', 2)}, {old});")

    def change_by_call(self):
        fits = [f for f in self.functions if any(p[1] for p in f[2])]
        if not fits:
            return self.assign()
        f = self.pick(fits)
        arguments, used = [], set()
        for kind, qualifier in f[2]:
            if not qualifier:
                arguments.append(self.expression(kind, 1))
                continue
            variables = [v for v in self.variables(kind, is_writable=True) if v.name not in used]
            if not variables:
                name = self.name()
                self.line(f"{NAMES[kind]} {name} = {self.expression(kind, 1)};")
                self.scopes[-1].append(Variable(name, kind))
                variables = [self.scopes[-1][-1]]
            v = self.pick(variables)
            used.add(v.name)
            arguments.append(v.name)
        # A variable that the call changes is no other argument of it.
        for n, (kind, qualifier) in enumerate(f[2]):
            if not qualifier:
                arguments[n] = self.literal(kind) if any(u in arguments[n] for u in used) and kind not in VECTORS else arguments[n]
                if any(u in arguments[n] for u in used):
                    arguments[n] = f"{NAMES[kind]}({self.literal(kind[0])})"
        call = f"{f[0]}({', '.join(arguments)})"
        if f[1] == "void" or self.chance(0.3):
            self.line(call + ";")
            return
        name = self.name()
        self.line(f"{NAMES[f[1]]} {name} = {call};")
        self.scopes[-1].append(Variable(name, f[1]))

    def function(self):
        name = self.name("Function")
        result = self.pick(["f", "f", "i", "i", "u", "b", "f3", "f2", "void", "void"])
        parameters = []
        self.scopes.append([])
        texts = []
        for _ in range(self.random.randrange(1, 4)):
            kind = self.pick(["f", "i", "u", "f3", "b", "f2", "d"])
            qualifier = self.pick(["", "", "", "INOUT ", "out "]) if result == "void" or self.chance(0.3) else ""
            p = self.name("p")
            parameters.append((kind, qualifier))
            texts.append(f"{qualifier}{NAMES[kind]} {p}")
            self.scopes[-1].append(Variable(p, kind))
        self.in_function = result
        self.line(f"inline {'void' if result == 'void' else NAMES[result]} {name}({', '.join(texts)})")
        self.line("{")
        self.indent += 1
        for (kind, qualifier), v in zip(parameters, list(self.scopes[-1])):
            if qualifier == "out ":
                self.line(f"{v.name} = {self.literal(kind) if kind not in VECTORS else NAMES[kind] + '(' + self.literal(kind[0]) + ')'};")
        self.budget = 10
        for _ in range(self.random.randrange(1, 5)):
            self.statement(2)
        if result != "void":
            self.line(f"return {self.expression(result, 2)};")
        self.indent -= 1
        self.line("}")
        self.line("")
        self.scopes.pop()
        self.in_function = None
        self.functions.append((name, result, parameters))

    def write(self):
        self.line(f"// A random kernel, of seed {self.seed}.")
        self.line("#define KERNELINPUTS \\")
        self.lines += [f"{text}{', ' + chr(92) if text != INPUTS[-1] else ''}" for text in INPUTS]
        self.line("")
        self.chance(0.5)
        self.line(f"GROUPSIZE({self.pick(['16, 1, 1', '6, 1, 1', '5, 2, 1', '4, 4, 1'])})")
        self.line("")
        self.line("inline int ToInt(float x)")
        self.line("{")
        self.line("\tif (!(x > -1000.0 && x < 1000.0)) return 7;")
        self.line("\treturn int(x);")
        self.line("}")
        self.line("")
        for _ in range(self.random.randrange(0, 4)):
            self.function()
        self.line("OSTRA_PARALLEL_KERNEL(Random, KERNELINPUTS)")
        self.line("{")
        self.indent += 1
        if self.chance(0.5):
            self.line("if (InGlobalInvocationID.x >= UNIFORM(width)) return;")
            self.line("uint i = InGlobalInvocationID.y * UNIFORM(width) + InGlobalInvocationID.x;")
            self.line("if (i >= UNIFORM(count)) return;")
        else:
            self.line("uint x = InGlobalInvocationID.x, y = InGlobalInvocationID.y;")
            self.line("uint i = x + y * UNIFORM(width);")
            self.line("if (x >= UNIFORM(width) || i >= UNIFORM(count)) return;")
        for kind in ("f", "i", "u"):
            self.declare(kind)
        self.budget = self.pick([15, 30, 45])
        self.line(self.first_store())
        for _ in range(self.random.randrange(6, 14)):
            self.statement(3)
        for _ in range(4):
            self.store()
        for v in self.scopes[0]:
            if v.kind in ("f", "i") and not v.count and self.chance(0.7):
                self.line(f"UNIFORM_BUFFER({v.kind}out)[i] = {v.name};")
                break
        # A counter that nothing uses would be no parameter.
        self.line("uint before = 0u;")
        self.line("AtomicAdd(GetAtomicCounter(counter), 1u, before);")
        self.indent -= 1
        self.line("}")
        self.line("OSTRA_PARALLEL_KERNEL_END")
        return "\n".join(self.lines) + "\n"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=0)
    parser.add_argument("--count", type=int, default=1)
    parser.add_argument("folder")
    arguments = parser.parse_args()
    os.makedirs(arguments.folder, exist_ok=True)
    for seed in range(arguments.seed, arguments.seed + arguments.count):
        with open(os.path.join(arguments.folder, f"net.ostra.test.random{seed}.krn"), "w", encoding="utf-8") as file:
            file.write(Kernel(seed).write())


if __name__ == "__main__":
    main()
