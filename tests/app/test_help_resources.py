"""The shipped help pages and sounds (Part 1.4): every topic has its page, links resolve."""

from __future__ import annotations

import os
import re
import unicodedata
import wave
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

import pytest

import varemo_contas
from varemo_contas.app import desktop, helptopics

RESOURCES = Path(varemo_contas.__file__).parent / "resources"
HELP = RESOURCES / "Ajuda"
MODULE_HELP = HELP / "Contas"
SHARED_HELP = HELP / "Sobre o Sistema"
SOUNDS = RESOURCES / "Sons"

PAGES = sorted(HELP.rglob("*.html"))


class _PageParser(HTMLParser):
    """Collects the html element's lang, the title text, link targets and element ids."""

    def __init__(self) -> None:
        super().__init__(convert_charrefs=True)
        self.lang: str | None = None
        self.charset: str | None = None
        self.title = ""
        self.links: list[str] = []
        self.ids: set[str] = set()
        self._in_title = False

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        values = {name: value or "" for name, value in attrs}
        if tag == "html":
            self.lang = values.get("lang")
        elif tag == "meta" and "charset" in values:
            self.charset = values["charset"]
        elif tag == "title":
            self._in_title = True
        if tag in ("a", "link") and "href" in values:
            self.links.append(values["href"])
        if tag in ("img", "script") and "src" in values:
            self.links.append(values["src"])
        if "id" in values:
            self.ids.add(values["id"])

    def handle_endtag(self, tag: str) -> None:
        if tag == "title":
            self._in_title = False

    def handle_data(self, data: str) -> None:
        if self._in_title:
            self.title += data


def _parse(path: Path) -> _PageParser:
    parser = _PageParser()
    parser.feed(path.read_bytes().decode("utf-8"))
    parser.close()
    return parser


def _expected_page(context: int) -> Path:
    folder = SHARED_HELP if context >= desktop.SHARED_HELP_FIRST_CONTEXT else MODULE_HELP
    return folder / ("index.html" if context == 0 else f"{context}.html")


# --- topics -------------------------------------------------------------------------------


def test_topic_numbers_fixed_by_the_spec() -> None:
    assert helptopics.PROCURA == 25000
    assert helptopics.SOBRE == 30020
    assert helptopics.AJUDA_CONTEUDO == 0
    assert helptopics.SHARED_HELP_FIRST_CONTEXT == desktop.SHARED_HELP_FIRST_CONTEXT
    assert {0, 25000, 30020} <= set(helptopics.TOPICS)


def test_constants_and_topics_agree() -> None:
    constants = {
        name: value
        for name, value in vars(helptopics).items()
        if name.isupper() and isinstance(value, int) and name != "SHARED_HELP_FIRST_CONTEXT"
    }
    assert sorted(constants.values()) == sorted(helptopics.TOPICS)
    assert len(set(constants.values())) == len(constants)
    assert all(title.strip() for title in helptopics.TOPICS.values())


def test_topics_split_between_module_and_suite_help() -> None:
    assert not helptopics.is_shared(helptopics.PLANO_CONTAS)
    assert helptopics.is_shared(helptopics.SISTEMA)
    assert helptopics.SISTEMA == 30001
    assert all(n < 30001 for n in helptopics.TOPICS if not helptopics.is_shared(n))
    assert helptopics.page_file(0) == "index.html"
    assert helptopics.page_file(1010) == "1010.html"


@pytest.mark.parametrize("context", sorted(helptopics.TOPICS))
def test_every_topic_has_its_page_in_the_right_folder(context: int) -> None:
    page = _expected_page(context)
    assert page.is_file(), page
    parsed = _parse(page)
    assert helptopics.TOPICS[context] in parsed.title


@pytest.mark.parametrize("context", sorted(helptopics.TOPICS))
def test_desktop_resolves_every_topic_to_an_existing_page(context: int) -> None:
    saved = (desktop._platform.program_folder, desktop._platform.title)
    try:
        desktop.configure(str(RESOURCES) + os.sep, "Plano de Contas")
        page = Path(desktop.help_page_for(context))
    finally:
        desktop.configure(*saved)
    assert page.is_file(), page
    assert page.resolve() == _expected_page(context).resolve()


def test_both_help_folders_have_an_index_and_a_stylesheet() -> None:
    for folder in (MODULE_HELP, SHARED_HELP):
        assert (folder / "index.html").is_file()
        assert (folder / "estilo.css").is_file()


def test_module_contents_page_links_every_topic() -> None:
    links = {unquote(urlsplit(href).path) for href in _parse(MODULE_HELP / "index.html").links}
    for context in helptopics.TOPICS:
        if context == 0:
            continue
        name = helptopics.page_file(context)
        target = f"../Sobre o Sistema/{name}" if helptopics.is_shared(context) else name
        assert target in links, context


def test_help_index_is_alphabetical() -> None:
    text = (MODULE_HELP / f"{helptopics.LOCALIZAR_NA_AJUDA}.html").read_text(encoding="utf-8")
    terms = re.findall(r"<dt>(.*?)</dt>", text)
    assert len(terms) > 30

    def key(term: str) -> str:
        folded = unicodedata.normalize("NFD", term.casefold().lstrip("“"))
        return "".join(ch for ch in folded if not unicodedata.combining(ch))

    assert [key(t) for t in terms] == sorted(key(t) for t in terms)


def test_suite_overview_names_the_ten_modules() -> None:
    text = (SHARED_HELP / f"{helptopics.SISTEMA}.html").read_text(encoding="utf-8")
    for _program, display_name in desktop.MODULES.values():
        assert display_name in text


# --- every page ---------------------------------------------------------------------------


def test_pages_were_found() -> None:
    assert len(PAGES) >= len(helptopics.TOPICS) + 1


@pytest.mark.parametrize("page", PAGES, ids=lambda p: str(p.relative_to(HELP)))
def test_page_is_utf8_portuguese_with_a_title(page: Path) -> None:
    raw = page.read_bytes()
    raw.decode("utf-8")  # raises on invalid UTF-8
    assert not raw.startswith(b"\xef\xbb\xbf")
    parsed = _parse(page)
    assert parsed.lang == "pt-BR"
    assert (parsed.charset or "").lower() == "utf-8"
    assert parsed.title.strip()


@pytest.mark.parametrize("page", PAGES, ids=lambda p: str(p.relative_to(HELP)))
def test_every_relative_link_points_to_an_existing_file(page: Path) -> None:
    parsed = _parse(page)
    for href in parsed.links:
        parts = urlsplit(href)
        if parts.scheme or parts.netloc:
            assert parts.scheme in ("mailto", "http", "https"), href
            continue
        if not parts.path:  # a link inside the page
            assert parts.fragment in parsed.ids, href
            continue
        target = (page.parent / unquote(parts.path)).resolve()
        assert target.is_file(), f"{page.name}: {href}"
        assert HELP.resolve() in target.parents, href
        if parts.fragment and target.suffix == ".html":
            assert parts.fragment in _parse(target).ids, href


# --- sounds -------------------------------------------------------------------------------


@pytest.mark.parametrize("name", sorted(desktop.SOUNDS.values()))
def test_sound_is_a_short_small_wav(name: str) -> None:
    path = SOUNDS / name
    assert path.is_file(), path
    assert path.stat().st_size < 20 * 1024
    with wave.open(str(path), "rb") as sound:
        assert sound.getnchannels() == 1
        assert sound.getsampwidth() == 2
        assert sound.getframerate() == 22050
        frames = sound.getnframes()
        data = sound.readframes(frames)
    duration = frames / 22050
    assert 0.02 <= duration <= 0.4
    assert len(data) == frames * 2
    assert any(data), "silent file"


def test_the_seven_sounds_are_distinct() -> None:
    contents = {(SOUNDS / name).read_bytes() for name in desktop.SOUNDS.values()}
    assert len(contents) == 7


def test_program_folder_sound_paths_resolve() -> None:
    saved = (desktop._platform.program_folder, desktop._platform.title)
    try:
        desktop.configure(str(RESOURCES) + os.sep, "Plano de Contas")
        for name in desktop.SOUNDS.values():
            assert Path(desktop.program_path("Sons", name)).is_file()
    finally:
        desktop.configure(*saved)
