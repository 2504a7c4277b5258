#include "data/criteria.h"
#include "data/errors.h"
#include "support/company.h"
#include "support/testregistry.h"

#include <QTest>

namespace criteria = varemo::criteria;

namespace {

const QStringList fields {QStringLiteral("Codigo"), QStringLiteral("Nome"), QStringLiteral("Marca"),
    QStringLiteral("Data"), QStringLiteral("NivelCategoria4.Codigo")};

int resolve(const QString& field)
{
    return static_cast<int>(fields.indexOf(field));
}

criteria::Row row(qint64 code, const QString& name, const QVariant& mark = 0)
{
    return {code, name, mark, QStringLiteral("2026-03-15"), code};
}

} // namespace

class TestCriteria : public QObject {
    Q_OBJECT

private slots:
    void matchesAsJet_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<criteria::Row>("values");
        QTest::addColumn<bool>("matches");
        QTest::newRow("True against a Yes/No") << "Marca = True" << row(1, "a", true) << true;
        QTest::newRow("Like on a number") << "Codigo Like '1#'" << row(12, "a") << true;
        QTest::newRow("joined field") << "NivelCategoria4.Codigo = 17" << row(17, "a") << true;
        QTest::newRow("bracketed field, double quotes")
            << "[Nome] = \"D'Avila\"" << row(1, "d'avila") << true;
        QTest::newRow("trailing semicolon") << "Codigo = 4;" << row(4, "a") << true;
    }

    void matchesAsJet()
    {
        QFETCH(QString, text);
        QFETCH(criteria::Row, values);
        QFETCH(bool, matches);
        QCOMPARE(criteria::compile(text, resolve)(values), matches);
    }

    void refusesWhatJetRefuses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("number");
        QTest::newRow("apostrophe in a name") << "Nome = 'D'Avila'" << 3077;
        QTest::newRow("open parenthesis") << "(Codigo = 1" << 3077;
        QTest::newRow("two values") << "Nome = 'a' 'b'" << 3077;
        QTest::newRow("unclosed set") << "Nome Like '[ab'" << 3077;
        QTest::newRow("impossible date") << "Data = #13/45/2026#" << 3077;
        QTest::newRow("unknown field") << "Desconhecido = 1" << 3070;
        QTest::newRow("text against a number") << "Nome = 5" << 3464;
    }

    void refusesWhatJetRefuses()
    {
        QFETCH(QString, text);
        QFETCH(int, number);
        QCOMPARE(varemo::test::jetFailure([&] { criteria::compile(text, resolve)(row(1, "abc")); }), number);
    }
};

VAREMO_TEST(TestCriteria);
#include "test_criteria.moc"
