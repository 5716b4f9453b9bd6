"""The same examples in every run, and no folder of them in the source tree."""

from hypothesis import settings

settings.register_profile("repeatable", database=None, deadline=None, derandomize=True)
settings.load_profile("repeatable")
