"""Headless export (DESIGN.md seams): `relatorio plano --nivel N --pdf OUT [--programa DIR]`.

Start-up's messages go to stderr in Portuguese instead of boxes; the PDF comes from the same
engine and renderer as the preview and is read back with pdftotext.
"""

from __future__ import annotations

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

from varemo_contas.app import desktop
from varemo_contas.reports.export import export_main

needs_pdftotext = pytest.mark.skipif(
    shutil.which("pdftotext") is None, reason="poppler-utils (pdftotext) missing"
)


def pdf_text(path: Path) -> str:
    return subprocess.run(
        ["pdftotext", "-layout", str(path), "-"], capture_output=True, text=True, check=True
    ).stdout


def plano(installation, out: Path, level: str = "4") -> list[str]:
    return ["plano", "--nivel", level, "--pdf", str(out), "--programa", str(installation.program)]


@needs_pdftotext
def test_plano_writes_the_chart_listing_as_pdf(installation, tmp_path: Path, capsys) -> None:
    out = tmp_path / "plano.pdf"
    assert export_main(plano(installation, out)) == 0
    assert capsys.readouterr().err == ""
    text = pdf_text(out)
    for name in (
        "DESPESAS",
        "RECEITAS",
        "Despesas Administrativas",
        "Ocupação",
        "Aluguel e condomínio",
        "Aluguel da loja",
        "Pão francês",
        "CDB",
        "Impresso: ",
        "Página 1",
        "PADARIA TESTE LTDA",
    ):
        assert name in text, name


@needs_pdftotext
def test_the_level_limits_the_listing(installation, tmp_path: Path) -> None:
    out = tmp_path / "setores.pdf"
    assert export_main(plano(installation, out, "1")) == 0
    text = pdf_text(out)
    assert "Receitas Financeiras" in text
    assert "Vendas Produtos" not in text and "CDB" not in text


def test_the_pdf_is_the_previews_document(installation, tmp_path: Path) -> None:
    """The same engine and renderer: the bytes start as a PDF and name the report."""
    out = tmp_path / "plano.pdf"
    assert export_main([*plano(installation, out), "--nivel=2"]) == 0
    content = out.read_bytes()
    assert content.startswith(b"%PDF")


@pytest.mark.parametrize("level", ["0", "5", "x", "-1"])
def test_a_bad_level_is_refused(installation, tmp_path: Path, capsys, level: str) -> None:
    out = tmp_path / "plano.pdf"
    assert export_main(plano(installation, out, level)) == 2
    err = capsys.readouterr().err
    assert err.startswith(
        f"Nível inválido: {level}. Use 1 (Setor), 2 (Grupo), 3 (Conta) ou 4 (Item).\n"
    )
    assert "Uso:" in err
    assert not out.exists()


def test_a_missing_level_is_refused(installation, tmp_path: Path, capsys) -> None:
    args = ["plano", "--pdf", str(tmp_path / "x.pdf"), "--programa", str(installation.program)]
    assert export_main(args) == 2
    assert "Falta o nível: use --nivel 1, 2, 3 ou 4." in capsys.readouterr().err


def test_a_missing_pdf_is_refused(installation, capsys) -> None:
    assert export_main(["plano", "--nivel", "2", "--programa", str(installation.program)]) == 2
    assert "Falta o arquivo de saída: use --pdf ARQUIVO." in capsys.readouterr().err


def test_an_unknown_option_is_refused(installation, tmp_path: Path, capsys) -> None:
    assert export_main([*plano(installation, tmp_path / "x.pdf"), "--cor", "azul"]) == 2
    assert "Opção desconhecida: --cor" in capsys.readouterr().err


def test_an_unknown_report_is_refused(capsys) -> None:
    assert export_main(["balanco"]) == 2
    assert 'Relatório desconhecido: balanco. Use "plano" ou "personalizado".' in (
        capsys.readouterr().err
    )


def test_no_report_named_prints_the_usage(capsys) -> None:
    assert export_main([]) == 2
    assert "varemo-contas relatorio plano --nivel N --pdf ARQUIVO" in capsys.readouterr().err


def test_an_unwritable_file_fails_with_a_message(installation, tmp_path: Path, capsys) -> None:
    out = tmp_path / "nao-existe" / "plano.pdf"
    assert export_main(plano(installation, out)) == 1
    err = capsys.readouterr().err
    assert err.startswith(f'Não foi possível gravar o arquivo PDF "{out}": ')
    assert not out.exists()


def test_a_missing_installation_fails_with_the_start_up_message(tmp_path: Path, capsys) -> None:
    """Part 1.2's message, on stderr instead of a box."""
    empty = tmp_path / "vazio"
    empty.mkdir()
    args = ["plano", "--nivel", "4", "--pdf", str(tmp_path / "x.pdf"), "--programa", str(empty)]
    assert export_main(args) == 1
    err = capsys.readouterr().err
    assert "Arquivo não encontrado: Sumiu o arquivo path da rede" in err
    assert f"Instalação incompleta na pasta do programa {empty}" in err


def test_a_missing_program_folder_fails(tmp_path: Path, capsys) -> None:
    missing = tmp_path / "nada"
    args = ["plano", "--nivel", "4", "--pdf", str(tmp_path / "x.pdf"), "--programa", str(missing)]
    assert export_main(args) == 1
    assert f"Pasta do programa não encontrada: {missing}" in capsys.readouterr().err


def test_a_missing_empresa_ini_fails(installation, tmp_path: Path, capsys) -> None:
    (installation.data / "Empresa.ini").unlink()
    assert export_main(plano(installation, tmp_path / "x.pdf")) == 1
    assert "Arquivo não encontrado: Sumiu o arquivo Empresa.ini" in capsys.readouterr().err


def test_a_corrupt_database_fails_with_its_message(installation, tmp_path: Path, capsys) -> None:
    installation.database.write_bytes(b"isto nao e um banco de dados" * 100)
    assert export_main(plano(installation, tmp_path / "x.pdf")) == 1
    err = capsys.readouterr().err
    assert "Arquivo corrompido ou com defeitos: Arquivo de banco de dados empresa.mdb" in err


def test_the_desktop_seam_and_folder_are_restored(installation, tmp_path: Path) -> None:
    before_box, before_folder = desktop.msgbox, os.getcwd()
    export_main(plano(installation, tmp_path / "x.pdf"))
    assert desktop.msgbox is before_box
    assert os.getcwd() == before_folder


def personalizado(installation, *args: str) -> list[str]:
    return ["personalizado", *args, "--programa", str(installation.program)]


@needs_pdftotext
def test_personalizado_writes_the_saved_definitions_report(installation, tmp_path: Path, capsys):
    """Part 4.4 for the saved definition and the period, read back from the PDF."""
    out = tmp_path / "resultado.pdf"
    args = personalizado(installation, "Resultado Mensal", "--de", "01-03-2026")
    code = export_main([*args, "--ate", "31-03-2026", "--pdf", str(out)])
    assert code == 0, capsys.readouterr().err
    text = pdf_text(out)
    assert "Relatório : Resultado Mensal" in text
    assert "Período: De 01-03-2026 a 31-03-2026" in text
    assert "Soma da Conta Aluguel e condomínio" in text
    assert "Soma da Conta Energia" not in text
    assert "-2.920,50" in text


def test_personalizado_unknown_definition_fails_with_a_message(installation, tmp_path, capsys):
    args = personalizado(installation, "Balanço", "--de", "01-03-2026", "--ate", "31-03-2026")
    assert export_main([*args, "--pdf", str(tmp_path / "x.pdf")]) == 1
    assert 'Relatório personalizado não encontrado: "Balanço"' in capsys.readouterr().err
    assert not (tmp_path / "x.pdf").exists()


@pytest.mark.parametrize("bad", ["31-02-2026", "2026-03-01", "", "amanhã"])
def test_personalizado_bad_date_is_refused(installation, tmp_path, capsys, bad: str):
    args = personalizado(installation, "Resultado Mensal", "--de", bad, "--ate", "31-03-2026")
    assert export_main([*args, "--pdf", str(tmp_path / "x.pdf")]) == 2
    assert "Data inválida em --de" in capsys.readouterr().err


def test_personalizado_end_before_start_is_refused(installation, tmp_path, capsys):
    args = personalizado(
        installation, "Resultado Mensal", "--de", "31-03-2026", "--ate", "01-03-2026"
    )
    assert export_main([*args, "--pdf", str(tmp_path / "x.pdf")]) == 2
    assert "A data final deve ser igual ou posterior à data inicial" in capsys.readouterr().err


def test_personalizado_unwritable_file_fails(installation, tmp_path, capsys):
    args = personalizado(
        installation, "Resultado Mensal", "--de", "01-03-2026", "--ate", "31-03-2026"
    )
    target = tmp_path / "nao-existe" / "x.pdf"
    assert export_main([*args, "--pdf", str(target)]) == 1
    assert "Não foi possível gravar o arquivo PDF" in capsys.readouterr().err


def test_the_command_line_routes_relatorio_here(installation, tmp_path: Path) -> None:
    from varemo_contas.app.cli import main

    out = tmp_path / "cli.pdf"
    assert main(["relatorio", *plano(installation, out, "3")]) == 0
    assert out.read_bytes().startswith(b"%PDF")


@pytest.mark.slow
@needs_pdftotext
def test_a_fresh_process_exports_without_a_display(installation, tmp_path: Path) -> None:
    out = tmp_path / "processo.pdf"
    env = {k: v for k, v in os.environ.items() if k not in ("QT_QPA_PLATFORM", "DISPLAY")}
    env["LANG"] = "pt_BR.UTF-8"
    done = subprocess.run(
        [sys.executable, "-m", "varemo_contas", "relatorio", *plano(installation, out, "2")],
        capture_output=True,
        text=True,
        env=env,
        timeout=120,
    )
    assert done.returncode == 0, done.stderr
    text = pdf_text(out)
    assert "Despesas Fornecedores" in text and "Fornecedores Insumos" in text
