"""Runs the tutorial notebook from top to bottom and renders it, with what it prints, as a page of the guides.

Usage: tutorial.py NOTEBOOK [PAGE]    without a page the rendered text is printed
"""

import ast
import contextlib
import io
import json
import pathlib
import sys


def run(code, names):
    """What a cell prints, and the value of its last expression as a notebook would show it."""
    tree = ast.parse(code)
    last = None
    if tree.body and isinstance(tree.body[-1], ast.Expr):
        last = ast.Expression(tree.body.pop().value)
    out = io.StringIO()
    with contextlib.redirect_stdout(out):
        exec(compile(tree, "<cell>", "exec"), names)
        if last is not None:
            value = eval(compile(last, "<cell>", "eval"), names)
            if value is not None:
                print(value)
    return out.getvalue()


def render(path):
    names, parts = {"__name__": "__main__"}, []
    for cell in json.loads(path.read_text())["cells"]:
        source = "".join(cell["source"])
        if cell["cell_type"] == "markdown":
            parts.append(source)
            continue
        parts.append(f"```python\n{source}\n```")
        printed = run(source, names).rstrip()
        if printed:
            parts.append(f"```\n{printed}\n```")
    return "\n\n".join(parts) + "\n"


if __name__ == "__main__":
    text = render(pathlib.Path(sys.argv[1]))
    if len(sys.argv) > 2:
        pathlib.Path(sys.argv[2]).write_text(text)
    else:
        print(text, end="")
