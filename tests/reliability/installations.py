"""The root conftest's installations for the issue 6 suites, loaded by path; not a test module.

With several conftest modules collected, the name "conftest" may stand for another folder's,
so tests/conftest.py is loaded from its file once, under a name of its own.
"""

from __future__ import annotations

import importlib.util
import os
import shutil
import sys
from pathlib import Path


def _root_conftest() -> object:
    name = "varemo_tests_root_conftest"
    if name in sys.modules:
        return sys.modules[name]
    path = Path(__file__).resolve().parents[1] / "conftest.py"
    spec = importlib.util.spec_from_file_location(name, path)
    module = importlib.util.module_from_spec(spec)
    sys.modules[spec.name] = module  # its dataclasses look their module up there
    spec.loader.exec_module(module)
    return module


_root = _root_conftest()
FakeDesktop = _root.FakeDesktop
Installation = _root.Installation
make_installation = _root.make_installation


def copy_installation(template: Installation, root: Path) -> Installation:
    """A fresh copy of the installation whose "Caminho.dad" names the copy's data folder."""
    shutil.copytree(template.program.parent, root)
    copy = Installation(root / template.program.name, root / template.data.name)
    (copy.program / "Caminho.dad").write_text(str(copy.data) + os.sep + "\r\n", encoding="cp1252")
    return copy
