#include "search/procontas.h"
#include "searchfixture.h"
#include "support/testregistry.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace varemo;
using test::OpenCompany;

class TestProContas : public QObject {
    Q_OBJECT

private slots:
    void maisOffersOnlyPossibleActions_data()
    {
        QTest::addColumn<QList<int>>("clicks");
        QTest::addColumn<int>("lastShown");
        QTest::newRow("ao abrir") << QList<int> {} << 0;
        QTest::newRow("menos com uma linha") << QList<int> {1} << 0;
        QTest::newRow("duas linhas") << QList<int> {0} << 1;
        QTest::newRow("mais além de cinco") << QList<int> {0, 0, 0, 0, 0} << 4;
        QTest::newRow("sobe e desce") << QList<int> {0, 0, 0, 0, 1, 1, 0} << 3;
    }

    void maisOffersOnlyPossibleActions()
    {
        QFETCH(QList<int>, clicks);
        QFETCH(int, lastShown);
        OpenCompany fixture;
        ProContas window(fixture.state, fixture.desktop);
        for (const int index : clicks)
            window.BotaoMais_Click(index);
        QCOMPARE(window.lastShownRow(), lastShown);
        for (std::size_t row = 1; row < ProContas::Rows; ++row)
            QCOMPARE(window.Chave[row]->isHidden() + window.Conteudo[row]->isHidden(),
                int(row) > lastShown ? 2 : 0);
        QCOMPARE(window.BotaoMais[0]->isHidden(), lastShown == 4);
        QCOMPARE(window.BotaoMais[1]->isHidden(), lastShown == 0);
        QCOMPARE(fixture.desktop.sounds, QList<int>(clicks.size(), ProContas::ClickSound));
    }

    void buttons_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("result");
        QTest::addColumn<QString>("marked");
        QTest::newRow("ajuda") << 0 << -1 << QString();
        QTest::newRow("cancelar") << 1 << -1 << QString();
        // Receitas and Pães; the third row was filled, then hidden again.
        QTest::newRow("procurar") << 2 << 2 << QStringLiteral("1 2");
    }

    void buttons()
    {
        QFETCH(int, index);
        QFETCH(int, result);
        QFETCH(QString, marked);
        OpenCompany fixture;
        fixture.desktop.setNextModal([index](QWidget& shown) {
            auto& window = static_cast<ProContas&>(shown);
            window.Criterio[0]->setCurrentText(QStringLiteral("seja igual a"));
            window.Conteudo[0]->setText(QStringLiteral("Receitas"));
            window.BotaoMais_Click(0);
            window.Campo[1]->setCurrentText(QStringLiteral("Conta"));
            window.Conteudo[1]->setText(QStringLiteral("Pães"));
            window.Chave_Click(1);
            window.Chave_Click(1);
            window.BotaoMais_Click(0);
            window.Chave_Click(2);
            window.Conteudo[2]->setText(QStringLiteral("CDB"));
            window.BotaoMais_Click(1);
            window.BotaoProcura_Click(index);
        });
        ProContas window(fixture.state, fixture.desktop);
        fixture.desktop.showModal(window);
        QCOMPARE(fixture.state.searchResult, result);
        QCOMPARE(fixture.marked(), marked);
        QCOMPARE(fixture.desktop.helpContexts, index == 0 ? QList<int> {25000} : QList<int> {});
        QCOMPARE(fixture.desktop.sounds, QList<int>(7, ProContas::ClickSound));
        QCOMPARE(window.result(), index == 2 ? int(QDialog::Accepted) : int(QDialog::Rejected));
    }

    // After a failed search the person corrects the content and searches again: the scratch
    // recordset still finds the items the failed unit had edited. Coming up again clears.
    void searchAgainAndComingUpAgain()
    {
        OpenCompany fixture;
        ProContas window(fixture.state, fixture.desktop);
        const QStringList prepared = fixture.snapshot();
        window.Conteudo[0]->setText(QStringLiteral("pão"));
        window.BotaoMais_Click(0);
        window.Conteudo[1]->setText(QStringLiteral("d'agua"));
        window.BotaoProcura_Click(2);
        QCOMPARE(fixture.snapshot(), prepared); // the first criterion's marks went back too
        window.Conteudo[1]->setText(QStringLiteral("francês"));
        window.BotaoProcura_Click(2);
        QCOMPARE(fixture.state.searchResult, 2);
        window.show();
        QCOMPARE(fixture.state.searchResult, -1);
        QCOMPARE(fixture.marked(), QString());
        QTest::keyClick(&window, Qt::Key_F1);
        QCOMPARE(fixture.desktop.helpContexts, QList<int> {25000});
        QTest::keyClick(&window, Qt::Key_Escape);
        QVERIFY(window.isHidden());
        fixture.desktop.sounds.clear();
        for (QWidget* hovered : {window.Chave[1], window.BotaoMais[0], window.BotaoProcura[2]}) {
            QEvent enter(QEvent::Enter);
            QApplication::sendEvent(hovered, &enter);
        }
        QCOMPARE(fixture.desktop.sounds, (QList<int> {ProContas::HoverSound, ProContas::HoverSound}));
    }
};

VAREMO_TEST(TestProContas);
#include "test_procontas.moc"
