#include "search/marking.h"
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

namespace {

// "Campo|Criterio|Conteudo|Chave" per row, rows joined by ";"; missing rows stay empty.
search::Rows rowsOf(const QString& text)
{
    search::Rows rows;
    rows.fill({search::QualquerCampo, QStringLiteral("contenha"), QString(), search::EO});
    const QStringList given = text.split(QLatin1Char(';'));
    for (qsizetype i = 0; i < given.size(); ++i) {
        const QStringList cells = given[i].split(QLatin1Char('|'));
        rows[std::size_t(i)] = {cells.value(0), cells.value(1), cells.value(2), cells.value(3, search::EO)};
    }
    return rows;
}

} // namespace

// The search: the items each one marks, and the window that asks for it.
class TestProContas : public QObject {
    Q_OBJECT

private slots:
    // The items each search marks; the row-by-row markers leave the very same scratch table. On
    // the demo company ("?": not pinned), items whose chain breaks compare Null above the break.
    void marksItems_data()
    {
        QTest::addColumn<QString>("rows");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* rows, const char* hits) {
            QTest::newRow(name) << QString::fromUtf8(rows) << QString::fromUtf8(hits);
        };
        row("categoria contenha", "Categoria|contenha|desp", "4 5 6 7 8");
        row("setor não contenha", "Setor|não contenha|receitas", "4 5 6 7 8");
        row("setor maior exclui o igual", "Setor|seja maior que|Despesas Fornecedores", "1 2 3 9");
        row("grupo igual com acento", "Grupo|seja igual a|OCUPAÇÃO", "6 7 8");
        row("grupo menor", "Grupo|seja menor que|G", "4 5");
        row("conta contenha acento maiúsculo", "Conta|contenha|ÃES", "1 2 4");
        row("item curinga", "Item|contenha|P?o", "1 4");
        row("item maior compara texto", "Item|seja maior que|Conta", "1 3 4 5 8");
        row("qualquer campo", "Qualquer campo|contenha|fornec", "4 5");
        row("qualquer campo não contenha", "Qualquer campo|não contenha|a", "1 2 4 5 7 9");
        row("qualquer campo marca uma vez", "Qualquer campo|contenha|pão", "1 4");
        // AND binds first whichever side it is on: never (A OR B) AND C.
        row("e antes de ou",
            "Categoria|seja igual a|Receitas;Conta|seja igual a|Pães|e o;Conta|seja igual a|Energia|ou",
            "1 2 8");
        row("ou antes de e",
            "Conta|seja igual a|Energia;Categoria|seja igual a|Receitas|ou;Conta|seja igual a|Pães|e o",
            "1 2 8");
        row("linha vazia no meio",
            "Categoria|seja igual a|Despesas;Item|contenha|   |ou;Grupo|contenha|ocupa|e o", "6 7 8");
        // The link beside the first filled row is the one that joins the second to it.
        row("primeira linha vazia",
            "Item|contenha|;Categoria|seja igual a|Despesas|ou;Grupo|contenha|ocupa|e o", "4 5 6 7 8");
        row("todas vazias", "Item|contenha| ", "");
        row("demo: não contenha em cada nível", "Qualquer campo|não contenha|a", "?");
        row("demo: cinco critérios",
            "Categoria|seja maior que|D;Setor|contenha|e|e o;Item|seja menor que|M|ou;"
            "Conta|não contenha|o|e o;Grupo|seja igual a|Ocupação|ou",
            "?");
        row("demo: apóstrofo dobrado", "Item|contenha|p;Item|contenha|d''agua|ou", "?");
    }
    void marksItems()
    {
        QFETCH(QString, rows);
        QFETCH(QString, expected);
        const bool demo = expected == u"?";
        OpenCompany fixture(demo
                ? QStringList {QStringLiteral("INSERT INTO NivelCategoria3 (Codigo, Nome, "
                                              "CodigoCategoria2) VALUES (300, 'Sem pai', 999)"),
                    QStringLiteral("INSERT INTO NivelCategoria4 (Codigo, Nome, "
                                   "CodigoCategoria3, Marca) VALUES (3000, 'Solto', 999, 1), "
                                   "(3001, 'Órfão', 300, 0)")}
                : QStringList(),
            demo ? test::TestCompany::Seed::Demo : test::TestCompany::Seed::Small);
        search::Prepared prepared = search::prepare(fixture.state);
        const int hits = search::runSearch(fixture.state, rowsOf(rows), prepared.procura.get());
        QCOMPARE(fixture.state.searchResult, hits);
        if (demo) {
            QVERIFY(hits > 0);
        } else {
            QCOMPARE(fixture.marked(), expected);
            QCOMPARE(hits, int(expected.split(QLatin1Char(' '), Qt::SkipEmptyParts).size()));
        }
        const QString fast = fixture.snapshot();
        prepared = search::prepare(fixture.state);
        QCOMPARE(
            search::runSearch(fixture.state, rowsOf(rows), prepared.procura.get(), search::Marking::RowByRow),
            hits);
        QCOMPARE(fixture.snapshot(), fast);
    }

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
        const QString prepared = fixture.snapshot();
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
