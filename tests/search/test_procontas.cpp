#include "search/procontas.h"
#include "searchfixture.h"
#include "support/testregistry.h"

#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace varemo;
using test::SearchCompany;

class TestProContas : public QObject {
    Q_OBJECT

private slots:
    void maisShowsOnlyPossibleActions_data()
    {
        QTest::addColumn<QList<int>>("clicks");
        QTest::addColumn<int>("lastShown");
        QTest::addColumn<bool>("moreOffered");
        QTest::addColumn<bool>("lessOffered");
        QTest::newRow("ao abrir") << QList<int> {} << 0 << true << false;
        QTest::newRow("menos com uma linha") << QList<int> {1} << 0 << true << false;
        QTest::newRow("duas linhas") << QList<int> {0} << 1 << true << true;
        QTest::newRow("cinco linhas") << QList<int> {0, 0, 0, 0} << 4 << false << true;
        QTest::newRow("mais além de cinco") << QList<int> {0, 0, 0, 0, 0} << 4 << false << true;
        QTest::newRow("sobe e desce") << QList<int> {0, 0, 0, 0, 1, 1, 0} << 3 << true << true;
    }

    void maisShowsOnlyPossibleActions()
    {
        QFETCH(QList<int>, clicks);
        QFETCH(int, lastShown);
        QFETCH(bool, moreOffered);
        QFETCH(bool, lessOffered);
        SearchCompany fixture;
        ProContas window(fixture.state, fixture.desktop);
        for (const int index : clicks)
            window.BotaoMais_Click(index);
        QCOMPARE(window.lastShownRow(), lastShown);
        for (int row = 0; row < ProContas::Rows; ++row) {
            QCOMPARE(window.rowShown(row), row <= lastShown);
            QCOMPARE(window.Conteudo[std::size_t(row)]->isHidden(), row > lastShown);
            if (row > 0)
                QCOMPARE(window.Chave[std::size_t(row)]->isHidden(), row > lastShown);
        }
        QCOMPARE(!window.BotaoMais[0]->isHidden(), moreOffered);
        QCOMPARE(!window.BotaoMais[1]->isHidden(), lessOffered);
        QCOMPARE(fixture.desktop.sounds, QList<int>(clicks.size(), ProContas::ClickSound));
    }

    void buttons_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("result");
        QTest::addColumn<QList<int>>("help");
        QTest::addColumn<bool>("closed");
        QTest::newRow("ajuda") << 0 << -1 << QList<int> {25000} << false;
        QTest::newRow("cancelar") << 1 << -1 << QList<int> {} << true;
        QTest::newRow("procurar") << 2 << 2 << QList<int> {} << true;
    }

    void buttons()
    {
        QFETCH(int, index);
        QFETCH(int, result);
        QFETCH(QList<int>, help);
        QFETCH(bool, closed);
        SearchCompany fixture;
        fixture.desktop.setNextModal([index, closed](QWidget& shown) {
            auto& window = static_cast<ProContas&>(shown);
            window.BotaoMais_Click(0);
            window.Conteudo[0]->setText(QStringLiteral("Receitas"));
            window.Criterio[0]->setCurrentText(QStringLiteral("seja igual a"));
            window.Chave_Click(1);
            window.Campo[1]->setCurrentText(QStringLiteral("Conta"));
            window.Conteudo[1]->setText(QStringLiteral("Pães"));
            window.Chave_Click(1); // back to "e o": Receitas and Pães
            window.BotaoProcura_Click(index);
            QCOMPARE(window.result(), closed ? int(index == 2 ? QDialog::Accepted : QDialog::Rejected) : 0);
        });
        ProContas window(fixture.state, fixture.desktop);
        fixture.desktop.showModal(window);
        QCOMPARE(fixture.state.searchResult, result);
        QCOMPARE(fixture.desktop.helpContexts, help);
        QCOMPARE(fixture.desktop.sounds.count(ProContas::ClickSound), 4);
        QCOMPARE(fixture.desktop.sounds.last(), ProContas::ClickSound);
        QCOMPARE(fixture.marked().size(), qsizetype(index == 2 ? 2 : 0));
    }

    void hiddenRowSearchesNothing()
    {
        SearchCompany fixture;
        ProContas window(fixture.state, fixture.desktop);
        window.Conteudo[0]->setText(QStringLiteral("CDB"));
        window.BotaoMais_Click(0);
        window.Chave_Click(1);
        window.Conteudo[1]->setText(QStringLiteral("Pão"));
        window.BotaoMais_Click(1);
        window.BotaoProcura_Click(2);
        QCOMPARE(fixture.state.searchResult, 1);
    }

    void apostropheGoesToLogAndWindowStays()
    {
        SearchCompany fixture;
        ProContas window(fixture.state, fixture.desktop);
        window.Conteudo[0]->setText(QStringLiteral("pão"));
        window.BotaoMais_Click(0);
        window.Conteudo[1]->setText(QStringLiteral("d'agua"));
        window.BotaoProcura_Click(2);
        QCOMPARE(fixture.state.searchResult, -1);
        QVERIFY(fixture.marked().isEmpty());
        QFile log(fixture.company.errorLogPath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("Rotina: Procura\r\n"));
        QCOMPARE(fixture.desktop.boxes.size(), 1);
        // The person corrects the content and searches again in the same window.
        window.Conteudo[1]->setText(QStringLiteral("francês"));
        window.BotaoProcura_Click(2);
        QCOMPARE(fixture.state.searchResult, 2);
    }

    void comingUpAgainClearsThePreviousHits()
    {
        SearchCompany fixture;
        ProContas window(fixture.state, fixture.desktop);
        window.Conteudo[0]->setText(QStringLiteral("CDB"));
        window.BotaoProcura_Click(2);
        QCOMPARE(fixture.marked().size(), 1);
        window.show();
        QCOMPARE(fixture.state.searchResult, -1);
        QVERIFY(fixture.marked().isEmpty());
        QTest::keyClick(&window, Qt::Key_F1);
        QCOMPARE(fixture.desktop.helpContexts, QList<int> {25000});
        QTest::keyClick(&window, Qt::Key_Escape);
        QVERIFY(window.isHidden());
        QCOMPARE(fixture.state.searchResult, -1);
    }
};

VAREMO_TEST(TestProContas);
#include "test_procontas.moc"
