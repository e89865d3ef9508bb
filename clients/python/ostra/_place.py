"""Where the lines of a kernel's text stand: messages of the compiler and of kernels name that place."""

import os
import re


class TextPlace:
    """A value that is pickled as it is.

    shown: the file that messages name.
    names: what a compiler or a program calls the text.
    lines: the line in the file of each line of the text; None where they are the same.
    """

    def __init__(self, shown, names=(), lines=None):
        self.shown = shown
        self.names = tuple(names)
        self.lines = lines

    def with_name(self, name):
        """The same for a text that is called so, too."""
        return TextPlace(self.shown, (*self.names, name), self.lines)

    def translate(self, message):
        """The message with the place in the file."""
        names = "|".join(re.escape(name) for name in self.names)
        return re.sub(rf"(?<![\w./-])({names})(?::(\d+))?(?!\w)", self._show, message)

    def _show(self, found):
        name, line = found.group(1), found.group(2)
        if self.lines is None:
            return self.shown + (f":{line}" if line else "")
        if line is None:  # the kernel as a whole
            return os.path.basename(name)
        return f"{self.shown}:{self.lines[min(int(line), len(self.lines)) - 1]}"
