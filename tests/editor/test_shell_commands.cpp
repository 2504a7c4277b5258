#include "app/modules.h"
#include "contasfixture.h"
#include "support/testregistry.h"

#include <QAction>
#include <QMenu>

using varemo::StatusBar;
using varemo::test::LoadedContas;

class TestShellCommands : public QObject {
    Q_OBJECT

private slots:
    // Each key is one action; its tooltip and message follow whether the report list is up, and
    // keys that share a command share its text.
    void everyKeyIsOneActionWithItsTooltips_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("record");
        QTest::addColumn<QString>("report");
        const auto row = [](const char16_t* key, const char16_t* record, const char16_t* report = u"") {
            const QString recordText = QString::fromUtf16(record);
            QTest::newRow(QString::fromUtf16(key).toUtf8().constData()) << QString::fromUtf16(
                key) << recordText << (*report ? QString::fromUtf16(report) : recordText);
        };
        row(u"ID_Incluir", u"Incluir novo registro", u"Incluir novo relatório");
        row(u"ID_Alterar", u"Alterar o registro corrente", u"Editar o relatório selecionado");
        row(u"ID_Excluir", u"Excluir o registro corrente", u"Excluir o relatório selecionado");
        row(u"ID_Filtrar", u"Localizar registro(s)");
        row(u"ID_Checarnova", u"Como checar se existe nova versão do módulo");
        row(u"ID_Novaversão", u"Como checar se existe nova versão do módulo");
        row(u"ID_Oqueéisto?", u"Ajuda local");
        row(u"ID_Oqueé", u"Ajuda local");
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
        QCOMPARE(fx.window->findChildren<QAction*>(key).size(), 1);
        const QString tip = fx.window->tooltip_for(key); // and the message it leaves
        QCOMPARE(tip + fx.window->Status->panelText(StatusBar::Message), record + record);
        fx.play(QStringLiteral("ID_Relatorios"));
        fx.clearCalls();
        fx.window->action(key)->hover();
        QCOMPARE(fx.desktop.sounds, QList<int> {6});
        QCOMPARE(fx.window->action(key)->toolTip() + fx.window->Status->panelText(StatusBar::Message),
            report + report);
        fx.window->hideReportList();
        QCOMPARE(fx.window->tooltip_for(key), record);
    }

    // What a command asks of the desktop ("control:key" with that control focused): every one
    // plays the click; leaving saves the placement and closes the company file before the
    // chosen module starts.
    void commandsReachTheDesktop_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("calls");
        const QString leave = QStringLiteral("sound 7 placement Plano de Contas");
        const auto row = [](const char* key, const QString& calls) { QTest::newRow(key) << key << calls; };
        row("ID_AjudadoPrograma", "sound 7 help 0");
        row("ID_ConteúdoeÍndice", "sound 7 help 0");
        row("ID_LocalizarnaAjuda", "sound 7 help 900");
        row("ID_Checarnova", "sound 7 help 30010");
        row("ID_Novaversão", "sound 7 help 30010");
        row("ID_Oqueé", "sound 7 help 0"); // nothing focused
        // Local help follows the focused control, by the key or the tool.
        row("Arvore:F1", "help 1010");
        row("Arvore:ID_Oqueéisto?", "sound 7 help 1010");
        row("Combo2:ID_Oqueéisto?", "sound 7 help 1020");
        row("Movimento4:F1", "help 1040");
        row("ID_SobreoPrograma", "sound 7 modal Sobre");
        row("ID_EnviarMail", "sound 7 mail");
        row("ID_Sair", leave + " | closed");
        row("ID_Modulo1", leave + " start 1 closed | closed");
        row("ID_Modulo2", ""); // this module
        row("ID_Modulo10", leave + " start 10 closed | closed");
        // Escape asks first; answered Yes it leaves as Sair does, without the click.
        row("Escape", "box Quer sair do programa?|Finalizando|292 placement Plano de Contas | closed");
        for (const char* nothing : {"ID_Nada", "ID_Editar", "ID_Modulo11", "ID_Modulo03", "id_incluir"})
            row(nothing, "");
    }
    void commandsReachTheDesktop()
    {
        QFETCH(QString, key);
        QFETCH(QString, calls);
        LoadedContas fx;
        fx.window->show();
        if (const QString focus = key.section(u':', 0, -2); !focus.isEmpty()) {
            QVERIFY(QTest::qWaitForWindowExposed(fx.window.get()));
            fx.window->findChild<QWidget*>(focus)->setFocus();
            key = key.section(u':', -1);
        }
        fx.clearCalls();
        fx.desktop.setNextAnswer(varemo::vb::Yes);
        if (key == QStringLiteral("F1"))
            QVERIFY(fx.window->Form_KeyDown(Qt::Key_F1));
        else if (key == QStringLiteral("Escape"))
            QTest::keyClick(fx.window.get(), Qt::Key_Escape);
        else if (QAction* act = fx.window->action(key))
            act->trigger();
        else
            fx.window->tool_click(key);
        QCOMPARE(fx.desktop.calls.join(u' ') + (fx.state.database ? "" : " | closed"), calls);
        QCOMPARE(fx.window->isHidden(), calls.endsWith(QLatin1String("closed")));
    }
};

VAREMO_TEST(TestShellCommands);
#include "test_shell_commands.moc"
