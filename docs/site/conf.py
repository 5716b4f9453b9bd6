# Sphinx settings of the documentation site. build.py fills the folder that this file is copied to.
import os

from sphinx.domains.cpp import CPPDomain

project = "modelcore"
version = release = os.environ["MODELCORE_VERSION"]
author = "the modelcore authors"
copyright = author

extensions = ["myst_parser", "breathe"]
root_doc = "index"
# Links to headings of other guides are those that a Markdown viewer makes.
myst_heading_anchors = 4
# A guide may begin its parts at any level, and quotes output that no lexer knows.
suppress_warnings = ["myst.header", "misc.highlighting_failure"]

breathe_projects = {"modelcore": os.environ["MODELCORE_XML"]}
breathe_default_project = "modelcore"
breathe_default_members = ("members", "protected-members")
primary_domain = "cpp"
highlight_language = "none"

# Options keep both their dashes.
smartquotes = False

html_theme = "furo"
html_title = f"modelcore {version}"
html_copy_source = False
html_show_sourcelink = False
html_show_sphinx = False


class Members(CPPDomain):
    """The domain without parameters, which would bury the members in the results of a search."""

    def get_objects(self):
        return (found for found in super().get_objects() if found[2] not in {"functionParam", "templateParam"})


def setup(app):
    app.add_domain(Members, override=True)
