#include "contasfixture.h"
#include "editor/browse.h"
#include "editor/tree.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QToolBar>
#include <QTreeWidgetItem>

using namespace varemo;
using namespace varemo::test;

// Entering a mode, Escape leaving it, the saves and the deletions.
class TestSave : public QObject {
    Q_OBJECT
private slots:
    // Escape while a record is open cancels without asking and gives back the fields as
    // they were on entry.
    void enterMode_data()
    {
        QTest::addColumn<qint64>("item"); // made current first
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("escape"); // then a name typed and Escape
        QTest::addColumn<QString>("expected"); // mode, message, box, first move on, item field, bands shown
        QTest::newRow("edit ordinary item")
            << qint64(6) << "ID_Alterar" << false << "Alterar|Alterando Registro||0|Aluguel da loja|01";
        QTest::newRow("edit product item refused")
            << qint64(1) << "ID_Alterar" << false << "Visualizar||Não pode alterar|1|Pão francês|10";
        QTest::newRow("insert beside product item")
            << qint64(1) << "ID_Incluir" << false << "Inserir|Inserindo novo registro||0||01";
        QTest::newRow("escape from insert")
            << qint64(7) << "ID_Incluir" << true << "Visualizar|||1|Condomínio|10";
        QTest::newRow("escape from edit")
            << qint64(7) << "ID_Alterar" << true << "Visualizar|||1|Condomínio|10";
    }
    void enterMode()
    {
        QFETCH(qint64, item);
        QFETCH(QString, key);
        QFETCH(bool, escape);
        QFETCH(QString, expected);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, item));
        fx.window->PreencheCampos();
        fx.play(key);
        if (escape) {
            fx.window->Combo[4]->setText(QStringLiteral("Rascunho"));
            fx.clearCalls();
            QVERIFY(fx.window->Form_KeyDown(Qt::Key_Escape));
            QVERIFY(fx.state.database);
        }
        const auto on = [](bool shown) { return shown ? QStringLiteral("1") : QStringLiteral("0"); };
        QCOMPARE(QStringList(
                     {fx.window->Modo, fx.window->Status->panelText(StatusBar::Message), fx.firstBoxTitle(),
                         on(fx.window->Movimento[0]->isEnabled()), fx.window->Combo[4]->text(),
                         on(!fx.window->Barra1->isHidden()) + on(!fx.window->Barra2->isHidden())})
                     .join(u'|'),
            expected);
    }
    // From "Conta de luz" (item 8, under "Energia"): on the item page the whole path is typed,
    // on the account page the account's own field. The saved row reaches the tree even under a
    // branch never opened.
    void save_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("expected"); // box title, accounts, items, mode, the saved row's siblings
        const auto row = [](const char* tag, int level, const char* command, const QString& typed,
                             const char* expected) {
            QTest::newRow(tag) << level << QString::fromLatin1(command) << typed
                               << QString::fromUtf8(expected);
        };
        const QString rooms = QStringLiteral("Despesas/Despesas Administrativas/Ocupação/");
        row("item between its siblings", 4, "ID_Incluir", rooms + "Aluguel e condomínio/Água",
            "|7|10|Visualizar|Água|Aluguel da loja|Condomínio");
        row("missing account is made", 4, "ID_Incluir", rooms + "Telefone/Celular",
            "|8|10|Visualizar|Celular");
        row("same item under the same account", 4, "ID_Incluir", rooms + "Energia/Conta de luz",
            "Item existente|7|9|Visualizar|Conta de luz");
        // Blank and quoted names alone are the typed-text suite's; here a bad item must also
        // take back the account made for it.
        row("apostrophe writes nothing, not even the new account", 4, "ID_Incluir", rooms + "Telefone/D'água",
            "Tratamento de Erros|7|9|Inserir|");
        row("item under a closed account", 4, "ID_Incluir",
            "Receitas/Receitas Financeiras/Vendas Produtos/Aplicações/Tesouro",
            "|7|10|Visualizar|CDB|Tesouro");
        row("account made on a closed path", 4, "ID_Incluir",
            "Receitas/Receitas Clientes/Vendas Produtos/Bolos/Bolo de milho",
            "|8|10|Visualizar|Bolo de milho");
        row("sector made on the path", 4, "ID_Incluir", "Receitas/receitas eventuais/Aluguéis/Sala 2/Março",
            "|8|10|Visualizar|Março");
        row("sector under an empty category", 4, "ID_Incluir", "Vazia/Novo setor/Novo grupo/Nova conta/Item",
            "|8|10|Visualizar|Item");
        row("new account", 3, "ID_Incluir", "Telefone",
            "|8|9|Visualizar|Aluguel e condomínio|Energia|Telefone");
        row("existing account", 3, "ID_Incluir", "Energia",
            "Registro já existente|7|9|Visualizar|Aluguel e condomínio|Energia");
        row("account renamed", 3, "ID_Alterar", "Água e luz",
            "|7|9|Visualizar|Água e luz|Aluguel e condomínio");
    }
    void save()
    {
        QFETCH(int, level);
        QFETCH(QString, command);
        QFETCH(QString, typed);
        QFETCH(QString, expected);
        LoadedContas fx;
        QVERIFY(fx.window->relocate(4, 8));
        fx.window->PreencheCampos();
        fx.play((level == 3 ? QStringLiteral("ID_Conta ") : QString()) + command);
        if (level == 3)
            fx.window->Texto[3]->setText(typed);
        else
            fx.typePath(typed.split(u'/'));
        fx.clearCalls();
        fx.play(QStringLiteral("ID_Gravar"));
        QTreeWidgetItem* saved = fx.window->node(nodeKey(fx.window->CodigoGravado, level));
        const QString seen = QStringList {fx.firstBoxTitle(),
            fx.company.scalar("SELECT count(*) FROM NivelCategoria3").toString(),
            fx.company.scalar("SELECT count(*) FROM NivelCategoria4").toString(), fx.window->Modo,
            saved && fx.window->Gravou ? childList(saved->parent()).remove(QStringLiteral(":Nenhum"))
                                       : QString()}
                                 .join(u'|');
        QCOMPARE(seen, expected);
        if (!fx.desktop.boxes.isEmpty())
            return;
        // The page and the tree after a save are what reading them whole again gives.
        auto reread = fx.state.database->openRecordset(browse::joinedLevelRows(level));
        reread->sortByText(browse::levelNameOrder(level));
        QCOMPARE(fx.window->dataSet()->rows(), reread->rows());
        QCOMPARE(fx.window->dataSet()->value(QStringLiteral("NivelCategoria%1.Nome").arg(level)).toString(),
            typed.section(u'/', -1));
        const QStringList tree = treeShape(fx.window->Arvore);
        fx.window->CarregaArvore();
        QCOMPARE(treeShape(fx.window->Arvore), tree);
    }
    // Items in page order: 6 7 8 5 4 3 2 1 9. Item 9 (income) is booked in sales, 4 stands for
    // a product. Sector 1 is locked, sector 3 has groups.
    void excluir_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<int>("level");
        QTest::addColumn<qint64>("code");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("expected"); // titles, last box's first line, current row, counter
        const auto row = [](const char* tag, const char* change, int level, qint64 code, const char* expected,
                             int answer = vb::Yes) {
            QTest::newRow(tag) << QString::fromUtf8(change) << level << code << answer
                               << QString::fromUtf8(expected);
        };
        row("product item", "", 4, 4,
            "Não pode excluir|Não se pode excluir produto ou insumo|4|Registro 5/9");
        row("answered No", "", 4, 7, "Exclusão|Deseja excluir este Item?|7|Registro 2/9", vb::No);
        row("category", "", 0, 2, "Exclusão||2|Registro 1/9");
        row("locked sector", "", 1, 1,
            "Exclusão|Setor não pode ser excluído|Não se pode excluir o setor: Receitas Clientes|1|Registro "
            "3/4");
        row("locked group, no accounts", "INSERT INTO NivelCategoria2 VALUES (7, 'Reserva', 3, 1)", 2, 7,
            "Exclusão|Grupo não pode ser excluído|Não se pode excluir o grupo: Reserva|7|Registro 2/7");
        row("sector with groups", "", 1, 3,
            "Exclusão|Não pode excluir Setor|Este setor não pode ser excluido!|3|Registro 1/4");
        row("account with items", "", 3, 6,
            "Exclusão|Não pode excluir Conta|Esta conta não pode ser excluida!|6|Registro 2/7");
        row("income item with sales", "", 4, 9,
            "Exclusão|Não pode excluir Item|Este item não pode ser excluido!|9|Registro 9/9");
        row("last item, the one before follows",
            "INSERT INTO NivelCategoria4 VALUES (10, 'Poupança', 7, 0, 0)", 4, 10,
            "Exclusão|Deseja excluir este Item?|9|Registro 9/9");
        row("only item", "DELETE FROM NivelCategoria4 WHERE Codigo <> 7", 4, 7,
            "Exclusão|Deseja excluir este Item?|0|Registro 0/0");
        row("expense item booked only in sales, the next follows",
            "INSERT INTO VendaProdutos VALUES (2, 7, 3, 0, 10, 1)", 4, 7,
            "Exclusão|Deseja excluir este Item?|8|Registro 2/8");
        row("sector with a Null lock, no groups",
            "INSERT INTO NivelCategoria1 VALUES (5, 'Bancárias', 2, NULL)", 1, 5,
            "Exclusão|Deseja excluir este Setor?|3|Registro 1/4");
    }
    void excluir()
    {
        QFETCH(QString, change);
        QFETCH(int, level);
        QFETCH(qint64, code);
        QFETCH(int, answer);
        QFETCH(QString, expected);
        LoadedContas fx(change.isEmpty() ? QStringList() : QStringList {change});
        const QString table = QStringLiteral("FROM NivelCategoria%1 WHERE Codigo = %2").arg(level).arg(code);
        const QString name = fx.company.scalar("SELECT Nome " + table).toString();
        const int rows = fx.company.count("SELECT count(*) FROM NivelCategoria" + QString::number(level));
        fx.window->NivelAtual = 0; // no view shows the categories; the others are set by their view
        if (level > 0) {
            // Opening and cancelling a new record fills the lists along the row's path.
            const QStringList views = {{}, "ID_Setor", "ID_Grupo", "ID_Conta", "ID_Item"};
            fx.play(views[level] + QStringLiteral(" n%1 ID_Incluir ID_Cancelar").arg(nodeKey(code, level)));
        }
        fx.clearCalls();
        fx.desktop.setNextAnswer(answer);
        fx.play(QStringLiteral("ID_Excluir"));
        QStringList seen;
        for (const Box& box : fx.desktop.boxes)
            seen << box.title;
        const Recordset* current = fx.window->dataSet();
        seen << fx.desktop.boxes.last().prompt.section('\r', 0, 0)
             << (current->bof() || current->eof()
                        ? QStringLiteral("0")
                        : current->value(QStringLiteral("NivelCategoria%1.Codigo").arg(level)).toString())
             << fx.window->Status->panelText(StatusBar::Record);
        QCOMPARE(seen.join(u'|'), expected);
        QVERIFY(fx.desktop.boxes[0].title != QStringLiteral("Exclusão")
            || fx.desktop.boxes[0].buttons == (vb::YesNo | vb::Question | vb::DefaultButton2));
        // A deleted row leaves the file, the tree and the selectors; a kept one stays in all.
        const bool kept = fx.company.count("SELECT count(*) " + table) == 1;
        QCOMPARE(fx.company.count("SELECT count(*) FROM NivelCategoria" + QString::number(level)),
            rows - (kept ? 0 : 1));
        QCOMPARE(fx.window->node(nodeKey(code, level)) != nullptr, kept);
        const auto at = std::size_t(level);
        QVERIFY(kept || !(fx.window->Combo[at]->names() + fx.window->Texto[at]->names()).contains(name));
    }

    void reports_data()
    {
        QTest::addColumn<bool>("choose");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("expected"); // title, reports and items left, list entries, tree mark
        QTest::newRow("nothing chosen") << false << int(vb::Yes) << "Selecionar Relatório|2|9|2|Nenhum";
        QTest::newRow("answered No") << true << int(vb::No) << "Excluir relatório|2|9|2|Alguns";
        QTest::newRow("deleted") << true << int(vb::Yes) << "Excluir relatório|1|1|1|Nenhum";
    }
    void reports()
    {
        QFETCH(bool, choose);
        QFETCH(int, answer);
        QFETCH(QString, expected);
        LoadedContas fx({"INSERT INTO Relatorios VALUES (2, 'Outro')",
            "INSERT INTO RelatorioItens VALUES (2, 'N0', 1, 3)"});
        fx.play(QStringLiteral("ID_Relatorios"));
        if (choose)
            fx.window->Relatos->setCurrentItem(
                fx.window->Relatos->findItems("Resultado Mensal", Qt::MatchExactly)[0]);
        fx.clearCalls();
        fx.desktop.setNextAnswer(answer);
        fx.play(QStringLiteral("ID_Excluir"));
        QCOMPARE(
            QStringList(
                {fx.desktop.boxes[0].title, fx.company.scalar("SELECT count(*) FROM Relatorios").toString(),
                    fx.company.scalar("SELECT count(*) FROM RelatorioItens").toString(),
                    QString::number(fx.window->Relatos->count()), nodeImage(fx.window->node("2N0"))})
                .join('|'),
            expected);
        QVERIFY(!choose
            || fx.desktop.boxes[0].prompt == "Deseja excluir definivamente o relatório Resultado Mensal?");
    }
};

VAREMO_TEST(TestSave);
#include "test_save.moc"
