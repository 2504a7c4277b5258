#include "app/modules.h"
#include "contasfixture.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QAction>
#include <QMenu>
#include <QTest>

using varemo::Contas;
using varemo::StatusBar;
using varemo::test::LoadedContas;

namespace {

const QStringList RecordKeys
    = {QStringLiteral("ID_Incluir"), QStringLiteral("ID_Alterar"), QStringLiteral("ID_Excluir")};

QList<QAction*> actionsNamed(const Contas& window, const QString& key)
{
    QList<QAction*> found;
    for (QAction* act : window.findChildren<QAction*>()) {
        if (act->objectName() == key)
            found << act;
    }
    return found;
}

QStringList panels(const Contas& window)
{
    QStringList texts;
    for (int i = 0; i < StatusBar::PanelCount; ++i)
        texts << window.Status->panelText(i);
    return texts;
}

} // namespace

class TestShellCommands : public QObject {
    Q_OBJECT

private slots:
    void everyKeyIsOneActionWithItsTooltips_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("record");
        QTest::addColumn<QString>("report");
        const auto row = [](const char16_t* key, const char16_t* record, const char16_t* report = u"") {
            const QString recordText = QString::fromUtf16(record);
            const QString reportText = *report ? QString::fromUtf16(report) : recordText;
            QTest::newRow(QString::fromUtf16(key).toUtf8().constData())
                << QString::fromUtf16(key) << recordText << reportText;
        };
        row(u"ID_Incluir", u"Incluir novo registro", u"Incluir novo relatório");
        row(u"ID_Alterar", u"Alterar o registro corrente", u"Editar o relatório selecionado");
        row(u"ID_Excluir", u"Excluir o registro corrente", u"Excluir o relatório selecionado");
        row(u"ID_Filtrar", u"Localizar registro(s)");
        row(u"ID_Gravar", u"Gravar dados do registro");
        row(u"ID_Cancelar", u"Cancelar dados inseridos");
        row(u"ID_Setor", u"Visualiza todos os setores cadastrados");
        row(u"ID_Grupo", u"Visualiza todos os grupos cadastrados");
        row(u"ID_Conta", u"Visualiza todas as contas cadastrados");
        row(u"ID_Item", u"Visualiza e edita todos os itens cadastrados");
        row(u"ID_Relatorios", u"Para visualizar, inserir, editar e visualizar relatórios");
        row(u"ID_PlanoContas", u"Mostra/Imprime o plano de contas financeiro");
        row(u"ID_SobreoPrograma", u"Fornece dados sobre o programa");
        row(u"ID_Checarnova", u"Como checar se existe nova versão do módulo");
        row(u"ID_Novaversão", u"Como checar se existe nova versão do módulo");
        row(u"ID_EnviarMail", u"Para enviar um comentário, sugestão, critíca");
        row(u"ID_AjudadoPrograma", u"Fornece ajuda do programa");
        row(u"ID_Oqueéisto?", u"Ajuda local");
        row(u"ID_Oqueé", u"Ajuda local");
        row(u"ID_ConteúdoeÍndice", u"Ajuda - Conteúdo e Índice");
        row(u"ID_LocalizarnaAjuda", u"Localizar na ajuda");
        row(u"ID_Sair", u"Sair do programa");
        for (const varemo::SiblingModule& module : varemo::siblingModules()) {
            const QString key = QStringLiteral("ID_Modulo%1").arg(module.number);
            const QString text = QStringLiteral("Encerrar este módulo e iniciar o ") + module.displayName;
            QTest::newRow(key.toUtf8().constData()) << key << text << text;
        }
    }
    void everyKeyIsOneActionWithItsTooltips()
    {
        QFETCH(QString, key);
        QFETCH(QString, record);
        QFETCH(QString, report);
        LoadedContas fx;
        QCOMPARE(actionsNamed(*fx.window, key).size(), 1);
        QCOMPARE(fx.window->tooltip_for(key), record);
        QCOMPARE(fx.window->Status->panelText(StatusBar::Message), record);

        fx.window->tool_click(QStringLiteral("ID_Relatorios"));
        QVERIFY(fx.window->reportsVisible());
        fx.clearCalls();
        actionsNamed(*fx.window, key)[0]->hover();
        QCOMPARE(fx.desktop.sounds, QList<int> {6});
        QCOMPARE(actionsNamed(*fx.window, key)[0]->toolTip(), report);
        QCOMPARE(fx.window->tooltip_for(key), report);
        QCOMPARE(fx.window->Status->panelText(StatusBar::Message), report);

        fx.window->hideReportList();
        QCOMPARE(fx.window->tooltip_for(key), record);
    }

    void ownModuleIsTheOnlyDisabledEntry()
    {
        LoadedContas fx;
        for (int number = 1; number <= 10; ++number) {
            QAction* act = fx.window->action(QStringLiteral("ID_Modulo%1").arg(number));
            QCOMPARE(act->isEnabled(), number != 2);
        }
        fx.clearCalls();
        fx.window->action(QStringLiteral("ID_Modulo2"))->trigger();
        fx.window->tool_click(QStringLiteral("ID_Modulo2"));
        QVERIFY(fx.desktop.modulesStarted.isEmpty());
        QVERIFY(fx.state.database);
    }

    void unknownKeyDoesNothing_data()
    {
        QTest::addColumn<QString>("key");
        QTest::newRow("no such key") << QStringLiteral("ID_Nada");
        QTest::newRow("empty") << QString();
        QTest::newRow("menu group") << QStringLiteral("ID_Editar");
        QTest::newRow("module 0") << QStringLiteral("ID_Modulo0");
        QTest::newRow("module 11") << QStringLiteral("ID_Modulo11");
        QTest::newRow("module 03") << QStringLiteral("ID_Modulo03");
        QTest::newRow("other case") << QStringLiteral("id_incluir");
    }
    void unknownKeyDoesNothing()
    {
        QFETCH(QString, key);
        LoadedContas fx;
        fx.window->Status->setPanel(StatusBar::Message, QStringLiteral("texto anterior"));
        const QStringList before = panels(*fx.window);
        fx.clearCalls();
        QCOMPARE(fx.window->tooltip_for(key), QString());
        fx.window->tool_click(key);
        QCOMPARE(panels(*fx.window), before);
        QVERIFY(fx.desktop.boxes.isEmpty());
        QVERIFY(fx.desktop.helpContexts.isEmpty());
        QVERIFY(fx.desktop.modulesStarted.isEmpty());
        QCOMPARE(fx.state.moduleToStart, 0);
        QVERIFY(fx.state.database);
    }

    // What each command asks of the desktop, after the click sound every command plays.
    void commandsReachTheDesktop_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("calls");
        QTest::newRow("program help") << QStringLiteral("ID_AjudadoPrograma") << "help 0 sound 7";
        QTest::newRow("contents") << QStringLiteral("ID_ConteúdoeÍndice") << "help 0 sound 7";
        QTest::newRow("search") << QStringLiteral("ID_LocalizarnaAjuda") << "help 900 sound 7";
        QTest::newRow("check new") << QStringLiteral("ID_Checarnova") << "help 30010 sound 7";
        QTest::newRow("new version") << QStringLiteral("ID_Novaversão") << "help 30010 sound 7";
        QTest::newRow("local, nothing focused") << QStringLiteral("ID_Oqueé") << "help 0 sound 7";
        QTest::newRow("about box") << QStringLiteral("ID_SobreoPrograma") << "modal Sobre sound 7";
        QTest::newRow("mail") << QStringLiteral("ID_EnviarMail") << "mail 1 sound 7";
    }
    void commandsReachTheDesktop()
    {
        QFETCH(QString, key);
        QFETCH(QString, calls);
        LoadedContas fx;
        fx.clearCalls();
        fx.window->action(key)->trigger();
        QStringList seen;
        for (int context : fx.desktop.helpContexts)
            seen << QStringLiteral("help %1").arg(context);
        for (const QString& name : fx.desktop.modalWindows)
            seen << QStringLiteral("modal ") + name;
        if (fx.desktop.mailsSent)
            seen << QStringLiteral("mail %1").arg(fx.desktop.mailsSent);
        for (int sound : fx.desktop.sounds)
            seen << QStringLiteral("sound %1").arg(sound);
        QCOMPARE(seen.join(QLatin1Char(' ')), calls);
    }

    void localHelpFollowsTheFocusedControl_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<int>("context");
        QTest::newRow("tree") << QStringLiteral("Arvore") << 1010;
        QTest::newRow("selector") << QStringLiteral("Combo2") << 1020;
        QTest::newRow("navigator") << QStringLiteral("Movimento4") << 1040;
    }
    void localHelpFollowsTheFocusedControl()
    {
        QFETCH(QString, control);
        QFETCH(int, context);
        LoadedContas fx;
        fx.window->show();
        QVERIFY(QTest::qWaitForWindowExposed(fx.window.get()));
        auto* widget = fx.window->findChild<QWidget*>(control);
        QVERIFY(widget);
        widget->setFocus();
        fx.clearCalls();
        QVERIFY(fx.window->Form_KeyDown(Qt::Key_F1));
        fx.window->tool_click(QStringLiteral("ID_Oqueéisto?"));
        QCOMPARE(fx.desktop.helpContexts, (QList<int> {context, context}));
    }

    // Sair (0 here) unloads like a module choice but starts nothing.
    void leavingUnloadsThenStartsTheChoice_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("Sair") << 0;
        QTest::newRow("first module") << 1;
        QTest::newRow("third module") << 3;
        QTest::newRow("last module") << 10;
    }
    void leavingUnloadsThenStartsTheChoice()
    {
        QFETCH(int, number);
        LoadedContas fx;
        fx.window->show();
        fx.clearCalls();
        fx.window->action(number ? QStringLiteral("ID_Modulo%1").arg(number) : QStringLiteral("ID_Sair"))
            ->trigger();
        QCOMPARE(fx.desktop.modulesStarted, number ? QList<int> {number} : QList<int> {});
        QCOMPARE(fx.desktop.databaseOpenAtStart, number ? QList<bool> {false} : QList<bool> {});
        QCOMPARE(fx.desktop.placementsSaved, QStringList {QStringLiteral("Plano de Contas")});
        QCOMPARE(fx.state.moduleToStart, 0);
        QVERIFY(!fx.state.database);
        QVERIFY(fx.window->isHidden());
        QVERIFY(!fx.window->Nivel[0]);
    }

    void unloadRunsOnce()
    {
        LoadedContas fx;
        fx.window->show();
        fx.state.moduleToStart = 4;
        fx.clearCalls();
        fx.window->Form_Unload();
        fx.window->Form_Unload();
        fx.window->close();
        QCOMPARE(fx.desktop.modulesStarted, QList<int> {4});
        QCOMPARE(fx.desktop.placementsSaved.size(), 1);
    }

    void escapeAsksBeforeLeaving_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("closes");
        QTest::newRow("yes") << int(varemo::vb::Yes) << true;
        QTest::newRow("no") << int(varemo::vb::No) << false;
    }
    void escapeAsksBeforeLeaving()
    {
        QFETCH(int, answer);
        QFETCH(bool, closes);
        LoadedContas fx;
        fx.clearCalls();
        fx.desktop.setNextAnswer(answer);
        QTest::keyClick(fx.window.get(), Qt::Key_Escape);
        QCOMPARE(fx.desktop.boxes.size(), 1);
        QCOMPARE(fx.desktop.boxes[0].prompt, QStringLiteral("Quer sair do programa?"));
        QCOMPARE(fx.desktop.boxes[0].title, QStringLiteral("Finalizando"));
        QCOMPARE(fx.desktop.boxes[0].buttons,
            varemo::vb::YesNo + varemo::vb::Question + varemo::vb::DefaultButton2);
        QCOMPARE(!fx.state.database, closes);
    }

    void menuBotaoFollowsTheMode_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<bool>("groups");
        QTest::newRow("Visualizar") << QStringLiteral("Visualizar") << true;
        QTest::newRow("Inserir") << QStringLiteral("Inserir") << false;
        QTest::newRow("Alterar") << QStringLiteral("Alterar") << false;
    }
    void menuBotaoFollowsTheMode()
    {
        QFETCH(QString, mode);
        QFETCH(bool, groups);
        LoadedContas fx;
        fx.window->MenuBotao(QStringLiteral("Alterar"));
        fx.window->MenuBotao(mode);
        for (const QString& group : {QStringLiteral("ID_Editar"), QStringLiteral("ID_Relatórios")}) {
            QMenu* holder = fx.window->menu(group);
            QCOMPARE(holder->menuAction()->objectName(), group);
            QCOMPARE(holder->menuAction()->isEnabled(), groups);
            for (QAction* member : holder->actions())
                QVERIFY2(
                    member->isSeparator() || member->isEnabled() == groups, qPrintable(member->objectName()));
        }
        QCOMPARE(fx.window->action(QStringLiteral("ID_Gravar"))->isEnabled(), !groups);
        QCOMPARE(fx.window->action(QStringLiteral("ID_Cancelar"))->isEnabled(), !groups);
        QCOMPARE(fx.window->Status->panelText(StatusBar::Mode), mode);
        // Every record command lives in the record group, so switching it off takes them all.
        for (const QString& key : RecordKeys)
            QVERIFY(fx.window->menu(QStringLiteral("ID_Editar"))->actions().contains(fx.window->action(key)));
    }

    // An archive company keeps the record tools off whatever command ran last.
    void archiveKeepsRecordToolsOff_data()
    {
        QTest::addColumn<bool>("archive");
        QTest::addColumn<QString>("key");
        QTest::newRow("ordinary company") << false << QStringLiteral("ID_Setor");
        QTest::newRow("view") << true << QStringLiteral("ID_Setor");
        QTest::newRow("reports") << true << QStringLiteral("ID_Relatorios");
        QTest::newRow("mail") << true << QStringLiteral("ID_EnviarMail");
        QTest::newRow("cancel") << true << QStringLiteral("ID_Cancelar");
        QTest::newRow("unknown") << true << QStringLiteral("ID_Nada");
    }
    void archiveKeepsRecordToolsOff()
    {
        QFETCH(bool, archive);
        QFETCH(QString, key);
        LoadedContas fx({QStringLiteral("UPDATE DadosEmpresa SET Morto = %1").arg(int(archive))});
        QVERIFY(fx.loaded);
        QVERIFY(fx.state.mainWindowReady);
        QCOMPARE(fx.state.archiveMode, archive);
        QCOMPARE(fx.window->windowTitle(),
            QStringLiteral("Plano de Contas - Padaria Teste Ltda")
                + (archive ? QStringLiteral("   [Arq. Mortos Carregados]") : QString()));
        QCOMPARE(fx.window->Status->panelText(StatusBar::User), QStringLiteral("Usuário: "));
        fx.window->tool_click(key);
        fx.window->MenuBotao(QStringLiteral("Visualizar"));
        for (const QString& record : RecordKeys)
            QVERIFY2(fx.window->action(record)->isEnabled() != archive, qPrintable(record));
        QVERIFY(fx.window->action(QStringLiteral("ID_Filtrar"))->isEnabled());
    }
};

VAREMO_TEST(TestShellCommands);
#include "test_shell_commands.moc"
