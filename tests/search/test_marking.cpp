#include "search/marking.h"
#include "searchfixture.h"
#include "support/testregistry.h"

#include <QTest>

using namespace varemo;
using test::rowsOf;
using test::SearchCompany;
using Quads = QList<QStringList>;

namespace {

QList<QVariant> codes(std::initializer_list<int> list)
{
    QList<QVariant> values;
    for (const int code : list)
        values << QVariant(qlonglong(code));
    return values;
}

QList<QVariant> asLongs(const QList<QVariant>& values)
{
    QList<QVariant> longs;
    for (const QVariant& value : values)
        longs << QVariant(value.toLongLong());
    return longs;
}

const QString E = QStringLiteral("e o");
const QString Ou = QStringLiteral("ou");

} // namespace

class TestMarking : public QObject {
    Q_OBJECT

private slots:
    void marksItems_data()
    {
        QTest::addColumn<Quads>("rows");
        QTest::addColumn<QList<QVariant>>("expected");
        auto row = [](const char* name, Quads rows, std::initializer_list<int> hits) {
            QTest::newRow(name) << rows << codes(hits);
        };
        const auto q = [](const char* campo, const char* criterio, const char* conteudo, QString chave = {}) {
            return QStringList {
                QString::fromUtf8(campo), QString::fromUtf8(criterio), QString::fromUtf8(conteudo), chave};
        };
        row("categoria contenha", {q("Categoria", "contenha", "desp")}, {4, 5, 6, 7, 8});
        row("categoria igual ignora maiúsculas", {q("Categoria", "seja igual a", "receitas")}, {1, 2, 3, 9});
        row("categoria menor", {q("Categoria", "seja menor que", "E")}, {4, 5, 6, 7, 8});
        row("setor não contenha", {q("Setor", "não contenha", "receitas")}, {4, 5, 6, 7, 8});
        row("setor maior exclui o igual", {q("Setor", "seja maior que", "Despesas Fornecedores")},
            {1, 2, 3, 9});
        row("grupo igual sem acento não acha", {q("Grupo", "seja igual a", "ocupacao")}, {});
        row("grupo igual com acento", {q("Grupo", "seja igual a", "OCUPAÇÃO")}, {6, 7, 8});
        row("grupo menor", {q("Grupo", "seja menor que", "G")}, {4, 5});
        row("conta contenha acento maiúsculo", {q("Conta", "contenha", "ÃES")}, {1, 2, 4});
        row("conta não contenha", {q("Conta", "não contenha", "ia")}, {1, 2, 3, 4, 5, 6, 7, 9});
        row("conta maior", {q("Conta", "seja maior que", "F")}, {1, 2, 3, 4, 5});
        row("item curinga de um caractere", {q("Item", "contenha", "P?o")}, {1, 4});
        row("item igual", {q("Item", "seja igual a", "cdb")}, {9});
        row("item maior compara texto", {q("Item", "seja maior que", "Conta")}, {1, 3, 4, 5, 8});
        row("item menor", {q("Item", "seja menor que", "B")}, {6});
        row("qualquer campo em qualquer nível", {q("Qualquer campo", "contenha", "fornec")}, {4, 5});
        row("qualquer campo não contenha", {q("Qualquer campo", "não contenha", "a")}, {1, 2, 4, 5, 7, 9});
        row("qualquer campo marca uma vez", {q("Qualquer campo", "contenha", "pão")}, {1, 4});
        // A AND B OR C: (Receitas and Pães) or Energia.
        row("e antes de ou",
            {q("Categoria", "seja igual a", "Receitas"), q("Conta", "seja igual a", "Pães", E),
                q("Conta", "seja igual a", "Energia", Ou)},
            {1, 2, 8});
        // A OR B AND C: Energia or (Receitas and Pães) — not (Energia or Receitas) and Pães.
        row("ou depois de e",
            {q("Conta", "seja igual a", "Energia"), q("Categoria", "seja igual a", "Receitas", Ou),
                q("Conta", "seja igual a", "Pães", E)},
            {1, 2, 8});
        row("linha vazia no meio pulada",
            {q("Categoria", "seja igual a", "Despesas"), q("Item", "contenha", "   ", Ou),
                q("Grupo", "contenha", "ocupa", E)},
            {6, 7, 8});
        // With the first row empty, the link beside the first filled row joins the second.
        row("primeira linha vazia",
            {q("Item", "contenha", ""), q("Categoria", "seja igual a", "Despesas", Ou),
                q("Grupo", "contenha", "ocupa", E)},
            {4, 5, 6, 7, 8});
        row("todas vazias", {q("Item", "contenha", " ")}, {});
    }

    void marksItems()
    {
        QFETCH(Quads, rows);
        QFETCH(QList<QVariant>, expected);
        SearchCompany fixture;
        search::Prepared prepared = search::prepare(fixture.state);
        QCOMPARE(fixture.state.searchResult, -1);
        const int hits = search::runSearch(fixture.state, rowsOf(rows), prepared.procura.get());
        QCOMPARE(asLongs(fixture.marked()), expected);
        QCOMPARE(hits, int(expected.size()));
        QCOMPARE(fixture.state.searchResult, hits);
    }

    void fastEqualsRowByRow_data()
    {
        QTest::addColumn<bool>("demo");
        QTest::addColumn<Quads>("rows");
        const auto q = [](const char* campo, const char* criterio, const char* conteudo, QString chave = {}) {
            return QStringList {
                QString::fromUtf8(campo), QString::fromUtf8(criterio), QString::fromUtf8(conteudo), chave};
        };
        for (const bool demo : {false, true}) {
            const QByteArray tag = demo ? "demo: " : "semeada: ";
            QTest::newRow(tag + "não contenha em todos os níveis")
                << demo << Quads {q("Qualquer campo", "não contenha", "a")};
            QTest::newRow(tag + "cinco critérios")
                << demo
                << Quads {q("Categoria", "seja maior que", "D"), q("Setor", "contenha", "e", E),
                       q("Item", "seja menor que", "M", Ou), q("Conta", "não contenha", "o", E),
                       q("Grupo", "seja igual a", "Ocupação", Ou)};
            QTest::newRow(tag + "apóstrofo dobrado fica entre aspas")
                << demo << Quads {q("Item", "contenha", "p"), q("Item", "contenha", "d''agua", Ou)};
        }
    }

    void fastEqualsRowByRow()
    {
        QFETCH(bool, demo);
        QFETCH(Quads, rows);
        // Items whose chain breaks (a missing ancestor) compare Null on the upper names.
        SearchCompany fixture(demo ? test::TestCompany::Seed::Demo : test::TestCompany::Seed::Small,
            {QStringLiteral(
                 "INSERT INTO NivelCategoria3 (Codigo, Nome, CodigoCategoria2) VALUES (300, 'Sem pai', 999)"),
                QStringLiteral("INSERT INTO NivelCategoria4 (Codigo, Nome, CodigoCategoria3, Marca) VALUES "
                               "(3000, 'Solto', 999, 1), (3001, 'Órfão', 300, 0)")});
        search::Prepared prepared = search::prepare(fixture.state);
        const int fastHits = search::runSearch(fixture.state, rowsOf(rows), prepared.procura.get());
        const QStringList fast = fixture.snapshot();
        prepared = search::prepare(fixture.state);
        const int slowHits = search::runSearch(
            fixture.state, rowsOf(rows), prepared.procura.get(), search::Marking::RowByRow);
        QCOMPARE(fast, fixture.snapshot());
        QCOMPARE(fastHits, slowHits);
        QVERIFY(fastHits > 0);
    }

    void apostropheRollsBack_data()
    {
        QTest::addColumn<int>("marking");
        QTest::newRow("rápida") << int(search::Marking::Fast);
        QTest::newRow("linha a linha") << int(search::Marking::RowByRow);
    }

    void apostropheRollsBack()
    {
        QFETCH(int, marking);
        SearchCompany fixture;
        search::Prepared prepared = search::prepare(fixture.state);
        const QStringList before = fixture.snapshot();
        const search::Rows rows
            = rowsOf({{QStringLiteral("Item"), QStringLiteral("contenha"), QStringLiteral("p")},
                {QStringLiteral("Item"), QStringLiteral("contenha"), QStringLiteral("d'agua"), E}});
        QVERIFY_THROWS_EXCEPTION(JetError,
            search::runSearch(fixture.state, rows, prepared.procura.get(), search::Marking(marking)));
        QCOMPARE(fixture.state.searchResult, -1);
        QCOMPARE(fixture.snapshot(), before);
        // The scratch recordset still finds the items the failed unit had edited.
        const int hits = search::runSearch(fixture.state,
            rowsOf({{QStringLiteral("Item"), QStringLiteral("seja igual a"), QStringLiteral("pão francês")}}),
            prepared.procura.get(), search::Marking(marking));
        QCOMPARE(hits, 2);
    }
};

VAREMO_TEST(TestMarking);
#include "test_marking.moc"
