#include "contasfixture.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QTest>

using varemo::test::LoadedContas;

namespace {

QString state(const varemo::Contas& window)
{
    QStringList out;
    for (const varemo::Selector* combo : window.Combo)
        out << combo->text() + QLatin1Char(':') + combo->names().join(QLatin1Char(','));
    return out.join(QLatin1Char('/'));
}

} // namespace

class TestSelectors : public QObject {
    Q_OBJECT

private slots:
    void choiceCascades_data()
    {
        QTest::addColumn<QString>("path"); // chosen from the top, one selector after another
        QTest::addColumn<QString>("below"); // the list under the last choice
        QTest::addColumn<bool>("lines");
        QTest::addColumn<QString>("box");
        const auto row = [](const char* tag, const char* path, const char* below, bool lines = false,
                             const char* box = "") { QTest::newRow(tag) << path << below << lines << box; };
        const char* noProducts = "Não existem Produtos ou Linha de produto errada!";
        row("category", "Despesas", "Despesas Administrativas,Despesas Fornecedores");
        row("ordinary group", "Despesas/Despesas Administrativas/Ocupação", "Aluguel e condomínio,Energia");
        row("goods group: lines of goods", "Despesas/Despesas Fornecedores/Fornecedores Produtos",
            "Pães,Sorvetes", true);
        row("supply group: supply lines", "Despesas/Despesas Fornecedores/Fornecedores Insumos", "Farinhas",
            true);
        row("sector spelt otherwise is ordinary", "Despesas/despesas fornecedores/Fornecedores Produtos",
            "Pães");
        row("sales group is ordinary", "Receitas/Receitas Clientes/Vendas Produtos", "Pães");
        row("line: its products", "Despesas/Despesas Fornecedores/Fornecedores Produtos/Pães",
            "Baguete,Pão francês", true);
        row("line without products", "Despesas/Despesas Fornecedores/Fornecedores Produtos/Sorvetes", "",
            true, noProducts);
        row("supply line under the goods group",
            "Despesas/Despesas Fornecedores/Fornecedores Produtos/Farinhas", "", true, noProducts);
        // A name is looked for in the whole table: the first "Pães" is of "Vendas Produtos".
        row("repeated name takes the first row", "Despesas/Despesas Administrativas/Ocupação/Pães",
            "Baguete,Pão francês");
        row("unknown name: children of code 0", "Nada", "", false, "CodigoProcurado não encontrado");
    }
    void choiceCascades()
    {
        QFETCH(QString, path);
        QFETCH(QString, below);
        QFETCH(bool, lines);
        QFETCH(QString, box);
        LoadedContas fx;
        fx.clearCalls();
        fx.window->EmInclusao = true;
        fx.window->CodigoProcurado = 0;
        const QStringList names = path.split(QLatin1Char('/'));
        for (int level = 0; level < names.size(); ++level) {
            fx.window->Combo[static_cast<std::size_t>(level)]->setText(names.at(level));
            fx.window->Combo[static_cast<std::size_t>(level + 1)]->setText(QStringLiteral("x"));
            fx.window->Combo_Click(level);
        }
        // Everything below the last choice is emptied and only the next list filled; a line
        // without products is not kept either.
        const qsizetype last = names.size() - 1;
        QStringList expected {QStringLiteral(":") + below};
        while (expected.size() < 4 - last)
            expected << QStringLiteral(":");
        QCOMPARE(state(*fx.window).split(QLatin1Char('/')).mid(last + 1), expected);
        QCOMPARE(fx.window->Combo[static_cast<std::size_t>(last)]->text(),
            box.isEmpty() || last < 3 ? names.last() : QString());
        QCOMPARE(fx.window->ModoLinhas, lines);
        QCOMPARE(fx.desktop.boxes.size(), box.isEmpty() ? 0 : 1);
        if (!box.isEmpty())
            QCOMPARE(fx.desktop.boxes[0].prompt, box);
    }

    void choiceChangesNothingOrIsLogged_data()
    {
        QTest::addColumn<bool>("inserting");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("logged");
        QTest::newRow("browsing") << false << 0 << "Despesas" << false;
        QTest::newRow("item selector") << true << 4 << "Baguete" << false;
        // An apostrophe breaks the name's criteria: the failure goes to the log.
        QTest::newRow("apostrophe") << true << 0 << "D'água" << true;
    }
    void choiceChangesNothingOrIsLogged()
    {
        QFETCH(bool, inserting);
        QFETCH(int, index);
        QFETCH(QString, name);
        QFETCH(bool, logged);
        LoadedContas fx;
        fx.clearCalls();
        fx.window->EmAlteracao = inserting;
        fx.window->Combo[static_cast<std::size_t>(index)]->setText(name);
        const QString before = state(*fx.window);
        fx.window->Combo_Click(index);
        QCOMPARE(fx.desktop.boxes.size(), logged ? 1 : 0);
        if (logged) {
            QVERIFY(fx.desktop.boxes[0].prompt.contains(
                QStringLiteral("Rotina em que houve o erro: Preenchendo Seletor")));
            QCOMPARE(fx.window->Combo[1]->text(), QString());
        } else {
            QCOMPARE(state(*fx.window), before);
        }
    }
};

VAREMO_TEST(TestSelectors);
#include "test_selectors.moc"
