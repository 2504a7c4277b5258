#include "reliability/reliability.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QTest>

#include <array>

using namespace varemo;
using namespace varemo::test;

// Two workstations on one company click the button that writes at the same moment.
class TestRaces : public QObject {
    Q_OBJECT

private slots:
    void sameMoment_data()
    {
        QTest::addColumn<bool>("server");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("oneRow"); // counts 1 afterwards
        QTest::addColumn<QString>("refused"); // the box exactly one of them sees; empty: none
        const QString item
            = QStringLiteral("at 4 8; click ID_Incluir; combo 4 Conta de água; wait; click ID_Gravar");
        const QString definition = QStringLiteral("click ID_Relatorios; modal; nome Relatório Novo; node "
                                                  "3N1; wait; escolha 0; back; click ID_Incluir");
        for (const bool server : {false, true}) {
            const char* engine = server ? "server: " : "file: ";
            QTest::addRow("%ssame new item under one account", engine)
                << server << item << item
                << QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4 WHERE Nome = 'Conta de água'")
                << QStringLiteral("Item existente");
            QTest::addRow("%ssame new report definition name", engine)
                << server << definition << definition
                << QStringLiteral("SELECT COUNT(*) FROM Relatorios WHERE NomeRelatorio = 'Relatório Novo'")
                << QStringLiteral("Nome já existente");
            // Whichever goes first, the item ends under an account: the one kept or one made again.
            QTest::addRow("%saccount deleted while an item is saved under it", engine)
                << server << QStringLiteral("click ID_Conta; node 8N3; wait; click ID_Excluir")
                << QStringLiteral(
                       "at 4 8; click ID_Incluir; combo 3 Seguros; combo 4 Apólice; wait; click ID_Gravar")
                << QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4 WHERE Nome = 'Apólice' AND "
                                  "CodigoCategoria3 IN (SELECT Codigo FROM NivelCategoria3)")
                << QString();
        }
    }

    void sameMoment()
    {
        QFETCH(bool, server);
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QString, oneRow);
        QFETCH(QString, refused);
        if (server && !EngineChoice::serverInstalled())
            QSKIP("no PostgreSQL server installed");
        const EngineChoice engine(server);
        TestCompany company;
        company.exec(QStringLiteral("INSERT INTO NivelCategoria3 VALUES (8, 'Seguros', 5)"));
        company.closeSql();

        std::array<QProcess, 2> children;
        const QStringList steps {first, second};
        for (std::size_t i = 0; i < children.size(); ++i)
            children[i].start(childProgram(),
                {steps.at(qsizetype(i)) + QStringLiteral("; tell"), company.programFolder(),
                    QStringLiteral("0"), QStringLiteral("normal")});
        // Both stand before their click; only then are both let go.
        for (QProcess& child : children) {
            while (!child.canReadLine())
                QVERIFY2(child.waitForReadyRead(60000), child.readAllStandardError().constData());
            QCOMPARE(child.readLine().trimmed(), QByteArray("ready"));
        }
        for (QProcess& child : children)
            child.write("\n");
        int refusals = 0;
        for (QProcess& child : children) {
            QVERIFY(child.waitForFinished(60000));
            const QString said = QString::fromUtf8(child.readAllStandardOutput());
            qWarning("%s", qPrintable(said));
            QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0,
                child.readAllStandardError().constData());
            // Waiting for the other is not a failure: no error box, no lock message.
            QVERIFY2(!said.contains(QStringLiteral("Tratamento de Erros")), qPrintable(said));
            refusals += !refused.isEmpty() && said.contains(QStringLiteral("box ") + refused + u'|');
        }
        QCOMPARE(company.count(oneRow), 1);
        QCOMPARE(refusals, refused.isEmpty() ? 0 : 1);
        QCOMPARE(company.count(QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4 WHERE CodigoCategoria3 "
                                              "NOT IN (SELECT Codigo FROM NivelCategoria3)")),
            0);
    }
};

VAREMO_TEST(TestRaces);
#include "test_races.moc"
