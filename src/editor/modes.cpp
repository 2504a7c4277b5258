#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/state.h"
#include "data/database.h"
#include "editor/commands.h"
#include "editor/contas.h"
#include "editor/selectors.h"
#include "editor/widgets.h"

#include <QCoreApplication>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTreeWidget>

namespace varemo {

void Contas::setCommandGroup(bool enabled)
{
    // Nothing may move the record away while it is open for change.
    for (QPushButton* button : Movimento)
        button->setEnabled(enabled);
    for (QPushButton* button : MoveFiltro)
        button->setEnabled(enabled);
    Arvore->setEnabled(enabled);
    Pasta->tabBar()->setEnabled(enabled);
    BotaoVer->setEnabled(enabled);
    if (enabled)
        setHitButtons();
}

void Contas::fillAllSelectors()
{
    for (int level = 1; level <= 4; ++level)
        PreencherCombo(level);
}

void Contas::PreencheTexto(int level)
{
    if (level < 1 || level > 3)
        return;
    const QString parent = Texto[static_cast<std::size_t>(level - 1)]->text().trimmed();
    Recordset& table = *Nivel[static_cast<std::size_t>(level - 1)];
    // By name alone: of two parents sharing a name the first found is taken.
    if (!table.findFirst(QStringLiteral("Nome = '") + parent + QStringLiteral("'")))
        return;
    m_state.sql = selectors::fillQuery(level, table.value(QStringLiteral("Codigo")).toInt());
    QCoreApplication::processEvents();
    QStringList names;
    const auto rows = database().openRecordset(m_state.sql);
    for (; !rows->eof(); rows->moveNext())
        names << rows->value(QStringLiteral("Nome")).toString();
    rows->close();
    Texto[static_cast<std::size_t>(level)]->fill(names);
}

void Contas::Alterar()
{
    const auto page = static_cast<std::size_t>(PaginaAtiva);
    Recordset* rows = dataSet();
    const bool hasRow = rows != nullptr && !rows->bof() && !rows->eof();
    // Items that stand for a product are kept by the product register.
    if (NivelAtual == 4 && PaginaAtiva == 0 && hasRow
        && rows->value(QStringLiteral("CodigoProduto")).toInt() != 0) {
        m_desktop.msgbox(QStringLiteral("Não se pode alterar produto ou insumo"), vb::Information,
            QStringLiteral("Não pode alterar"));
        return;
    }
    if (TotalRegistros[page] < 1 || !hasRow) {
        m_desktop.msgbox(
            QStringLiteral("Não tem nenhum registro"), vb::Information, QStringLiteral("Alterar"));
        return;
    }
    PosicaoSalva[page] = rows->bookmark();
    Status->setPanel(StatusBar::Message, QStringLiteral("Alterando Registro"));
    setCommandGroup(false);
    setBands(false);
    if (PaginaAtiva == 1) {
        PreencheTexto(NivelAtual);
    } else {
        for (std::size_t level = 0; level < Combo.size(); ++level)
            TextoSalvo[level] = Combo[level]->text();
        fillAllSelectors();
    }
    EmInclusao = false;
    EmAlteracao = true;
    MenuBotao(commands::ModeEdit);
    const auto current = static_cast<std::size_t>(NivelAtual);
    if (PaginaAtiva == 1)
        Texto[current]->setFocus();
    else
        Combo[current]->setFocus();
}

void Contas::Incluir()
{
    const auto page = static_cast<std::size_t>(PaginaAtiva);
    const auto current = static_cast<std::size_t>(NivelAtual);
    try {
        const qint32 total = TotalRegistros[page];
        Recordset* rows = dataSet();
        const bool hasRow = rows != nullptr && !rows->bof() && !rows->eof();
        PosicaoSalva[page] = total >= 1 && hasRow ? std::optional(rows->bookmark()) : std::nullopt;
        if (PaginaAtiva == 1) {
            PreencheTexto(NivelAtual);
        } else {
            TextoSalvo.fill(QString());
            fillAllSelectors();
        }
        // The new record shows as the last of a list grown by one, though nothing is written yet.
        Status->setPanel(StatusBar::Record, QStringLiteral("Registro %1/%1").arg(total + 1));
        Status->setPanel(StatusBar::Message, QStringLiteral("Inserindo novo registro"));
        setCommandGroup(false);
        setBands(false);
        EmInclusao = true;
        EmAlteracao = false;
        MenuBotao(commands::ModeInsert);
        if (PaginaAtiva == 1) {
            Texto[current]->setText(QString());
            Texto[current]->setFocus();
        } else {
            // The selectors above keep their texts: they name the parent of the new record.
            Combo[current]->setText(QString());
            Combo[0]->setFocus();
        }
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::Inserindo, error.description(), error.number());
    }
}

void Contas::SaiModo()
{
    EmInclusao = false;
    EmAlteracao = false;
    setBands(true);
    MenuBotao(commands::ModeView);
    setCommandGroup(true);
    const auto page = static_cast<std::size_t>(PaginaAtiva);
    Recordset* rows = dataSet();
    if (Gravou) {
        refreshAfterSave();
    } else if (rows != nullptr && PosicaoSalva[page]) {
        try {
            rows->setBookmark(*PosicaoSalva[page]);
            syncPosition();
            PreencheCampos();
        } catch (const JetError&) {
            // The saved row is gone; the page stays where it is.
        }
    }
    Status->setPanel(StatusBar::Message, QString());
    TotalDeRegistros();
    if (PaginaAtiva == 1)
        Texto[0]->setFocus();
    else
        Combo[0]->setFocus();
}

} // namespace varemo
