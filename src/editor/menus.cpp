// The main window's commands: menus and toolbars of QActions named by their keys, the
// dispatcher, the tooltips and the enabling by mode.

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/helptopics.h"
#include "app/sobre.h"
#include "app/state.h"
#include "data/errors.h"
#include "editor/browse.h"
#include "editor/commands.h"
#include "editor/contas.h"
#include "editor/images.h"
#include "editor/widgets.h"
#include "search/procontas.h"

#include <QAction>
#include <QEvent>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QToolBar>

namespace varemo {

namespace {

const QStringList& recordKeys()
{
    static const QStringList keys
        = {QStringLiteral("ID_Incluir"), QStringLiteral("ID_Alterar"), QStringLiteral("ID_Excluir")};
    return keys;
}

} // namespace

void Contas::buildCommands()
{
    QMenuBar* bar = menuBar();
    for (const commands::Menu& entry : commands::menus()) {
        QMenu* parentMenu = m_menus.value(entry.parent);
        QMenu* created
            = parentMenu != nullptr ? parentMenu->addMenu(entry.caption) : bar->addMenu(entry.caption);
        created->menuAction()->setObjectName(entry.key);
        created->setToolTipsVisible(true);
        m_menus.insert(entry.key, created);
    }

    Barra1 = new QToolBar(QStringLiteral("Barra1"), this);
    Barra2 = new QToolBar(QStringLiteral("Barra2"), this);
    for (QToolBar* band : {Barra1, Barra2}) {
        band->setObjectName(band->windowTitle());
        band->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        band->setIconSize(QSize(24, 24));
        band->setMovable(false);
        band->setFloatable(false);
        addToolBar(Qt::TopToolBarArea, band);
    }

    for (const commands::Command& command : commands::all()) {
        auto* act = new QAction(toolIcon(command.icon), command.caption, this);
        act->setObjectName(command.key);
        act->setToolTip(command.tooltip);
        act->setIconVisibleInMenu(!command.icon.isEmpty());
        if (!command.bandCaption.isEmpty())
            act->setIconText(command.bandCaption);
        if (!command.shortcut.isEmpty())
            act->setShortcut(QKeySequence(command.shortcut));
        connect(act, &QAction::triggered, this, [this, key = command.key] { toolTriggered(key); });
        connect(act, &QAction::hovered, this, [this, key = command.key] { toolHovered(key); });
        addAction(act); // its shortcut works wherever it is shown, or when it is shown nowhere
        m_actions.insert(command.key, act);

        if (QMenu* holder = m_menus.value(command.menu)) {
            if (command.separatorBefore && !holder->isEmpty())
                holder->addSeparator();
            holder->addAction(act);
        }
        QToolBar* band = command.band == commands::Band1 ? Barra1
            : command.band == commands::Band2            ? Barra2
                                                         : nullptr;
        if (band != nullptr) {
            if (command.separatorBefore && !band->actions().isEmpty())
                band->addSeparator();
            band->addAction(act);
        }
    }
    // The sibling modules sit in the file menu, just above "Sair".
    QMenu* file = m_menus.value(commands::MenuFile);
    QMenu* modules = m_menus.value(commands::MenuModules);
    file->removeAction(modules->menuAction());
    file->insertMenu(m_actions.value(QStringLiteral("ID_Sair")), modules);
    file->insertSeparator(m_actions.value(QStringLiteral("ID_Sair")));
    // "Gravar" and "Cancelar" lead the file menu, then the modules.
    file->insertSeparator(modules->menuAction());

    Barra2->setVisible(false);
}

QAction* Contas::action(const QString& key) const
{
    return m_actions.value(key);
}

QMenu* Contas::menu(const QString& key) const
{
    return m_menus.value(key);
}

QString Contas::tooltip_for(const QString& key)
{
    const QString text = commands::tooltipText(key, reportsVisible());
    if (!text.isEmpty())
        Status->setPanel(StatusBar::Message, text);
    return text;
}

void Contas::toolHovered(const QString& key)
{
    const QString text = tooltip_for(key);
    if (QAction* act = action(key))
        act->setToolTip(text);
    m_desktop.playSound(6);
}

void Contas::toolTriggered(const QString& key)
{
    m_desktop.playSound(7);
    tool_click(key);
}

void Contas::tool_click(const QString& key)
{
    // A switched-off tool does nothing, whoever asks: the modes and archive data rely on it.
    const QAction* act = action(key);
    if (act != nullptr && act->isEnabled()) {
        try {
            runShellCommand(key);
        } catch (const JetError& error) {
            logError(m_state, m_desktop, key, error.description(), error.number());
        }
    }
    applyArchiveMode();
}

bool Contas::runShellCommand(const QString& key)
{
    if (const int number = commands::moduleNumber(key)) {
        chooseModule(number);
        return true;
    }
    if (key == QStringLiteral("ID_Sair")) {
        closeWindow();
    } else if (key == QStringLiteral("ID_SobreoPrograma")) {
        showAbout();
    } else if (key == QStringLiteral("ID_AjudadoPrograma") || key == QStringLiteral("ID_ConteúdoeÍndice")) {
        m_desktop.showHelp(help::Conteudo);
    } else if (key == QStringLiteral("ID_LocalizarnaAjuda")) {
        m_desktop.showHelp(help::IndiceAssuntos);
    } else if (key == QStringLiteral("ID_Checarnova") || key == QStringLiteral("ID_Novaversão")) {
        m_desktop.showHelp(help::NovaVersao);
    } else if (key == QStringLiteral("ID_Oqueéisto?") || key == QStringLiteral("ID_Oqueé")) {
        contextHelp();
    } else if (key == QStringLiteral("ID_EnviarMail")) {
        m_desktop.sendMail();
    } else if (key == QStringLiteral("ID_Incluir")) {
        if (reportsVisible())
            newReport();
        else
            Incluir();
    } else if (key == QStringLiteral("ID_Alterar")) {
        if (!reportsVisible())
            Alterar();
        else if (reportChosen())
            editReport();
    } else if (key == QStringLiteral("ID_Excluir")) {
        if (!reportsVisible())
            Excluir();
        else if (reportChosen())
            deleteReport();
    } else if (key == QStringLiteral("ID_PlanoContas")) {
        printChart();
    } else if (key == QStringLiteral("ID_Gravar")) {
        Gravar();
    } else if (key == QStringLiteral("ID_Cancelar")) {
        if (EmInclusao || EmAlteracao)
            Salvar(1);
    } else if (key == QStringLiteral("ID_Relatorios")) {
        showReportList();
    } else if (key == QStringLiteral("ID_Filtrar")) {
        ProContas window(m_state, m_desktop, this);
        m_desktop.showModal(window);
        // A cancelled search leaves -1: nothing was marked, so nothing is reported.
        if (m_state.searchResult > -1)
            RelatorioEncontrados(m_state.searchResult);
    } else if (key == QStringLiteral("ID_Atualizar")) {
        Atualizar();
    } else if (const int level = browse::viewLevel(key)) {
        showLevel(level);
    } else {
        return false;
    }
    return true;
}

void Contas::MenuBotao(const QString& mode)
{
    Modo = mode;
    const bool browsing = commands::groupsEnabled(mode);
    // Switching a group off takes away every command in it; the views go too, since a
    // record open for change must not lose its page.
    for (const QString& group : {commands::GroupEdit, commands::GroupReports, commands::MenuView}) {
        QMenu* holder = menu(group);
        holder->menuAction()->setEnabled(browsing);
        for (QAction* member : holder->actions())
            member->setEnabled(browsing);
    }
    action(QStringLiteral("ID_Gravar"))->setEnabled(!browsing);
    action(QStringLiteral("ID_Cancelar"))->setEnabled(!browsing);
    Status->setPanel(StatusBar::Mode, mode);
    setFieldAccess();
    applyArchiveMode();
}

void Contas::setFieldAccess()
{
    // While browsing the fields only show the record; a record open for change may be
    // typed into on the page being edited.
    const bool browsing = commands::groupsEnabled(Modo);
    for (Selector* combo : Combo)
        combo->setReadOnly(browsing || PaginaAtiva != 0);
    for (Selector* field : Texto)
        field->setReadOnly(browsing || PaginaAtiva != 1);
}

void Contas::setBands(bool browsing)
{
    Barra1->setVisible(browsing);
    Barra2->setVisible(!browsing);
}

void Contas::applyArchiveMode()
{
    if (!m_state.archiveMode)
        return;
    for (const QString& key : recordKeys()) {
        if (QAction* act = action(key))
            act->setEnabled(false);
    }
}

void Contas::chooseModule(int number)
{
    // The module starts when this window has unloaded and closed the database.
    m_state.moduleToStart = number;
    closeWindow();
}

void Contas::closeWindow()
{
    close();
    Form_Unload(); // a hidden window may get no close event
}

void Contas::showAbout()
{
    Sobre about(m_state, m_desktop, this);
    m_desktop.showModal(about);
}

void Contas::contextHelp()
{
    int context = help::Conteudo;
    for (const QWidget* widget = focusWidget(); widget != nullptr; widget = widget->parentWidget()) {
        const QVariant value = widget->property("helpContext");
        if (value.isValid()) {
            context = value.toInt();
            break;
        }
    }
    m_desktop.showHelp(context);
}

bool Contas::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Enter) {
        for (const QPushButton* button : MoveFiltro) {
            if (watched == button)
                m_desktop.playSound(6);
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

} // namespace varemo
