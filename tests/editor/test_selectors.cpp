#include "contasfixture.h"
#include "editor/selectors.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QTest>

using varemo::test::LoadedContas;

class TestSelectors : public QObject {
    Q_OBJECT

private slots:
    void choiceCascades_data()
    {
        QTest::addColumn<QStringList>("path"); // the selectors' texts, index 0 first
        QTest::addColumn<int>("index");
        QTest::addColumn<QStringList>("below"); // the list of the selector below afterwards
        QTest::addColumn<bool>("lines");
        QTest::addColumn<QString>("box");
        const auto path = [](std::initializer_list<const char16_t*> names) {
            QStringList out;
            for (const char16_t* name : names)
                out << QString::fromUtf16(name);
            return out;
        };
        QTest::newRow("category") << path({u"Despesas"}) << 0
                                  << path({u"Despesas Administrativas", u"Despesas Fornecedores"}) << false
                                  << QString();
        QTest::newRow("sector") << path({u"Despesas", u"Despesas Administrativas"}) << 1
                                << path({u"Ocupação"}) << false << QString();
        QTest::newRow("ordinary group") << path({u"Despesas", u"Despesas Administrativas", u"Ocupação"}) << 2
                                        << path({u"Aluguel e condomínio", u"Energia"}) << false << QString();
        QTest::newRow("goods group lists lines of goods")
            << path({u"Despesas", u"Despesas Fornecedores", u"Fornecedores Produtos"}) << 2
            << path({u"Pães", u"Sorvetes"}) << true << QString();
        QTest::newRow("supply group lists supply lines")
            << path({u"Despesas", u"Despesas Fornecedores", u"Fornecedores Insumos"}) << 2
            << path({u"Farinhas"}) << true << QString();
        QTest::newRow("sector spelt otherwise is ordinary")
            << path({u"Despesas", u"despesas fornecedores", u"Fornecedores Produtos"}) << 2 << path({u"Pães"})
            << false << QString();
        QTest::newRow("sales group is ordinary")
            << path({u"Receitas", u"Receitas Clientes", u"Vendas Produtos"}) << 2 << path({u"Pães"}) << false
            << QString();
        QTest::newRow("line lists its products")
            << path({u"Despesas", u"Despesas Fornecedores", u"Fornecedores Produtos", u"Pães"}) << 3
            << path({u"Baguete", u"Pão francês"}) << true << QString();
        QTest::newRow("line without products")
            << path({u"Despesas", u"Despesas Fornecedores", u"Fornecedores Produtos", u"Sorvetes"}) << 3
            << QStringList() << true << QStringLiteral("Não existem Produtos ou Linha de produto errada!");
        QTest::newRow("supply line under the goods group")
            << path({u"Despesas", u"Despesas Fornecedores", u"Fornecedores Produtos", u"Farinhas"}) << 3
            << QStringList() << true << QStringLiteral("Não existem Produtos ou Linha de produto errada!");
        QTest::newRow("ordinary account lists items")
            << path({u"Despesas", u"Despesas Administrativas", u"Ocupação", u"Aluguel e condomínio"}) << 3
            << path({u"Aluguel da loja", u"Condomínio"}) << false << QString();
        // The name is searched in the whole table: the first "Pães" (of "Vendas Produtos").
        QTest::newRow("repeated name takes the first row")
            << path({u"Despesas", u"Despesas Administrativas", u"Ocupação", u"Pães"}) << 3
            << path({u"Baguete", u"Pão francês"}) << false << QString();
        // An unknown name lists the children of the code found last (none here: 0).
        QTest::newRow("unknown name") << path({u"Nada"}) << 0 << QStringList() << false
                                      << QStringLiteral("CodigoProcurado não encontrado");
    }
    void choiceCascades()
    {
        QFETCH(QStringList, path);
        QFETCH(int, index);
        QFETCH(QStringList, below);
        QFETCH(bool, lines);
        QFETCH(QString, box);
        LoadedContas fx;
        fx.clearCalls();
        fx.window->EmInclusao = true;
        fx.window->CodigoProcurado = 0;
        // The path is walked from the top, one choice after another, as a person does.
        for (int level = 0; level <= index; ++level) {
            fx.window->Combo[static_cast<std::size_t>(level)]->setText(path.at(level));
            fx.window->Combo[static_cast<std::size_t>(level + 1)]->setText(QStringLiteral("x"));
            fx.window->Combo_Click(level);
        }
        // Everything below the choice is emptied; only the next list is filled.
        for (int level = index + 1; level < 5; ++level) {
            const auto* combo = fx.window->Combo[static_cast<std::size_t>(level)];
            QCOMPARE(combo->text(), QString());
            QCOMPARE(combo->names(), level == index + 1 ? below : QStringList());
        }
        QCOMPARE(fx.window->ModoLinhas, lines);
        QCOMPARE(fx.desktop.boxes.size(), box.isEmpty() ? 0 : 1);
        if (!box.isEmpty())
            QCOMPARE(fx.desktop.boxes[0].prompt, box);
        if (index == 3 && lines && !box.isEmpty()) {
            QCOMPARE(fx.desktop.boxes[0].title, QStringLiteral("Não existem produtos nesta linha"));
            QCOMPARE(fx.window->Combo[3]->text(), QString()); // the wrong line is not kept
        }
    }

    void choiceWithoutAnOpenRecordDoesNothing_data()
    {
        QTest::addColumn<bool>("inserting");
        QTest::addColumn<int>("index");
        QTest::newRow("browsing") << false << 0;
        QTest::newRow("item selector") << true << 4;
    }
    void choiceWithoutAnOpenRecordDoesNothing()
    {
        QFETCH(bool, inserting);
        QFETCH(int, index);
        LoadedContas fx;
        fx.window->EmInclusao = inserting;
        QStringList before;
        for (const auto* combo : fx.window->Combo)
            before << combo->text() + QLatin1Char('|') + combo->names().join(QLatin1Char(','));
        fx.window->Combo_Click(index);
        QStringList after;
        for (const auto* combo : fx.window->Combo)
            after << combo->text() + QLatin1Char('|') + combo->names().join(QLatin1Char(','));
        QCOMPARE(after, before);
    }

    void apostropheInAChoiceIsLogged()
    {
        LoadedContas fx;
        fx.clearCalls();
        fx.window->EmAlteracao = true;
        fx.window->Combo[0]->setText(QStringLiteral("D'água"));
        fx.window->Combo[1]->setText(QStringLiteral("velho"));
        fx.window->Combo_Click(0);
        QCOMPARE(fx.window->Combo[1]->text(), QString());
        QCOMPARE(fx.desktop.boxes.size(), 1);
        QVERIFY(fx.desktop.boxes[0].prompt.contains(
            QStringLiteral("Rotina em que houve o erro: Preenchendo Seletor")));
        QVERIFY(fx.desktop.sounds.contains(1));
    }
};

VAREMO_TEST(TestSelectors);
#include "test_selectors.moc"
