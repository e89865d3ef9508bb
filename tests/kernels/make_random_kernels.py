#!/usr/bin/env python3
"""Writes random kernels, the same ones for the same seed:

    make_random_kernels.py --seed 7 --count 2 FOLDER        net.ostra.test.random7.krn, net.ostra.test.random8.krn
    make_random_kernels.py ... --kernelc PROGRAM --source BATCH.cpp FOLDER      and one source with all of them
    make_random_kernels.py ... --kernelc PROGRAM --explain FOLDER               and says why some have no wide form

All have the parameters that random_kernels_test.cpp sets, and all names outside of bodies have the seed in them, so that
many of them fit into one source. An invocation writes elements of its own only, so
that the order of invocations makes no difference; divisors are never 0, indices are inside, and loops end. Values that
are no number must not reach integers: their bits are not fixed. Nor is the sign of `0.0 - float(n)` of an integer, which
GCC 12 takes for `-float(n)`: no converted integer is subtracted.
"""
import argparse
import collections
import os
import random
import re
import subprocess

from random_expressions import COMPONENTS, NAMES, VECTORS, Expressions, Variable

INPUTS = [
    "(UInt32) count", "(UInt32) width", "(Int32) ui", "(UInt32) uu", "(Float32) uf", "(Vector32) uv",
    "(const Block<Float32>) fin", "(const Block<Int32>) iin", "(const Block<UInt32>) uin",
    "(const Block<Vector32>) vin", "(const Block<Float64>) din", "(Block<Float32>) fout", "(Block<Int32>) iout",
    "(Block<UInt32>) uout", "(Block<Vector2d32>) twoout", "(Block<Vector32>) threeout", "(Block<Vector4d32>) fourout",
    "(Block<Float64>) dout", "(Block<Int64>) lout", "(const Block<half>) hin", "(const Block<half4>) hfourin",
    "(const Block<UInt8>) yin", "(const Block<Int16>) win", "(Block<half>) hout", "(Block<half3>) hthreeout",
    "(Block<UInt8>) yout", "(Block<Int16>) wout", "(Block<UInt32>) bins", "(AtomicUInt32*) counter"
]
COMMON = ["f", "f", "f", "i", "i", "i", "u", "u", "b", "f2", "f3", "f4", "i2", "u3", "d", "l", "h", "y", "w"]
OF_KERNELS = ["s", "m"]
# What a buffer gets, and where an invocation writes.
OUTPUTS = [("fout", "f", "i"), ("iout", "i", "i"), ("uout", "u", "many"), ("twoout", "f2", "back"),
           ("threeout", "f3", "i"), ("fourout", "f4", "two"), ("dout", "d", "i"), ("lout", "l", "i"),
           ("hout", "h", "i"), ("hthreeout", "f3", "i"), ("yout", "y", "i"), ("wout", "w", "back")]


# Statements, functions and the whole file.
class Kernel(Expressions):
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
        kind = kind or self.pick_kind(COMMON if self.in_function is not None else COMMON + OF_KERNELS)
        name = self.name()
        value = self.uniform(kind) if self.chance(0.2) else self.expression(kind, 3)
        self.line(f"{self.type_name(kind)} {name} = {value};")
        self.scopes[-1].append(Variable(name, kind))

    def array(self):
        kind = self.pick_kind(["f", "f", "i", "u", "f2", "b", "h", "y"] + ([] if self.in_function is not None else ["s", "m"]))
        name = self.name("a")
        count = self.pick([3, 4, 5])
        values = ", ".join(self.uniform(kind) if self.chance(0.4) else self.expression(kind, 1) for _ in range(count))
        if self.chance(0.3):
            values = ", ".join(self.uniform(kind) for _ in range(count - 1))
        self.line(f"{self.type_name(kind)} {name}[{count}] = {{{values}}};")
        self.scopes[-1].append(Variable(name, kind, count))

    def assign(self):
        arrays = [v for v in self.variables(is_array=True) if not v.fixed]
        if arrays and self.chance(0.25):
            array = self.pick(arrays)
            place = self.array_place(array, 2)
            part, kind = "", array.kind
            if kind in ("s", "m") and self.chance(0.6):
                kind = self.pick(["f", "f3"])
                part = self.pick(self.members(array, kind))
            self.line(f"{array.name}[{place}]{part} = {self.expression(kind, 2)};")
            return
        variables = self.variables(is_writable=True)
        if not variables:
            return self.declare()
        v = self.pick(variables)
        target, kind = v.name, v.kind
        if kind in VECTORS and self.chance(0.5):
            target += "." + COMPONENTS[self.random.randrange(int(kind[1]))]
            kind = kind[0]
        if kind in ("s", "m") and self.chance(0.75):
            kind = self.pick_kind(["f", "f3"] if kind == "m" else ["f", "f3", "i", "b", "m", "d", "h", "y"])
            target += self.pick(self.members(v, kind))
        if kind in ("s", "m"):
            self.line(f"{target} = {self.expression(kind, 3)};")
            return
        form = self.random.randrange(8)
        if form == 0 and kind in ("i", "u", "l", "h", "y", "w"):
            self.line(f"{target}{self.pick(['++', '--'])};" if self.chance(0.5) else f"++{target};")
        elif form <= 3 and kind != "b":
            operators = {"i": "+-*&|^", "u": "+-*&|^", "l": "+-*^", "f": "+-*/", "d": "+-*", "h": "+*",
                         "y": "+-*&|^", "w": "+-*&|^"}.get(kind, "+-*")
            by = {"h": "f", "y": "i", "w": "i"}.get(kind, kind)
            value = self.uniform(by) if self.chance(0.2) else self.expression(by, 2)
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
        buffer, kind, where = self.pick(OUTPUTS if self.has_small else OUTPUTS[:-4])
        place = {"i": "i", "many": self.pick(["i * 4u", "i * 4u + 1u", "4u * i + 3u", f"i * 4u + ({self.expression('u', 1)} & 3u)"]),
                 "back": "UNIFORM(count) - 1u - i", "two": self.pick(["i * 2u", "2u * i + 1u"])}[where]
        target = f"UNIFORM_BUFFER({buffer})[{place}]"
        if buffer == "hthreeout":
            return self.line(f"{target} = half3({self.expression(kind, 3)});")
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
            parts = [v for v in self.variables(kind, is_array=True) if v.name not in used]
            parts += [v for v in self.variables("s") + self.variables("m") if v.name not in used and self.members(v, kind)]
            if parts and self.chance(0.4):
                v = self.pick(parts)
                used.add(v.name)
                arguments.append(f"{v.name}[{self.leaf('u')} % {v.count}u]" if v.count else v.name + self.pick(self.members(v, kind)))
                continue
            if not variables:
                name = self.name()
                self.line(f"{NAMES[kind]} {name} = {self.expression(kind, 1)};")
                self.scopes[-1].append(Variable(name, kind))
                variables = [self.scopes[-1][-1]]
            v = self.pick(variables)
            used.add(v.name)
            # An element at any place, or a component: no call gets two parts of one variable.
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
        name = self.name(f"Function{self.seed}_")
        result = self.pick_kind(["f", "f", "i", "i", "u", "b", "f3", "f2", "h", "w", "void", "void"])
        parameters = []
        self.scopes.append([])
        texts = []
        for _ in range(self.random.randrange(1, 4)):
            kind = self.pick_kind(["f", "i", "u", "f3", "b", "f2", "d", "h", "y"])
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
        self.line(f"inline int ToInt{self.seed}(float x)")
        self.line("{")
        self.line("\tif (!(x > -1000.0 && x < 1000.0)) return 7;")
        self.line("\treturn int(x);")
        self.line("}")
        self.line("")
        self.line(f"struct State{self.seed}")
        self.line("{")
        self.lines += [f"\t{NAMES[kind]} {name};" for name, kind in self.struct]
        self.line("};")
        self.line("")
        self.line(f"inline State{self.seed} Make{self.seed}(float x, int n, mat3 m, bool isShort)")
        self.line("{")
        self.line(f"\tState{self.seed} made = {{x, vec3(x, 0.5, 2.0), n, isShort, m, double(x){', half(x), UInt8(n)' if self.has_small else ''}}};")
        self.line("\tif (isShort) return made;")
        self.line("\tmade.place.y = x * 0.25;")
        self.line("\tmade.turn.v1 = made.place;")
        self.line("\treturn made;")
        self.line("}")
        self.line("")
        for _ in range(self.random.randrange(0, 4)):
            self.function()
        self.line(f"OSTRA_PARALLEL_KERNEL(Random{self.seed}, KERNELINPUTS)")
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


def make_id(seed):
    return f"net.ostra.test.random{seed}.krn"


def run(program, *arguments):
    return subprocess.run([program, *arguments], check=True, capture_output=True, text=True).stdout


# Names that every generated source defines; in one source each kernel has its own.
SHARED_NAMES = ["OstraKernelParameters", "OstraGroupSize", "OstraLoops"]


# The same of functions that the plain form adds.
def find_helpers(path):
    with open(path, encoding="utf-8") as file:
        return sorted(set(re.findall(r"^inline [\w:]+ (ostra_\w+)\(", file.read(), re.MULTILINE)))


# With `one_level` each kernel is compiled for 4, 8 or 16 lanes only, which takes half the time.
def write_source(kernelc, seeds, folder, source, one_level):
    lines = ['#include "tests/kernels/random_kernels.h"', ""]
    for seed in seeds:
        text = os.path.join(folder, f"{make_id(seed)}.inc")
        run(kernelc, os.path.join(folder, make_id(seed)), text)
        names = SHARED_NAMES + find_helpers(text)
        lines += [f"#define {name} {name}_{seed}" for name in names]
        if one_level:
            lines += ["#undef OSTRA_KERNEL_HAS_LANES", f"#define OSTRA_KERNEL_HAS_LANES(level) (level == {seed % 3})"]
        lines.append(f'#include "{text}"')
        forms = f"test::RandomKernelForms<Random{seed}Body, OstraGroupSize>"
        lines.append(f"namespace ostra::kernel {{ static const Bool kIsRegistered{seed} = {forms}::Register({seed}); }}")
        lines += [f"#undef {name}" for name in names]
    with open(source, "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n")


def explain(kernelc, seeds, folder):
    reasons = collections.defaultdict(list)
    for seed in seeds:
        note = run(kernelc, "--explain", os.path.join(folder, make_id(seed)))
        if note:
            reason = note.splitlines()[0].split("note: ")[1]
            reasons[re.sub(r"[0-9]+", "#", reason)].append(seed)
    print(f"{len(seeds)} kernels, {sum(map(len, reasons.values()))} without a wide form")
    for reason, found in sorted(reasons.items(), key=lambda item: -len(item[1])):
        print(f"{len(found):6} {reason}: {' '.join(map(str, found[:10]))}{' ...' if len(found) > 10 else ''}")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=0)
    parser.add_argument("--count", type=int, default=1)
    parser.add_argument("--kernelc")
    parser.add_argument("--source")
    parser.add_argument("--one-level", action="store_true")
    parser.add_argument("--explain", action="store_true")
    parser.add_argument("folder")
    arguments = parser.parse_args()
    os.makedirs(arguments.folder, exist_ok=True)
    seeds = range(arguments.seed, arguments.seed + arguments.count)
    for seed in seeds:
        with open(os.path.join(arguments.folder, make_id(seed)), "w", encoding="utf-8") as file:
            file.write(Kernel(seed).write())
    if arguments.source:
        write_source(arguments.kernelc, seeds, arguments.folder, arguments.source, arguments.one_level)
    if arguments.explain:
        explain(arguments.kernelc, seeds, arguments.folder)


if __name__ == "__main__":
    main()
