"""Tab completes command lines of zdbcc as it does for a new user: tab_test.py SHELL...

Each shell is told `zdbcc swe`, Tab, `--he`, Tab and Enter. Only the completed line prints the help
of the verb.
"""

from __future__ import annotations

import os
import pty
import select
import sys
import tempfile
import time
from pathlib import Path

PROMPT = "ready> "
SKELETON = Path("/etc/skel/.bashrc")  # where Debian loads completion
FILES = {
    "bash": (".bashrc", f"{SKELETON.read_text() if SKELETON.exists() else ''}\nPS1='{PROMPT}'\n"),
    "zsh": (".zshrc", f"autoload -U compinit\ncompinit -u\nPROMPT='{PROMPT}'\n"),
    "fish": (".config/fish/config.fish", f"function fish_prompt; echo -n '{PROMPT}'; end\n"),
}
SECONDS = 60


def printed_until(terminal: int, text: str) -> str:
    """What the shell prints, up to a text; all of it if the text does not come."""
    printed = b""
    end = time.monotonic() + SECONDS
    while text.encode() not in printed and time.monotonic() < end:
        if select.select([terminal], [], [], 1)[0]:
            try:
                printed += os.read(terminal, 4096)
            except OSError:  # the shell has ended
                break
    return printed.decode(errors="replace")


def completes(shell: str) -> bool:
    with tempfile.TemporaryDirectory() as home:
        name, text = FILES[shell]
        Path(home, name).parent.mkdir(parents=True, exist_ok=True)
        Path(home, name).write_text(text)
        process, terminal = pty.fork()
        if process == 0:
            os.environ.update(HOME=home, TERM="xterm", COLUMNS="120")
            os.chdir(home)
            os.execvp(shell, [shell, "-i"])
        printed = printed_until(terminal, PROMPT)
        os.write(terminal, b"zdbcc swe\t--he\t\r")
        printed += printed_until(terminal, "--scenarios")
        os.close(terminal)  # which ends the shell
        os.waitpid(process, 0)
    if "--scenarios" in printed:
        return True
    print(f"{shell} does not complete zdbcc swe, it prints:\n{printed}")
    return False


if __name__ == "__main__":
    sys.exit(0 if [completes(shell) for shell in sys.argv[1:]].count(False) == 0 else 1)
