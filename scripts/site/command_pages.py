"""The pages of the tool's commands: what the tool itself says about them."""

import re
import subprocess

from text_pages import escape, fence


def run(command):
    result = subprocess.run(command, capture_output=True, text=True, timeout=60, check=False)
    if result.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))} ended with {result.returncode}: {result.stderr.strip()}")
    return result.stdout


def find_commands(help_text):
    """(name, what it does) of each command that a help text lists."""
    listed = re.search(r"^Subcommands:\n((?:^ +.*\n?)+)", help_text, re.M)
    return re.findall(r"^  (\S+) +(.*)$", listed.group(1), re.M) if listed else []


def write_command_pages(tool, stage):
    """Writes a page for each command, and the page that lists them, whose name is returned."""
    folder = stage / "commands"
    folder.mkdir(parents=True, exist_ok=True)
    overview = run([tool, "--help"])
    commands = find_commands(overview)
    if not commands:
        raise RuntimeError(f"{tool} --help lists no commands")
    for name, summary in commands:
        page = f"# ostra {name}\n\n{escape(summary)}. This is what `ostra {name} --help` prints.\n\n"
        (folder / f"{name}.md").write_text(page + fence(run([tool, name, "--help"]).rstrip(), "text"), encoding="utf-8")
    rows = "\n".join(f"| [ostra {name}]({name}.md) | {escape(summary)} |" for name, summary in commands)
    pages = "\n".join(f"/commands/{name}" for name, _ in commands)
    text = f"# Commands of ostra\n\n| command | what it does |\n| --- | --- |\n{rows}\n\n{fence(overview.rstrip(), 'text')}\n"
    (folder / "all.md").write_text(text + fence(f":hidden:\n\n{pages}", "{toctree}"), encoding="utf-8")
    return "commands/all"
