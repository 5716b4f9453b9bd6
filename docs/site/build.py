#!/usr/bin/env python3
"""Fills a folder with what Sphinx makes the documentation site of: all guides, a page for each folder of the library,
the programs' manual pages, and the sources that guides link to.

Usage: build.py FOLDER MANUALS

FOLDER is made anew; MANUALS holds the manual pages (linreg.1, ...). Links in the guides are those of the repository; each
is turned into the link to the same thing on the site, and one that leads nowhere is an error. Ends with status 1 when a
link is dead, a guide is not in docs/README.md, or Doxygen has something to say, such as a public member without a comment.
"""
import os
import posixpath
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ET
from pathlib import Path

import spread_comments

ROOT = Path(__file__).resolve().parent.parent.parent
FRONT = "README.md"  # becomes index.md
BESIDE = ["CONTRIBUTING.md", "CHANGELOG.md", "SECURITY.md"]
LANGUAGES = {".cpp": "cpp", ".h": "cpp", ".py": "python", ".xml": "xml", ".xsd": "xml", ".json": "json",
             ".cmake": "cmake", ".sh": "bash"}
# Doxygen knows no class that it has not seen the general form of; the member is documented and shown nowhere.
HARMLESS = re.compile(r"Internal inconsistency: scope for class std::hash<")

faults = []


def fault(text):
    faults.append(text)


class Site:
    """The pages that are to be, by their paths in the repository."""

    def __init__(self, folder):
        self.folder = folder
        self.pages = {}
        self.waiting = []

    def page_of(self, path):
        """Where the page of a file or folder of the repository stands on the site; it is asked for when it is new."""
        if path in self.pages:
            return self.pages[path]
        part = path.split("/")
        if part[0] == "modelcore" and len(part) > 1 and (self.folder / "api" / f"{part[1]}.rst").is_file():
            return f"api/{part[1]}.rst"
        if (ROOT / path).is_dir() and (ROOT / path / "README.md").is_file():
            return self.page_of(posixpath.join(path, "README.md"))
        if path.endswith(".md"):
            page = "index.md" if path == FRONT else path
        else:
            page = f"sources/{path}.md"
        self.pages[path] = page
        self.waiting.append(path)
        return page

    def write(self, page, text):
        target = self.folder / page
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text, encoding="utf-8")

    def write_all(self):
        while self.waiting:
            path = self.waiting.pop(0)
            source, page = ROOT / path, self.pages[path]
            if source.is_dir():
                self.write(page, folder_page(path))
            elif path.endswith(".md"):
                self.write(page, self.translated(path, page))
            else:
                self.write(page, source_page(path))

    def translated(self, path, page):
        """The text of a guide with its links to the repository turned into links to the site."""
        text = (ROOT / path).read_text(encoding="utf-8")
        # Code, in fences, by indentation or between backquotes, has no links.
        kept = []

        def keep(found):
            kept.append(found.group(0))
            return f"\0{len(kept) - 1}\0"

        text = re.sub(r"^```.*?^```$|^(?: {4}[^\n]*\n)+|`[^`\n]+`", keep, text, flags=re.S | re.M)

        def link(found):
            image, label, target = found.groups()
            if re.match(r"[a-z]+:", target) or target.startswith("#"):
                return found.group(0)
            name, _, anchor = target.partition("#")
            aim = posixpath.normpath(posixpath.join(posixpath.dirname(path), name))
            if not (ROOT / aim).exists():
                fault(f"{path}: the link to {target} leads nowhere")
                return label
            if image:
                picture = self.folder / aim
                picture.parent.mkdir(parents=True, exist_ok=True)
                shutil.copyfile(ROOT / aim, picture)
                goal = aim
            else:
                goal = self.page_of(aim)
            goal = posixpath.relpath(goal, posixpath.dirname(page) or ".")
            return f"{image}[{label}]({goal}{'#' + anchor if anchor else ''})"

        text = re.sub(r"(!?)\[([^\[\]]*)\]\(([^()\s]+)\)", link, text)
        return re.sub(r"\0(\d+)\0", lambda found: kept[int(found.group(1))], text)


def tracked(path):
    """The files of a folder, without what builds leave there."""
    listed = subprocess.run(["git", "ls-files", "--", path], cwd=ROOT, capture_output=True, text=True, check=False)
    return listed.stdout.split() or sorted(str(file.relative_to(ROOT)) for file in (ROOT / path).rglob("*") if file.is_file())


def folder_page(path):
    files = "\n".join(f"* `{file}`" for file in tracked(path))
    return f"# {path}\n\nA folder of the repository:\n\n{files}\n"


def source_page(path):
    text = (ROOT / path).read_text(encoding="utf-8")
    fence = "`" * 4
    return f"# {path}\n\n{fence}{LANGUAGES.get(Path(path).suffix, 'none')}\n{text.rstrip()}\n{fence}\n"


def rst(text):
    """Text in which nothing is markup."""
    return re.sub(r"([\\*`|_])", r"\\\1", text)


def manual_page(roff):
    """A page of our own programs' manuals, which use few of the macros there are."""
    def plain(text):
        text = re.sub(r"\\f[BIR]", "", text).replace("\\-", "-").replace("\\&", "")
        return rst(text.replace("\\(aq", "'").replace("\\e", "\\"))

    out, term, items = [], False, False
    for line in roff.splitlines():
        macro, _, rest = line.partition(" ")
        rest = rest.strip('"')
        if macro == ".TH":
            name = rest.split()[0].lower()
            out += [name, "=" * len(name), ""]
        elif macro == ".SH":
            items = False
            title = plain(rest).capitalize()
            out += ["", title, "-" * len(title), ""]
        elif macro == ".TP":
            term = items = True
            out.append("")
        elif macro in {".B", ".I", ".BR", ".IR"} or not line.startswith("."):
            text = plain(rest if line.startswith(".") else line)
            if term:
                out.append(f"``{text}``".replace("\\", ""))
                term = False
            elif text.strip():
                out.append(("   " if items else "") + text.strip())
        elif macro in {".PP", ".P"}:
            out.append("")
    return "\n".join(out) + "\n"


def tidy(xml):
    """What Doxygen's XML has twice, Sphinx would declare twice: namespaces with every file, members that a class takes
    over by name, and friends of one signature."""
    for file in sorted(xml.glob("*.xml")):
        tree = ET.parse(file)
        changed = False
        for compound in tree.getroot().iter("compounddef"):
            if compound.get("kind") == "file":
                for inner in compound.findall("innernamespace"):
                    compound.remove(inner)
                    changed = True
            for child in list(compound):
                hidden = child.tag == "sectiondef" and re.match(r"private|package", child.get("kind"))
                if hidden or child.tag == "includes":
                    compound.remove(child)
                    changed = True
            seen = {}
            for section in compound.findall("sectiondef"):
                for member in list(section.findall("memberdef")):
                    name = member.get("id")
                    owner = compound.findtext("compoundname") + "::"
                    seen[name] = seen.get(name, 0) + 1
                    kind = member.findtext("type") or ""
                    if member.get("prot") == "private" or kind.startswith(("friend class", "friend struct")):
                        section.remove(member)
                        changed = True
                    elif member.get("kind") == "function" and compound.get("kind") in {"class", "struct"} and \
                            owner not in (member.findtext("definition") or owner):
                        section.remove(member)
                        changed = True
                    elif seen[name] > 1:
                        member.set("id", f"{name}x{seen[name]}")
                        changed = True
        if changed:
            tree.write(file, encoding="utf-8", xml_declaration=True)


def doxygen(folder, version):
    """The XML of the public headers; what Doxygen says about them is a fault."""
    headers, xml = folder / "headers", folder / "xml"
    spread_comments.main(ROOT / "modelcore", headers)
    template = (ROOT / "modelcore/modelcore_version.h.in").read_text(encoding="utf-8")
    for name, number in zip(("MAJOR", "MINOR", "PATCH"), version.split("."), strict=True):
        template = template.replace(f"@PROJECT_VERSION_{name}@", number)
    (headers / "modelcore/modelcore_version.h").write_text(
        spread_comments.transform(template.replace("@PROJECT_VERSION@", version)), encoding="utf-8")
    settings = (ROOT / "docs/site/Doxyfile").read_text(encoding="utf-8")
    settings += f"INPUT = {headers / 'modelcore'}\nOUTPUT_DIRECTORY = {folder}\nSTRIP_FROM_PATH = {headers}\n"
    said = subprocess.run(["doxygen", "-"], input=settings, capture_output=True, text=True, check=False)
    for line in sorted(set(said.stderr.splitlines())):
        if line.strip() and not HARMLESS.search(line):
            fault(line.replace(str(headers) + "/", ""))
    if said.returncode != 0:
        fault("doxygen failed")
    tidy(xml)


def api_pages(site):
    """A page for each folder with public headers; what stands in the README about a folder opens its page."""
    readme = (ROOT / FRONT).read_text(encoding="utf-8")
    names = []
    for folder in sorted(path for path in (site.folder / "headers/modelcore").iterdir() if path.is_dir()):
        name = folder.name
        names.append(name)
        title = f"modelcore/{name}"
        out = [title, "=" * len(title), ""]
        row = re.search(rf"^\| \[`modelcore/{name}`\]\([^)]*\) \| (.*?) \| (.*?) \|$", readme, flags=re.M)
        if row:
            out += [rst(row.group(1)[0].upper() + row.group(1)[1:]) + ".", ""]
            links = re.findall(r"\[([^\]]+)\]\(([^)#]+)\.md[^)]*\)", row.group(2))
            guides = [f":doc:`{label} </{goal}>`" for label, goal in links]
            out += ["Guides: " + ", ".join(guides) + ".", ""]
        for header in sorted(folder.glob("*.h")):
            path = f"modelcore/{name}/{header.name}"
            first = (ROOT / path).read_text(encoding="utf-8").split("\n", 1)[0]
            out += [header.stem, "-" * len(header.stem), "", rst(first.lstrip("/ ")), "", ".. code-block:: cpp", "",
                    f"   #include \"{path}\"", "", f".. doxygenfile:: {path}", ""]
        site.write(f"api/{name}.rst", "\n".join(out))
    return names


def toctree(caption, pages, hidden=True):
    lines = ["```{toctree}", *([":hidden:"] if hidden else []), ":maxdepth: 1", f":caption: {caption}", "", *pages, "```"]
    return "\n".join(lines)


def main(folder, manuals):
    version = re.search(r"VERSION (\d+\.\d+\.\d+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")).group(1)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    doxygen(folder, version)
    site = Site(folder / "source")
    (folder / "headers").rename(folder / "source_headers")
    site.folder.mkdir()
    (folder / "source_headers").rename(site.folder / "headers")
    folders = api_pages(site)

    guides = [target.split("#")[0] for target in
              re.findall(r"\]\(([a-z-]+\.md)[^)]*\)", (ROOT / "docs/README.md").read_text(encoding="utf-8"))]
    guides = list(dict.fromkeys(guides))
    for guide in guides:
        if not (ROOT / "docs" / guide).is_file():
            fault(f"docs/README.md names {guide}, which is not there")
    guides = [guide for guide in guides if (ROOT / "docs" / guide).is_file()]
    for guide in sorted(ROOT.glob("docs/*.md")):
        if guide.name != "README.md" and guide.name not in guides:
            fault(f"docs/README.md does not name {guide.name}")
    programs = sorted(path.stem for path in manuals.glob("*.1"))
    if not programs:
        fault(f"there are no manual pages in {manuals}")
    for program in programs:
        site.write(f"manual/{program}.rst", manual_page((manuals / f"{program}.1").read_text(encoding="utf-8")))

    beside = [name for name in BESIDE if (ROOT / name).is_file()]
    for path in [FRONT, "docs/README.md", *(f"docs/{guide}" for guide in guides), *beside]:
        site.page_of(path)
    site.write_all()
    named = {"index.md", "docs/README.md", *(f"docs/{guide}" for guide in guides), *beside}
    others = sorted(page.removesuffix(".md") for page in site.pages.values() if page not in named)
    site.write("sources.md", "# Sources that guides link to\n\n" + toctree("Sources", others, hidden=False) + "\n")

    front = site.folder / "index.md"
    front.write_text(front.read_text(encoding="utf-8") + "\n" + "\n\n".join([
        toctree("Guides", ["docs/README", *(f"docs/{guide[:-3]}" for guide in guides)]),
        toctree("Library", [f"api/{name}" for name in folders]),
        toctree("Programs", [f"manual/{program}" for program in programs]),
        toctree("Project", [*(name[:-3] for name in beside), "sources"])]) + "\n", encoding="utf-8")
    shutil.rmtree(site.folder / "headers")
    shutil.copyfile(ROOT / "docs/site/conf.py", site.folder / "conf.py")
    for text in faults:
        print(text, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    os.environ["PYTHONDONTWRITEBYTECODE"] = "1"
    sys.exit(main(Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()))
