#include "contasfixture.h"
#include "editor/browse.h"
#include "editor/tree.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QTreeWidgetItem>

using namespace varemo;
using namespace varemo::test;

// Entering a mode, Escape leaving it, the saves and the deletions.
class TestSave : public QObject {
    Q_OBJECT
private slots:
    // Items in page order: 6 7 8 5 4 3 2 1 9; item 8 is "Conta de luz" under "Energia". Item 9
    // (income) is booked in sales, 4 and 1 stand for products. Sector 1 is locked, sector 3 has
    // groups. Escape while a record is open cancels without asking and gives back the fields.
    void edit_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* tag, const char* change, const QString& steps, const char* expected) {
            QTest::newRow(tag) << QString::fromUtf8(change) << steps << QString::fromUtf8(expected);
        };
        // A deletion from its level's page, after a new record opened and cancelled there.
        const auto del = [&row](const char* tag, const char* change, int level, int code,
                             const char* expected, const char* answer = "yes") {
            const QStringList views = {"L0", "ID_Setor", "ID_Grupo", "ID_Conta", "ID_Item"};
            row(tag, change,
                views[level]
                    + (level ? QStringLiteral(" n%1N%2 ID_Incluir ID_Cancelar").arg(code).arg(level) : "")
                    + " clear " + answer + " ID_Excluir",
                expected);
        };
        const QString rooms = QStringLiteral("n8N4 ID_Incluir =Despesas/Despesas_Administrativas/Ocupação/");
        row("edit ordinary item", "", "n6N4 ID_Alterar",
            "Alterar 010 000011 00|Alterando Registro|0 4 Registro 1/9 Aluguel e condomínio/Aluguel da loja");
        row("edit product item refused", "", "n1N4 ID_Alterar",
            "0 4 Registro 8/9 Pães/Pão francês [Não pode alterar]|Não se pode alterar produto ou insumo/64");
        row("insert beside product item", "", "n1N4 ID_Incluir",
            "Inserir 010 000011 00|Inserindo novo registro|0 4 Registro 10/10 Pães/");
        row("escape from insert", "", "n7N4 ID_Incluir ~Rascunho clear Esc",
            "0 4 Registro 2/9 Aluguel e condomínio/Condomínio");
        row("escape from edit", "", "n7N4 ID_Alterar ~Rascunho clear Esc",
            "0 4 Registro 2/9 Aluguel e condomínio/Condomínio");
        row("new item between its siblings", "", rooms + "Aluguel_e_condomínio/Água clear ID_Gravar",
            "0 4 Registro 1/10 Aluguel e condomínio/Água|3 4 6 7 10");
        row("leaving the category keeps the path below", "", rooms + "Energia <0 ~Gás clear ID_Gravar",
            "0 4 Registro 4/10 Energia/Gás|3 4 6 7 10");
        // What another workstation wrote shows after a refresh, the same record still current.
        row("refresh after another workstation's writes", "",
            "n8N4 $INSERT_INTO_NivelCategoria4_VALUES_(10,_'Gás',_6,_0,_0) "
            "$UPDATE_NivelCategoria3_SET_Nome_=_'Luz_e_gás'_WHERE_Codigo_=_6 "
            "$DELETE_FROM_NivelCategoria4_WHERE_Codigo_=_7 ID_Atualizar",
            "0 4 Registro 2/9 Luz e gás/Conta de luz");
        row("refreshed tree holds the new item", "",
            "n8N4 $INSERT_INTO_NivelCategoria4_VALUES_(10,_'Gás',_6,_0,_0) ID_Atualizar n10N4",
            "0 4 Registro 4/10 Energia/Gás|3 4 6 7 10");
        row("missing account is made", "", rooms + "Telefone/Celular clear ID_Gravar",
            "0 4 Registro 4/10 Telefone/Celular|3 4 6 8 10");
        row("same item just made by another workstation, account and all", "",
            "n8N4 $INSERT_INTO_NivelCategoria3_VALUES_(8,_'Telefone',_5) "
            "$INSERT_INTO_NivelCategoria4_VALUES_(10,_'Celular',_8,_0,_0) "
                + rooms + "Telefone/Celular clear ID_Gravar",
            "0 4 Registro 4/10 Telefone/Celular [Item existente]|Este item já existe./64|3 4 6 8 10");
        row("same item under the same account", "", rooms + "Energia/Conta_de_luz clear ID_Gravar",
            "0 4 Registro 3/9 Energia/Conta de luz [Item existente]|Este item já existe./64");
        // Blank and quoted names alone are the typed-text suite's; here a bad item must also
        // take back the account made for it.
        row("apostrophe writes nothing, not even the new account", "",
            rooms + "Telefone/D'água clear ID_Gravar",
            "Inserir 010 000011 00|Inserindo novo registro|0 4 Registro 10/10 Telefone/D'água [Tratamento de "
            "Erros]|Erro no Programa Plano de Contas/16");
        row("item under a closed account", "",
            "ID_Incluir =Receitas/Receitas_Financeiras/Vendas_Produtos/Aplicações/Tesouro ID_Gravar",
            "0 4 Registro 10/10 Aplicações/Tesouro|3 4 6 7 10");
        row("account made on a closed path", "",
            "ID_Incluir =Receitas/Receitas_Clientes/Vendas_Produtos/Bolos/Bolo_de_milho ID_Gravar",
            "0 4 Registro 7/10 Bolos/Bolo de milho|3 4 6 8 10");
        row("sector made on the path", "",
            "ID_Incluir =Receitas/receitas_eventuais/Aluguéis/Sala_2/Março ID_Gravar",
            "0 4 Registro 9/10 Sala 2/Março|3 5 7 8 10");
        row("sector under an empty category", "",
            "ID_Incluir =Vazia/Novo_setor/Novo_grupo/Nova_conta/Item ID_Gravar",
            "0 4 Registro 10/10 Nova conta/Item|3 5 7 8 10");
        row("new account", "", "n8N4 ID_Conta ID_Incluir ~Telefone clear ID_Gravar",
            "1 3 Registro 3/8 Ocupação/Telefone|3 4 6 8 9");
        row("existing account", "", "n8N4 ID_Conta ID_Incluir ~Energia clear ID_Gravar",
            "1 3 Registro 2/7 Ocupação/Energia [Registro já existente]|Este registro já existe no plano de "
            "contas./64");
        row("item deleted by another workstation while changed here", "",
            "n8N4 ID_Alterar $DELETE_FROM_NivelCategoria4_WHERE_Codigo_=_8 ~Luz clear ID_Gravar",
            "Alterar 010 000011 00|Alterando Registro|0 4 Registro 3/9 Energia/Luz [Tratamento de "
            "Erros]|Erro no "
            "Programa Plano de Contas/16|3 4 6 7 8");
        row("account renamed", "", "n8N4 ID_Conta ID_Alterar ~Água_e_luz clear ID_Gravar",
            "1 3 Registro 1/7 Ocupação/Água e luz");
        del("product item", "", 4, 4,
            "0 4 Registro 5/9 Pães/Pão francês [Não pode excluir]|Não se pode excluir produto ou insumo/64");
        del("answered No", "", 4, 7,
            "0 4 Registro 2/9 Aluguel e condomínio/Condomínio [Exclusão]|Deseja excluir este Item?/292",
            "no");
        del("category", "", 0, 2, "0 0 Registro 1/9 / [Exclusão]|/292");
        del("locked sector", "", 1, 1,
            "1 1 Registro 3/4 Receitas/Receitas Clientes [Exclusão,Setor não pode ser excluído]|Não se pode "
            "excluir o setor: Receitas Clientes/64");
        del("locked group, no accounts", "INSERT INTO NivelCategoria2 VALUES (7, 'Reserva', 3, 1)", 2, 7,
            "1 2 Registro 2/7 Despesas Administrativas/Reserva [Exclusão,Grupo não pode ser excluído]|Não se "
            "pode excluir o grupo: Reserva/64|3 4 7 7 9");
        del("sector with groups", "", 1, 3,
            "1 1 Registro 1/4 Despesas/Despesas Administrativas [Exclusão,Não pode excluir Setor]|Este setor "
            "não pode ser excluido!/64");
        del("account with items", "", 3, 6,
            "1 3 Registro 2/7 Ocupação/Energia [Exclusão,Não pode excluir Conta]|Esta conta não pode ser "
            "excluida!/64");
        del("income item with sales", "", 4, 9,
            "0 4 Registro 9/9 Aplicações/CDB [Exclusão,Não pode excluir Item]|Este item não pode ser "
            "excluido!/64");
        del("last item, the one before follows",
            "INSERT INTO NivelCategoria4 VALUES (10, 'Poupança', 7, 0, 0)", 4, 10,
            "0 4 Registro 9/9 Aplicações/CDB [Exclusão]|Deseja excluir este Item?/292");
        del("only item", "DELETE FROM NivelCategoria4 WHERE Codigo <> 7", 4, 7,
            "0 4 Registro 0/0 Aluguel e condomínio/ [Exclusão]|Deseja excluir este Item?/292|3 4 6 7 0");
        del("expense item booked only in sales, the next follows",
            "INSERT INTO VendaProdutos VALUES (2, 7, 3, 0, 10, 1)", 4, 7,
            "0 4 Registro 2/8 Energia/Conta de luz [Exclusão]|Deseja excluir este Item?/292|3 4 6 7 8");
        del("sector with a Null lock, no groups",
            "INSERT INTO NivelCategoria1 VALUES (5, 'Bancárias', 2, NULL)", 1, 5,
            "1 1 Registro 1/4 Despesas/Despesas Administrativas [Exclusão]|Deseja excluir este Setor?/292");
    }
    void edit()
    {
        QFETCH(QString, change);
        QFETCH(QString, steps);
        QFETCH(QString, expected);
        LoadedContas fx(change.isEmpty() ? QStringList() : QStringList {change});
        fx.play(steps);
        QCOMPARE(fx.screen(), expected);
        if (fx.window->Modo != QStringLiteral("Visualizar"))
            return;
        // The page and the tree are what reading them whole again gives; a deleted name leaves the
        // selectors.
        if (const int level = fx.window->NivelAtual; level > 0) { // the categories have no page
            auto reread = fx.state.database->openRecordset(browse::joinedLevelRows(level));
            reread->sortByText(browse::levelNameOrder(level));
            QCOMPARE(fx.window->dataSet()->rows(), reread->rows());
        }
        const QStringList tree = treeShape(fx.window->Arvore);
        fx.window->CarregaArvore();
        QCOMPARE(treeShape(fx.window->Arvore), tree);
        for (std::size_t at = 0; steps.contains(QStringLiteral("ID_Excluir")) && at < 5; ++at)
            for (const QString& name : fx.window->Combo[at]->names() + fx.window->Texto[at]->names())
                QVERIFY2(
                    fx.company.count(QStringLiteral("SELECT count(*) FROM NivelCategoria%1 WHERE Nome = '%2'")
                                         .arg(at)
                                         .arg(QString(name).replace(u'\'', QStringLiteral("''"))))
                        > 0,
                    qPrintable(name));
    }

    // Deleting a saved report asks first; the file, the list and the tree's marks follow.
    void reports_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("expected"); // boxes, reports and their items left, list entries, tree mark
        const QString ask = QStringLiteral(
            "box Deseja excluir definivamente o relatório Resultado Mensal?|Excluir relatório|292");
        QTest::newRow("nothing chosen")
            << "yes ID_Excluir"
            << "box Primeiro selecione o relatório na lista|Selecionar Relatório|64|2 9|2|Nenhum";
        QTest::newRow("answered No") << "rResultado_Mensal no ID_Excluir" << ask + "|2 9|2|Alguns";
        QTest::newRow("deleted") << "rResultado_Mensal yes ID_Excluir" << ask + "|1 1|1|Nenhum";
    }
    void reports()
    {
        QFETCH(QString, steps);
        QFETCH(QString, expected);
        LoadedContas fx({"INSERT INTO Relatorios VALUES (2, 'Outro')",
            "INSERT INTO RelatorioItens VALUES (2, 'N0', 1, 3)"});
        fx.play(QStringLiteral("ID_Relatorios clear ") + steps);
        QCOMPARE(fx.desktop.calls.join(u' ') + u'|'
                + fx.company
                      .scalar("SELECT (SELECT count(*) FROM Relatorios) || ' ' || (SELECT count(*) FROM "
                              "RelatorioItens)")
                      .toString()
                + u'|' + QString::number(fx.window->Relatos->count()) + u'|'
                + nodeImage(fx.window->node("2N0")),
            expected);
    }
};

VAREMO_TEST(TestSave);
#include "test_save.moc"
