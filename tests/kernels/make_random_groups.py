#!/usr/bin/env python3
"""Writes random kernels whose work groups exchange values, the same ones for the same seed:

    make_random_groups.py --seed 7 --count 2 FOLDER     net.ostra.test.randomgroup7.krn, net.ostra.test.randomgroup8.krn

All have the parameters that random_groups_test.cpp sets. A kernel is a row of phases: an invocation reads what others
left in the arrays of its group, computes, waits, and writes its own places. Phases stand in the body, in loops and below
conditions that are the same for the whole group. Indices are inside, divisors are never 0, loops end, and no float becomes
an integer.
"""
import argparse
import os
import random

SHAPES = [(6, 1, 1), (3, 4, 1), (5, 2, 2), (7, 1, 1), (12, 2, 1), (8, 1, 1), (16, 2, 1), (9, 3, 1), (2, 5, 1), (33, 1, 1),
          (4, 4, 2), (17, 1, 2)]

TEXT = """// A random kernel with group memory, of seed {seed}.
#define KERNELINPUTS \\
(UInt32) count, \\
(Int32) mode, \\
(const Block<Int32>) numbers, \\
(const Block<Vector32>) threes, \\
(Block<Int32>) results, \\
(Block<Float32>) floats, \\
(Block<Vector32>) places

GROUPSIZE({x}, {y}, {z})

OSTRA_PARALLEL_KERNEL(RandomGroup{seed}, KERNELINPUTS)
{{
\tGROUPSHAREDMEM(int, ring, {size})
\tGROUPSHAREDMEM(float, sums, {size})
\tGROUPSHAREDMEM(vec3, points, {size})
\tuint k = InLocalInvocationID.x + InLocalInvocationID.y * {x}u + InLocalInvocationID.z * {layer}u;
\tuint i = InWorkGroupID.x * {size}u + k;
\tint own = 3;
\tfloat x = 0.25;
\tvec3 v = vec3(1.0, 2.0, 3.0);
\tint kept[3] = {{int(k), 5, -1}};
\tbool isOn = InLocalInvocationID.x == 0u;
\tif (i < UNIFORM(count))
\t{{
\t\town = UNIFORM_BUFFER(numbers)[i];
\t\tv = UNIFORM_BUFFER(threes)[i];
\t\tx = v.y;
\t}}
\tring[k] = own;
\tsums[k] = x;
\tpoints[k] = v;
\tgroupSharedBarrier;
{body}
}}
OSTRA_PARALLEL_KERNEL_END
"""


class GroupKernel:
    def __init__(self, seed):
        self.random = random.Random(seed)
        self.seed = seed
        self.shape = self.pick(SHAPES)
        self.size = self.shape[0] * self.shape[1] * self.shape[2]
        self.lines = []
        self.indent = 1
        self.next = 0
        # Variables of the body, by type.
        self.variables = {"int": ["own"], "float": ["x"], "vec3": ["v"]}

    # --- Choices and lines ---

    def pick(self, items):
        return items[self.random.randrange(len(items))]

    def chance(self, p):
        return self.random.random() < p

    def name(self, stem):
        self.next += 1
        return f"{stem}{self.next}"

    def line(self, text):
        self.lines.append("\t" * self.indent + text)

    def block(self, head, write):
        self.line(head)
        self.line("{")
        self.indent += 1
        write()
        self.indent -= 1
        self.line("}")

    # --- Expressions ---

    def integer(self, depth):
        form = self.random.randrange(10)
        if depth <= 0 or form < 3:
            return self.pick(self.variables["int"] + [
                str(self.random.randint(-3, 9)), "UNIFORM(mode)", "int(k)", "int(InLocalInvocationID.x)",
                "int(InLocalInvocationID.y)", "int(InWorkGroupID.x)"
            ])
        if form < 6:
            return f"({self.integer(depth - 1)} {self.pick('+-*&|^')} {self.integer(depth - 1)})"
        if form == 6:
            return f"({self.condition(depth - 1)} ? {self.integer(depth - 1)} : {self.integer(depth - 1)})"
        if form == 7:
            return f"min({self.integer(depth - 1)}, {self.integer(depth - 1)})"
        return f"({self.integer(depth - 1)} % {self.pick([3, 5, 7])})"

    def number(self, depth):
        form = self.random.randrange(10)
        if depth <= 0 or form < 4:
            return self.pick(self.variables["float"] + ["0.5", "2.0", f"(float({self.integer(1)}) + 0.5)", "v.x", "v.z"])
        if form < 8:
            return f"({self.number(depth - 1)} {self.pick('+-*')} {self.number(depth - 1)})"
        return f"max({self.number(depth - 1)}, {self.number(depth - 1)})"

    def vector(self, depth):
        if depth <= 0 or self.chance(0.4):
            return self.pick(self.variables["vec3"] + [f"vec3({self.number(1)}, {self.number(1)}, 1.0)"])
        return f"({self.vector(depth - 1)} {self.pick('+-*')} {self.vector(depth - 1)})"

    def condition(self, depth):
        if self.chance(0.2):
            return f"({self.number(depth)} < {self.number(depth)})"
        return f"({self.integer(depth)} {self.pick(['<', '>', '==', '!=', '<='])} {self.integer(depth)})"

    # An index of an array of the group.
    def place(self):
        return self.pick([
            "k", f"{self.size}u - 1u - k", f"(k + {self.random.randint(1, 7)}u) % {self.size}u",
            f"uint({self.integer(2)} & 0x7fffffff) % {self.size}u", f"{self.random.randrange(self.size)}u",
            f"(k * {self.pick([1, 3, 5])}u) % {self.size}u"
        ])

    # --- Statements ---

    def statement(self, depth=2):
        form = self.random.randrange(20 if depth > 0 else 14)
        if form < 6:
            self.line(f"{self.pick(self.variables['int'])} {self.pick(['=', '+=', '-='])} {self.integer(3)};")
        elif form < 9:
            self.line(f"{self.pick(self.variables['float'])} = {self.number(3)};")
        elif form < 11:
            self.line(self.pick(self.variables["vec3"]) + self.pick([f" = {self.vector(2)};", f".y = {self.number(3)};"]))
        elif form == 11:
            self.line(f"kept[uint({self.integer(2)} & 3) % 3u] = {self.integer(3)};")
        elif form == 12:
            self.line(f"kept[1] = kept[1] + {self.integer(3)};")
        elif form == 13:
            self.line(f"isOn = {self.condition(3)};")
        elif form < 18:
            self.block(f"if ({self.condition(3)})", lambda: self.statements(depth - 1, 2))
            if self.chance(0.5):
                self.block("else", lambda: self.statements(depth - 1, 1))
        else:
            self.loop(depth)

    def statements(self, depth, most):
        for _ in range(self.random.randint(1, most)):
            self.statement(depth)

    def loop(self, depth):
        n = self.name("n")

        def write():
            if self.chance(0.5):
                self.line(f"if ({self.condition(2)}) {self.pick(['break', 'continue'])};")
            self.statement(depth - 1)

        self.block(f"for (int {n} = 0; {n} < ({self.integer(2)} & 7); ++{n})", write)

    # --- Phases ---

    # A new variable holds what an invocation left in the last phase.
    def read(self):
        kind, text = self.pick([("int", "ring[{}]"), ("float", "sums[{}] * 0.5"), ("vec3", "points[{}]")])
        variable = self.name(kind[0])
        self.line(f"{kind} {variable} = {text.format(self.place())};")
        self.variables[kind].append(variable)

    def write_places(self):
        texts = {"ring": self.integer, "sums": self.number, "points": self.vector}
        for array in self.random.sample(sorted(texts), self.random.randint(1, 3)):
            condition = f"if ({self.condition(2)}) " if self.chance(0.3) else ""
            self.line(f"{condition}{array}[k] = {texts[array](3)};")

    def phase(self, may_declare):
        if may_declare:
            for _ in range(self.random.randrange(3)):
                self.read()
        self.statements(2, 3)
        self.line("groupSharedBarrier;")
        self.write_places()
        if self.chance(0.3):
            self.statement()
        self.line("groupSharedBarrier;")

    # A phase several times.
    def phase_in_loop(self):
        n = self.name("t")

        def write():
            self.line(f"own = own + ring[(k + {n}) % {self.size}u];")
            self.phase(False)
            if self.chance(0.4):
                self.line(f"if (UNIFORM(mode) == {self.random.randrange(3)}) {self.pick(['break', 'continue'])};")
                self.line("groupSharedBarrier;")

        self.block(f"for (uint {n} = 0u; {n} < {self.pick(['3u', 'uint(UNIFORM(mode)) + 1u'])}; ++{n})", write)

    def write(self):
        self.phase(True)
        for _ in range(self.random.randint(1, 3)):
            form = self.random.randrange(5)
            if form < 2:
                self.phase_in_loop()
            elif form == 2:
                self.block(f"if (UNIFORM(mode) > {self.random.randrange(2)})", lambda: self.phase(False))
            else:
                self.phase(True)
        if self.chance(0.5):
            self.line("if (i >= UNIFORM(count)) return;")
            self.store()
        else:
            self.block("if (i < UNIFORM(count))", self.store)
        x, y, z = self.shape
        return TEXT.format(seed=self.seed, x=x, y=y, z=z, layer=x * y, size=self.size, body="\n".join(self.lines))

    def store(self):
        sums = {kind: " + ".join(names) for kind, names in self.variables.items()}
        self.line(f"UNIFORM_BUFFER(results)[i] = {sums['int']} + kept[0] + kept[1] * 3 + kept[2] * 5 + (isOn ? 1000 : 0) + "
                  f"ring[{self.place()}];")
        self.line(f"UNIFORM_BUFFER(floats)[i] = {sums['float']} + sums[{self.place()}];")
        self.line(f"UNIFORM_BUFFER(places)[i] = {sums['vec3']} + points[k];")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--seed", type=int, default=0)
    parser.add_argument("--count", type=int, default=1)
    parser.add_argument("folder")
    arguments = parser.parse_args()
    os.makedirs(arguments.folder, exist_ok=True)
    for seed in range(arguments.seed, arguments.seed + arguments.count):
        with open(os.path.join(arguments.folder, f"net.ostra.test.randomgroup{seed}.krn"), "w", encoding="utf-8") as file:
            file.write(GroupKernel(seed).write())


if __name__ == "__main__":
    main()
