#pragma once

// A person using the program, written as steps ("at 4 8; click ID_Conta; texto 3 Telefone"):
// the crash child plays a whole action, the lock tests what comes before the click and then
// the click.

#include "reliability/reliability.h"
#include "reports/arvrelat.h"
#include "reports/dataperiodo.h"
#include "search/procontas.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>

#include <cstdio>
#include <functional>
#include <iostream>
#include <string>
#include <unistd.h>

namespace varemo::test {

inline void say(QString line)
{
    std::printf("%s\n", line.replace(QLatin1Char('\r'), QLatin1Char('~')).toUtf8().constData());
    std::fflush(stdout);
}

// A step no window can take is a fault of the test itself.
[[noreturn]] inline void stop(const QString& why)
{
    std::fprintf(stderr, "%s\n", qPrintable(why));
    ::_exit(2);
}

template<class Window> Window& as(QWidget* dialog)
{
    auto* window = qobject_cast<Window*>(dialog);
    if (!window)
        stop(QStringLiteral("a step for another window"));
    return *window;
}

struct Player {
    Contas& window;
    AppState& state;
    YesDesktop& desktop;
    std::function<void()> arm; // run at the step "arm", where the decisive part starts

    void play(const QString& steps, QWidget* dialog = nullptr)
    {
        QStringList list = steps.split(u';');
        for (QString& step : list)
            step = step.trimmed();
        play(list, dialog);
    }

    // Each step is a verb and its words; the steps between "modal" and "back" are played on
    // the next window the program shows modally.
    void play(QStringList steps, QWidget* dialog = nullptr)
    {
        while (!steps.isEmpty()) {
            const QString step = steps.takeFirst();
            const QString verb = step.section(u' ', 0, 0), words = step.section(u' ', 1);
            const auto n = std::size_t(words.section(u' ', 0, 0).toInt());
            const QString text = words.section(u' ', 1);
            if (verb == u"modal") {
                const qsizetype back = steps.indexOf(QStringLiteral("back"));
                desktop.setNextModal(
                    [this, inner = steps.mid(0, back)](QWidget& shown) { play(inner, &shown); });
                steps = steps.mid(back + 1);
            } else if (verb == u"arm") {
                if (arm)
                    arm();
            } else if (verb == u"wait") { // another process lets it go on at the same moment
                say(QStringLiteral("ready"));
                std::string line;
                std::getline(std::cin, line);
            } else if (verb == u"disarm") {
                state.database->statementHook = nullptr;
            } else if (verb == u"click") {
                window.tool_click(words);
            } else if (verb == u"at") {
                window.relocate(int(n), text.toInt());
                window.PreencheCampos();
            } else if (verb == u"path") { // the hierarchy page's five names
                for (std::size_t level = 0; level < 5; ++level)
                    window.Combo[level]->setText(words.section(u'|', int(level), int(level)));
            } else if (verb == u"combo") {
                window.Combo[n]->setText(text);
            } else if (verb == u"texto") {
                window.Texto[n]->setText(text);
            } else if (verb == u"node" && !dialog) {
                window.Arvore_NodeClick(window.node(words));
            } else if (verb == u"list") {
                window.Relatos->setCurrentItem(window.Relatos->findItems(words, Qt::MatchExactly).value(0));
            } else if (verb == u"escape") {
                window.Form_KeyDown(Qt::Key_Escape);
            } else if (verb == u"unload") {
                window.Form_Unload();
            } else if (verb == u"say") { // what the person sees, on standard output
                say(words + u' '
                    + (words == u"mode" ? window.Modo
                            : words == u"chart"
                            ? QString::number(chartDetails(state, desktop))
                            : window.dataSet()->value(QStringLiteral("NivelCategoria4.Nome")).toString()));
            } else if (verb == u"tell") { // the boxes shown and the sounds played
                for (const Box& box : std::as_const(desktop.boxes))
                    say(QStringLiteral("box ") + box.title + u'|' + box.prompt);
                for (const int sound : std::as_const(desktop.sounds))
                    say(QStringLiteral("sound %1").arg(sound));
            } else if (verb == u"ver") {
                window.BotaoVer_Click();
            } else if (verb == u"node") {
                as<ArvRelat>(dialog).Arvore_NodeClick(as<ArvRelat>(dialog).node(words));
            } else if (verb == u"nome") {
                as<ArvRelat>(dialog).Nome->setText(words);
            } else if (verb == u"escolha") {
                as<ArvRelat>(dialog).BotaoEscolha_Click(int(n));
            } else if (verb == u"row") { // a search row: field|criterion|contents
                auto& search = as<ProContas>(dialog);
                if (n > 0)
                    search.BotaoMais_Click(0);
                search.Campo[n]->setCurrentText(text.section(u'|', 0, 0));
                search.Criterio[n]->setCurrentText(text.section(u'|', 1, 1));
                search.Conteudo[n]->setText(text.section(u'|', 2));
            } else if (verb == u"procura") {
                as<ProContas>(dialog).BotaoProcura_Click(int(n));
            } else if (verb == u"semana") { // the week starts n days later
                QComboBox* week = as<DataPeriodo>(dialog).InicioSemana;
                week->setCurrentIndex((week->currentIndex() + int(n)) % 7);
            } else if (verb == u"retrocede") { // the other kind of period
                auto& period = as<DataPeriodo>(dialog);
                period.OpcaoRetrocede_Click(period.OpcaoRetrocede[0]->isChecked() ? 1 : 0);
            } else if (verb == u"botao") {
                as<DataPeriodo>(dialog).Botao_Click(int(n));
            } else {
                stop(QStringLiteral("no such step: ") + step);
            }
        }
    }
};

} // namespace varemo::test
