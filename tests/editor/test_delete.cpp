#include "contasfixture.h"
#include "editor/tree.h"
#include "editor/widgets.h"
#include "support/testregistry.h"

#include <QListWidget>
#include <QTest>

using namespace varemo;
using namespace varemo::test;

// The small company's items in page order: 6 7 8 5 4 3 2 1 9. Item 9 (income) is booked in
// sales, 4 stands for a product. Sector 1 is locked, sector 3 has groups and a Null lock.

namespace {

const QStringList Views = {{}, "ID_Setor", "ID_Grupo", "ID_Conta", "ID_Item"};

// Views the level, makes the row current from the tree, opens and cancels a new record
// (which fills the lists along its path), then deletes with the next box answered.
void press(LoadedContas& fx, int level, qint64 code, int answer)
{
    if (level > 0) {
        fx.window->tool_click(Views[level]);
        fx.window->Arvore_NodeClick(fx.window->node(nodeKey(code, level)));
        fx.window->tool_click("ID_Incluir");
        fx.window->tool_click("ID_Cancelar");
    }
    fx.clearCalls();
    fx.desktop.setNextAnswer(answer);
    fx.window->tool_click("ID_Excluir");
}

QString seen(LoadedContas& fx, int level)
{
    QStringList out;
    for (const Box& box : fx.desktop.boxes)
        out << box.title;
    const Recordset* rows = fx.window->dataSet();
    const QVariant code = rows->bof() || rows->eof()
        ? QVariant(0)
        : rows->value(QStringLiteral("NivelCategoria%1.Codigo").arg(level));
    return out.join('|') + '|' + fx.desktop.boxes.last().prompt.section('\r', 0, 0) + '|' + code.toString()
        + '|' + fx.window->Status->panelText(StatusBar::Record);
}

} // namespace

class TestDelete : public QObject {
    Q_OBJECT
private slots:
    void excluir_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<int>("level");
        QTest::addColumn<qint64>("code");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("expected"); // titles, last box's first line, current row, counter

        const int yes = vb::Yes;
        QTest::newRow("product item")
            << "" << 4 << qint64(4) << yes
            << "Não pode excluir|Não se pode excluir produto ou insumo|4|Registro 5/9";
        QTest::newRow("answered No") << "" << 4 << qint64(7) << int(vb::No)
                                     << "Exclusão|Deseja excluir este Item?|7|Registro 2/9";
        QTest::newRow("category") << "" << 0 << qint64(2) << yes << "Exclusão||2|Registro 1/9";
        QTest::newRow("locked sector") << "" << 1 << qint64(1) << yes
                                       << "Exclusão|Setor não pode ser excluído|Não se pode excluir o setor: "
                                          "Receitas Clientes|1|Registro 3/4";
        QTest::newRow("locked group, no accounts")
            << "INSERT INTO NivelCategoria2 VALUES (7, 'Reserva', 3, 1)" << 2 << qint64(7) << yes
            << "Exclusão|Grupo não pode ser excluído|Não se pode excluir o grupo: Reserva|7|Registro 2/7";
        QTest::newRow("sector with groups")
            << "" << 1 << qint64(3) << yes
            << "Exclusão|Não pode excluir Setor|Este setor não pode ser excluido!|3|Registro 1/4";
        QTest::newRow("account with items")
            << "" << 3 << qint64(6) << yes
            << "Exclusão|Não pode excluir Conta|Esta conta não pode ser excluida!|6|Registro 2/7";
        QTest::newRow("income item with sales")
            << "" << 4 << qint64(9) << yes
            << "Exclusão|Não pode excluir Item|Este item não pode ser excluido!|9|Registro 9/9";
        QTest::newRow("last item, the one before follows")
            << "INSERT INTO NivelCategoria4 VALUES (10, 'Poupança', 7, 0, 0)" << 4 << qint64(10) << yes
            << "Exclusão|Deseja excluir este Item?|9|Registro 9/9";
        QTest::newRow("only item") << "DELETE FROM NivelCategoria4 WHERE Codigo <> 7" << 4 << qint64(7) << yes
                                   << "Exclusão|Deseja excluir este Item?|0|Registro 0/0";
        QTest::newRow("expense item booked only in sales, the next follows")
            << "INSERT INTO VendaProdutos VALUES (2, 7, 3, 0, 10, 1)" << 4 << qint64(7) << yes
            << "Exclusão|Deseja excluir este Item?|8|Registro 2/8";
        QTest::newRow("sector with a Null lock, no groups")
            << "INSERT INTO NivelCategoria1 VALUES (5, 'Bancárias', 2, NULL)" << 1 << qint64(5) << yes
            << "Exclusão|Deseja excluir este Setor?|3|Registro 1/4";
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
        press(fx, level, code, answer);
        QCOMPARE(seen(fx, level), expected);
        if (fx.desktop.boxes.first().title == QStringLiteral("Exclusão"))
            QCOMPARE(fx.desktop.boxes.first().buttons, vb::YesNo | vb::Question | vb::DefaultButton2);
        const bool kept = fx.company.count("SELECT count(*) " + table) == 1;
        QCOMPARE(fx.company.count("SELECT count(*) FROM NivelCategoria" + QString::number(level)),
            rows - (kept ? 0 : 1));
        QCOMPARE(fx.window->node(nodeKey(code, level)) != nullptr, kept);
        const auto at = static_cast<std::size_t>(level);
        QVERIFY(kept || !(fx.window->Combo[at]->names() + fx.window->Texto[at]->names()).contains(name));
    }

    // The row, its counter and its node stay as they were; the file and the log are the
    // lock suite's to check.
    void failureLeavesTheWindowAsItWas()
    {
        LoadedContas fx;
        fx.state.database->setBusyTimeout(20);
        fx.company.exec("BEGIN IMMEDIATE"); // another module holds the write lock
        press(fx, 4, 7, vb::Yes);
        fx.company.exec("ROLLBACK");
        QCOMPARE(seen(fx, 4).section('|', 0, 1), QStringLiteral("Exclusão|Tratamento de Erros"));
        QCOMPARE(seen(fx, 4).section('|', -2), QStringLiteral("7|Registro 2/9"));
        QVERIFY(fx.window->node(nodeKey(7, 4)) != nullptr);
        press(fx, 4, 7, vb::Yes); // the window still works once the lock is gone
        QCOMPARE(seen(fx, 4).section('|', -2), QStringLiteral("8|Registro 2/8"));
    }

    void reports_data()
    {
        QTest::addColumn<bool>("choose");
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("expected"); // titles, reports and items left, list entries, tree mark

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
        fx.window->tool_click("ID_Relatorios");
        if (choose)
            fx.window->Relatos->setCurrentItem(
                fx.window->Relatos->findItems("Resultado Mensal", Qt::MatchExactly)[0]);
        press(fx, 0, 0, answer);
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

VAREMO_TEST(TestDelete);
#include "test_delete.moc"
