#include "contasfixture.h"
#include "editor/tree.h"
#include "support/testregistry.h"

#include <QListWidget>

using namespace varemo;
using namespace varemo::test;

// The small company's items in page order: 6 7 8 5 4 3 2 1 9. Item 9 (income) is booked in
// sales, 4 stands for a product. Sector 1 is locked, sector 3 has groups and a Null lock.
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
        if (fx.desktop.boxes.first().title == QStringLiteral("Exclusão"))
            QCOMPARE(fx.desktop.boxes.first().buttons, vb::YesNo | vb::Question | vb::DefaultButton2);
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

VAREMO_TEST(TestDelete);
#include "test_delete.moc"
