#!/usr/bin/env python3
"""Copies headers as Doxygen wants them, line for line.

Usage: spread_comments.py FOLDER COPY    the public headers below FOLDER, to COPY/FOLDER's name

In the headers one comment often stands for several declarations, and some members need none. Doxygen gives a comment to
the first declaration behind it alone, and asks for one everywhere. Here

* another form of the same name that follows a commented one without an empty line gets a sentence that points to it;
* comparisons, and an assignment beside its constructor, that follow so get the same comment;
* a reader GetX or IsX without a comment, of a class with SetX, says what it reads;
* a constant text says what it is;
* what the language defines (copy, move, destruction, members that are deleted, comparison by default) says so;
* a heading (a comment with an empty line behind it) becomes the name of a group of members.

Comments are put on the lines of their declarations, so that line numbers in warnings stay those of the header.
"""
import re
import sys
from pathlib import Path

RULE = re.compile(r"^\s*// -{20,}\s*$")
DOC = re.compile(r"^\s*///(?!/)(?!<)")


def blank(text):
    """The text with comments and the contents of strings replaced by blanks, as long as before."""
    def blanks(match):
        found = match.group(0)
        if found.startswith(("/*", "//")):
            return re.sub(r"[^\n]", " ", found)
        return found[0] + " " * (len(found) - 2) + found[-1]
    return re.sub(r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])'", blanks, text, flags=re.S)


def declarations(code):
    """(start, end, text before the body, class) of each declaration outside of bodies, in order; offsets into the code."""
    found, scopes, start, parens, i = [], ["namespace"], None, 0, 0
    names = [""]
    while i < len(code):
        c = code[i]
        if start is None and not c.isspace():
            if c == "#":
                while i < len(code) and (code[i] != "\n" or code[i - 1] == "\\"):
                    i += 1
                continue
            if c == "}":
                scopes.pop()
                names.pop()
                i += 1
                # The semicolon behind a class is no declaration.
                after = re.compile(r"\s*;").match(code, i)
                i = after.end() if after else i
                continue
            label = re.compile(r"(public|protected|private)\s*:(?!:)").match(code, i)
            if label:
                i = label.end()
                continue
            start, parens = i, 0
        if start is not None:
            if c in "([":
                parens += 1
            elif c in ")]":
                parens -= 1
            elif c == ";" and parens == 0:
                found.append((start, i + 1, code[start:i], names[-1]))
                start = None
            elif c == "{" and parens == 0:
                head = code[start:i]
                plain = re.sub(r"template\s*<.*>", "", head, flags=re.S)
                scope = re.match(r"(?:\s*(?:inline|typedef)\b)*\s*(namespace|class|struct|union|extern)\b", plain)
                if scope and "(" not in re.sub(r"alignas\([^)]*\)", "", plain):
                    found.append((start, i, head, names[-1]))
                    name = re.match(r"\s*(?:class|struct|union)\s+(?:MODELCORE_EXPORT\s+)?(?:\[\[\w+\]\]\s*)?(\w+)", plain)
                    scopes.append("scope")
                    names.append(name.group(1) if name else "")
                    start = None
                else:
                    depth, end = 0, i
                    while end < len(code):
                        depth += (code[end] == "{") - (code[end] == "}")
                        end += 1
                        if depth == 0:
                            break
                    function = re.search(r"\)[^=]*$", head) and not re.match(r"\s*enum\b", head)
                    # A constructor's `: member{value}` goes on; so does `= {...}` or an enumeration, up to its semicolon.
                    after = re.compile(r"\s*([,{;]?)").match(code, end)
                    if not function or after.group(1) in {",", "{"}:
                        i = end
                        continue
                    found.append((start, end, head, names[-1]))
                    start, i = None, end
                    continue
        i += 1
    return found


def name_of(head):
    """The name that a declaration declares, as a reader would call it."""
    operator = re.search(r"\boperator(\s*\(\s*\)|\s*\[\s*\]|\s*[^\s(]+(?:\s*[&*])?)", head)
    if operator:
        return "operator" + operator.group(1)
    function = re.search(r"(~?\w+)\s*\(", re.sub(r"\b(explicit|requires|noexcept|decltype|alignas)\s*\([^()]*\)", "", head))
    if function:
        return function.group(1)
    value = re.search(r"(\w+)\s*(?:\[[^\]]*\]|=.*|\{.*)?\s*$", head, flags=re.S)
    return value.group(1) if value else ""


def by_the_language(head, owner):
    """What is said of a member whose meaning the language gives; None for any other."""
    flat = " ".join(head.split())
    if re.search(r"=\s*delete$", flat):
        return "Deleted: there is none."
    if not owner:
        return None
    if re.match(rf"(?:virtual )?~{owner}\b", flat):
        return "Destroys the object."
    special = re.search(rf"(?:^|\s)(?:{owner}|operator=)\((const )?{owner}\s?(&&?)(?: \w+)?\)", flat)
    if special:
        what = "Assigns" if "operator=" in flat else "Constructs"
        return f"{what} a copy." if special.group(1) else f"{what} by moving the other object's content."
    if re.fullmatch(rf"{owner}\(\)(?: noexcept)? ?= ?default", flat):
        return "Constructs an object with the members' own initial values."
    if "operator==" in flat and re.search(r"=\s*default$", flat):
        return "Compares all members."
    return None


def said_above(comment):
    """A comment without what it says of parameters, in one line."""
    plain = " ".join(re.sub(r"^\s*/// ?", "", line) for line in comment)
    return re.split(r"\s@(?:param|return|tparam)\b", " " + plain)[0].strip()


def with_groups(lines):
    """Headings, which are comments with an empty line behind them, as named groups of the members that follow."""
    out, is_open, i = list(lines), False, 0
    while i < len(lines):
        if is_open and re.match(r" {0,4}\};|(public|protected|private):", lines[i]):
            out[i] = "/** @} */ " + lines[i]
            is_open = False
        elif re.match(r" {4}// ", lines[i]) and re.fullmatch(r"\s*|public:", lines[i - 1]):
            block = i
            while re.match(r" {4}//(?!/)", lines[i]):
                i += 1
            if not lines[i].strip():
                said = [re.sub(r"^\s*// ?", "", line) for line in lines[block:i] if not RULE.match(line)]
                title, rest = re.match(r"(?:-+ )?(.*?)(?:[:.] | -{4,} ?|[:.]?$)(.*)", said[0]).groups()
                title = re.sub(r" \(\w+\.cpp\)", "", title)
                rest = rest[:1].upper() + rest[1:]
                # As many lines as there were, of which the last may be the empty one.
                text = [f"{'/** @} */ ' if is_open else ''}/** @name {title}", *([rest] if rest else []), *said[1:]]
                text = [line.replace("\\", "\\\\").replace("#", "\\#") for line in text]
                if len(text) == 1:
                    text[0] += " */ /** @{ */"
                else:
                    text[-1] += " */ /** @{ */"
                out[block:i] = [""] * (i - block)
                out[block:block + len(text)] = text
                is_open = True
            continue
        i += 1
    return out


def transform(text):
    if "@name" not in text:
        text = "\n".join(with_groups(text.split("\n")))
    # A group's braces are a comment of their own, or Doxygen takes what follows them for a comment of the group.
    text = re.sub(r"^(\s*)/// ?(@[{}])[ \t]*$", r"\1/** \2 */", text, flags=re.M)
    # A backslash is itself; the headers' commands begin with @.
    text = re.sub(r"^\s*///.*$", lambda found: found.group(0).replace("\\", "\\\\"), text, flags=re.M)
    text = re.sub(r"^\s*///.*#.*$", lambda found: found.group(0).replace("#", "\\#"), text, flags=re.M)
    # Several variables of one declaration become declarations beside each other.
    text = re.sub(r"^(\s*(?:double|int|bool) )(\w+(?: = [\w.]+)?(?:, \w+(?: = [\w.]+)?)+);$",
                  lambda found: found.group(1) + f"; {found.group(1).strip()} ".join(found.group(2).split(", ")) + ";",
                  text, flags=re.M)
    code = blank(text)
    lines = text.split("\n")
    starts = [0]
    for line in lines:
        starts.append(starts[-1] + len(line) + 1)
    number = 0
    found = declarations(code)
    inserts = {}
    last_line, last_number, comment, commented, moves = -1, -1, [], "", False
    setters = {}
    for _, _, head, owner in found:
        setters.setdefault(owner, set()).add(name_of(head))
    for start, end, head, owner in found:
        while starts[number + 1] <= start:
            number += 1
        # The lines between the last declaration and this one: its own comment, or an empty line that ends the group.
        between = lines[last_line + 1:number]
        own = [line for line in between if DOC.match(line)]
        own = [line for line in own if not re.match(r"\s*///\s*@([{}]|name\b)", line)]
        ended = any(not line.strip() or "/** @{" in line for line in between)
        trailing = any("///<" in line for line in lines[number:text.count("\n", 0, end) + 1])
        last_line, last_number, before = text.count("\n", 0, end - 1 if end > start else end), number, last_number
        flat = " ".join(head.split())
        if re.match(r"(inline )?namespace\b|extern\b|static_assert\b|using namespace\b|template class\b", flat):
            comment = []
            continue
        if re.match(r"(template <.*> )?(class|struct|enum)\s+[\w:]+$", flat) and code[end - 1] == ";":
            continue  # declared here, described elsewhere
        name = name_of(head)
        if own:
            comment, commented = own, name
            moves = (by_the_language(head, owner) or "").startswith(("Assigns", "Constructs a copy", "Constructs by"))
            continue
        if trailing:
            if ended:
                comment = []
            continue
        said = by_the_language(head, owner)
        if ended:
            comment = []
        constant = re.match(r"static constexpr char \w+\[\] = (\".*\")$", " ".join(text[start:end - 1].split()))
        if number == before and comment:
            inserts[start] = said_above(comment)
        elif constant:
            inserts[start] = "Always `" + constant.group(1).replace("\\", "\\\\") + "`."
        elif said is not None and comment and moves and said.startswith(("Assigns", "Constructs")):
            inserts[start] = said_above(comment)
        elif said is not None:
            inserts[start] = said
        elif comment and commented == name:
            what = "constructor" if name == owner else f"`{name}`"
            inserts[start] = f"Another form of the {what} above; what is said there holds here."
        elif comment and name.startswith("operator") and commented.startswith("operator"):
            inserts[start] = said_above(comment)
        elif "override" not in head and (read := re.search(r"\b(?:Get|Is|Are|Has)([A-Z]\w*)\(\) const", head)) and \
                "Set" + read.group(1) in setters[owner]:
            inserts[start] = f"What `Set{read.group(1)}` set, or what is so at first."

    # A comment of one line, closed, before the declaration on the same line.
    for start in sorted(inserts, reverse=True):
        text = text[:start] + "/** " + inserts[start].replace("*/", "* /") + " */ " + text[start:]
    return text


def main(source, target):
    for header in sorted(source.rglob("*.h")):
        if "internal" in header.parts or "kernels" in header.parts:
            continue
        copy = target / header.relative_to(source.parent)
        copy.parent.mkdir(parents=True, exist_ok=True)
        copy.write_text(transform(header.read_text(encoding="utf-8")), encoding="utf-8")


if __name__ == "__main__":
    main(Path(sys.argv[1]), Path(sys.argv[2]))
