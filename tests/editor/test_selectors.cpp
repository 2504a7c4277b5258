#include "contasfixture.h"
#include "support/testregistry.h"

using varemo::test::LoadedContas;

class TestSelectors : public QObject {
    Q_OBJECT

private slots:
    void choiceCascades_data()
    {
        QTest::addColumn<bool>("inserting");
        QTest::addColumn<QString>("path"); // chosen from the top, one selector after another
        QTest::addColumn<QString>("below"); // each selector under the last choice, "text:list"
        QTest::addColumn<bool>("lines");
        QTest::addColumn<QString>("box"); // in the prompt of the one box shown
        const auto row = [](const char* tag, const char* path, const char* below, bool lines = false,
                             const char* box = "", bool inserting = true) {
            QTest::newRow(tag) << inserting << path << below << lines << box;
        };
        const char* noProducts = "Não existem Produtos ou Linha de produto errada!";
        row("category", "Despesas", ":Despesas Administrativas,Despesas Fornecedores/:/:/:");
        row("ordinary group", "Despesas/Despesas Administrativas/Ocupação",
            ":Aluguel e condomínio,Energia/:");
        row("goods group: lines of goods", "Despesas/Despesas Fornecedores/Fornecedores Produtos",
            ":Pães,Sorvetes/:", true);
        row("supply group: supply lines", "Despesas/Despesas Fornecedores/Fornecedores Insumos",
            ":Farinhas/:", true);
        row("sector spelt otherwise is ordinary", "Despesas/despesas fornecedores/Fornecedores Produtos",
            ":Pães/:");
        row("sales group is ordinary", "Receitas/Receitas Clientes/Vendas Produtos", ":Pães/:");
        row("line: its products", "Despesas/Despesas Fornecedores/Fornecedores Produtos/Pães",
            ":Baguete,Pão francês", true);
        row("line without products", "Despesas/Despesas Fornecedores/Fornecedores Produtos/Sorvetes", ":",
            true, noProducts);
        row("supply line under the goods group",
            "Despesas/Despesas Fornecedores/Fornecedores Produtos/Farinhas", ":", true, noProducts);
        // A name is looked for in the whole table: the first "Pães" is of "Vendas Produtos".
        row("repeated name takes the first row", "Despesas/Despesas Administrativas/Ocupação/Pães",
            ":Baguete,Pão francês");
        row("unknown name: children of code 0", "Nada", ":/:/:/:", false, "CodigoProcurado não encontrado");
        // An apostrophe breaks the name's criteria: the failure goes to the log.
        row("apostrophe", "D'água", ":/:/:/:", false, "Rotina em que houve o erro: Preenchendo Seletor");
        row("browsing changes nothing", "Despesas",
            "x:/Ocupação:/Aluguel e condomínio:/Aluguel da loja:", false, "", false);
    }
    void choiceCascades()
    {
        QFETCH(bool, inserting);
        QFETCH(QString, path);
        QFETCH(QString, below);
        QFETCH(bool, lines);
        QFETCH(QString, box);
        LoadedContas fx;
        fx.clearCalls();
        fx.window->EmInclusao = inserting;
        fx.window->CodigoProcurado = 0;
        const QStringList names = path.split(u'/');
        for (int level = 0; level < names.size(); ++level) {
            fx.window->Combo[std::size_t(level)]->setText(names.at(level));
            fx.window->Combo[std::size_t(level + 1)]->setText(QStringLiteral("x"));
            fx.window->Combo_Click(level);
        }
        // Everything below the last choice is emptied and only the next list filled; a line
        // without products is not kept either.
        QStringList seen;
        for (auto level = std::size_t(names.size()); level < 5; ++level)
            seen << fx.window->Combo[level]->text() + u':' + fx.window->Combo[level]->names().join(u',');
        QCOMPARE(seen.join(u'/'), below);
        QCOMPARE(fx.window->Combo[std::size_t(names.size() - 1)]->text(),
            box.isEmpty() || names.size() < 4 ? names.last() : QString());
        QCOMPARE(fx.window->ModoLinhas, lines);
        QCOMPARE(fx.desktop.boxes.size(), box.isEmpty() ? 0 : 1);
        QVERIFY(box.isEmpty() || fx.desktop.boxes[0].prompt.contains(box));
    }

    // The list under a name follows that name; an unknown name keeps the list as it was.
    void listFollowsTheNameAbove_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("names");
        QTest::addColumn<QString>("message");
        const auto row
            = [](const char* tag, int level, const char* parent, const char* names, const char* message) {
                  QTest::newRow(tag) << level << QString::fromUtf8(parent) << QString::fromUtf8(names)
                                     << QString::fromUtf8(message);
              };
        row("sectors, blanks around the name", 1, " Despesas ",
            "Despesas Administrativas,Despesas Fornecedores", "");
        row("groups", 2, "Despesas Administrativas", "Ocupação", "");
        row("unknown category", 1, "Nada", "antes", "Categoria não encontrada");
        row("unknown sector", 2, "Nada", "antes", "Depto. não encontrado");
        row("unknown account", 4, "Nada", "antes", "Conta não encontrada");
    }
    void listFollowsTheNameAbove()
    {
        QFETCH(int, level);
        QFETCH(QString, parent);
        QFETCH(QString, names);
        QFETCH(QString, message);
        LoadedContas fx;
        fx.clearCalls();
        const auto at = std::size_t(level);
        fx.window->Combo[at]->fill({QStringLiteral("antes")});
        fx.window->Combo[at - 1]->setText(parent);
        fx.window->PreencherCombo(level);
        QCOMPARE(fx.window->Combo[at]->names().join(u','), names);
        QCOMPARE(fx.desktop.calls.join(u' '),
            message.isEmpty() ? message
                              : QStringLiteral("box %1||%2").arg(message).arg(varemo::vb::Information));
    }
};

VAREMO_TEST(TestSelectors);
#include "test_selectors.moc"
