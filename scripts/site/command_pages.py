"""The pages of the tool's commands: what the tool itself says about them."""

import re
import subprocess
import textwrap

from text_pages import escape, fence

MAX_LINE = 108


def run(command):
    result = subprocess.run(command, capture_output=True, text=True, timeout=60, check=False)
    if result.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))} ended with {result.returncode}: {result.stderr.strip()}")
    return result.stdout


def find_commands(help_text):
    """(name, what it does) of each command that a help text lists."""
    listed = re.search(r"^Subcommands:\n((?:^ +.*\n?)+)", help_text, re.M)
    return re.findall(r"^  (\S+) +(.*)$", listed.group(1), re.M) if listed else []


def wrap_line(line):
    """A line of a list of options: what goes on stands below the beginning of its last column."""
    column = re.match(r" *(?:.*\S {2,})?(?=\S)", line).end()
    return textwrap.wrap(line, MAX_LINE, subsequent_indent=" " * column, break_long_words=False, break_on_hyphens=False)


def wrap_help(text):
    """A help text with lines that fit a page: options by themselves, paragraphs filled anew."""
    blocks = []
    for line in text.splitlines():
        if blocks and line and blocks[-1][-1] and not line.startswith(" ") and not blocks[-1][-1].startswith(" "):
            blocks[-1].append(line)
        else:
            blocks.append([line])
    return "\n".join("\n".join(wrap_line(" ".join(block)) if max(map(len, block)) > MAX_LINE else block) for block in blocks)


def write_command_pages(tool, stage):
    """Writes a page for each command, and the page that lists them, whose name is returned."""
    folder = stage / "commands"
    folder.mkdir(parents=True, exist_ok=True)
    overview = run([tool, "--help"])
    commands = find_commands(overview)
    if not commands:
        raise RuntimeError(f"{tool} --help lists no commands")
    for name, summary in commands:
        page = f"# ostra {name}\n\n{escape(summary)}. `ostra {name} --help` prints this text.\n\n"
        (folder / f"{name}.md").write_text(page + fence(wrap_help(run([tool, name, "--help"])), "text"), encoding="utf-8")
    rows = "\n".join(f"| [ostra {name}]({name}.md) | {escape(summary)} |" for name, summary in commands)
    pages = "\n".join(f"/commands/{name}" for name, _ in commands)
    text = f"# Commands of ostra\n\n| command | what it does |\n| --- | --- |\n{rows}\n\n{fence(wrap_help(overview), 'text')}\n"
    (folder / "all.md").write_text(text + fence(f":hidden:\n\n{pages}", "{toctree}"), encoding="utf-8")
    return "commands/all"
