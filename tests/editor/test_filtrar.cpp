// The search command: the search window, then the found-records report over its hits.
#include "contasfixture.h"
#include "search/procontas.h"
#include "support/testregistry.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace varemo;
using namespace varemo::test;

class TestFiltrar : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void searchThenReport_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<int>("button");
        QTest::addColumn<QStringList>("boxes"); // title of each box shown
        QTest::addColumn<bool>("walking"); // MoveFiltro walks the hits afterwards
        QTest::newRow("two hits") << QStringLiteral("Receitas") << 2
                                  << QStringList {QStringLiteral("Registros encontrados")} << true;
        QTest::newRow("no hit") << QStringLiteral("Nada disso") << 2
                                << QStringList {QStringLiteral("Nenhum registro encontrado")} << false;
        QTest::newRow("cancelled: no report") << QStringLiteral("Receitas") << 1 << QStringList {} << false;
    }

    void searchThenReport()
    {
        QFETCH(QString, content);
        QFETCH(int, button);
        QFETCH(QStringList, boxes);
        QFETCH(bool, walking);
        LoadedContas fx;
        fx.clearCalls();
        fx.desktop.setNextModal([&](QWidget& shown) {
            auto& window = static_cast<ProContas&>(shown);
            window.Criterio[0]->setCurrentText(QStringLiteral("seja igual a"));
            window.Conteudo[0]->setText(content);
            window.BotaoProcura_Click(button);
        });
        fx.window->tool_click(QStringLiteral("ID_Filtrar"));

        QStringList titles;
        for (const Box& box : fx.desktop.boxes)
            titles << box.title;
        QCOMPARE(titles, boxes);
        QCOMPARE(fx.window->MoveFiltro[3]->isEnabled(), walking);
        if (walking)
            QVERIFY(fx.window->dataSet()->value(QStringLiteral("NivelCategoria4.Marca")).toBool());
    }
};

VAREMO_TEST(TestFiltrar);
#include "test_filtrar.moc"
