"""Tasks that kill the process that works on them, once: what an engine does then is its own affair."""

from __future__ import annotations

import os
import signal
from dataclasses import dataclass

from modelcore.distributed import Products

_done = 0


def _parent(pid: int) -> tuple[str, int]:
    """The name of a process and its parent."""
    with open(f"/proc/{pid}/stat") as stat:
        name, rest = stat.read().rsplit(")", 1)
    return name.split("(", 1)[1], int(rest.split()[1])


@dataclass(frozen=True)
class Deadly(Products):
    """After its second part a process ends itself (victim "self"), or the Java process that it belongs to ("java"). It
    leaves its number in the file grave, so that it happens once."""

    grave: str = ""
    victim: str = "self"

    def add(self, state, table):
        global _done
        super().add(state, table)
        _done += 1
        if _done < 2:
            return
        try:
            grave = os.open(self.grave, os.O_CREAT | os.O_EXCL | os.O_WRONLY)
        except FileExistsError:
            return
        pid = os.getpid()
        if self.victim == "java":
            name, above = _parent(pid)
            while name != "java":
                pid = above
                name, above = _parent(pid)
        os.write(grave, str(pid).encode())
        os.close(grave)
        os.kill(pid, signal.SIGKILL)
