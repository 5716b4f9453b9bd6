"""StatXML documents: root() holds structured_data(...), which holds statistics, counts, arrays, matrices and charts.

document = statxml.root().append(statxml.structured_data("fit").append(statxml.statistic("r2", 0.9)))
document.to_string()
"""

from ._core import Element
from ._core import statxml_array as array
from ._core import statxml_coordinates as coordinates
from ._core import statxml_counts as counts
from ._core import statxml_element as element
from ._core import statxml_matrix as matrix
from ._core import statxml_parameter as parameter
from ._core import statxml_root as root
from ._core import statxml_statistic as statistic
from ._core import statxml_structured_data as structured_data

__all__ = [
    "Element",
    "array",
    "coordinates",
    "counts",
    "element",
    "matrix",
    "parameter",
    "root",
    "statistic",
    "structured_data",
]
