#include "app/errorlog.h"
#include "app/state.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace varemo;

const QDateTime November5(QDate(2025, 11, 5), QTime(9, 7, 41));

class TestErrorLog : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    AppState m_state;
    test::FakeDesktop m_desktop;

    QString logPath() const { return m_dir.path() + QStringLiteral("/Dados/Erros.txt"); }

private slots:
    void init()
    {
        QVERIFY(m_dir.isValid());
        QDir(m_dir.path()).removeRecursively();
        QVERIFY(QDir().mkpath(m_dir.path() + QStringLiteral("/Dados")));
        m_state = AppState();
        m_state.dataFolder = m_dir.path() + QLatin1Char('/');
        m_state.major = 1;
        m_state.minor = 2;
        m_state.revision = 30;
        m_desktop = test::FakeDesktop();
    }

    void recordsSoundAndMessage()
    {
        logError(m_state, m_desktop, rotina::Movimento, QStringLiteral("Nenhum registro corrente."), 3021,
            November5);
        const QByteArray record = "05-novembro-2025  09:07\r\n"
                                  "Usu\xE1rio: \r\n"
                                  "Programa: Plano de Contas\r\n"
                                  "Rotina: Erro no Movimento_Click\r\n"
                                  "Vers\xE3o 1.2.30\r\n"
                                  "Erro n\xFAmero: 3021\r\n"
                                  "Descri\xE7\xE3o: Nenhum registro corrente.\r\n"
                                  "\r\n";
        const QByteArray header = "***** NAO APAGUE AS LINHAS ABAIXO *****\r\n\r\n";
        QCOMPARE(test::readFile(logPath()), header + record);

        logError(m_state, m_desktop, rotina::Movimento, QStringLiteral("Nenhum registro corrente."), 3021,
            November5);
        QCOMPARE(test::readFile(logPath()), header + record + record);

        QCOMPARE(m_desktop.sounds, (QList<int> {1, 1}));
        QCOMPARE(m_desktop.boxes.size(), 2);
        QCOMPARE(m_desktop.boxes.first().title, QStringLiteral("Tratamento de Erros"));
        QCOMPARE(m_desktop.boxes.first().buttons, vb::Critical);
        QCOMPARE(m_desktop.boxes.first().prompt,
            QStringLiteral("Erro no Programa Plano de Contas\r"
                           "Anote os dados abaixo e informe ao desenvolvedor :\r\r"
                           "Rotina em que houve o erro: Erro no Movimento_Click\r"
                           "Versão 1.2.30\rErro número: 3021\rDescrição: Nenhum registro corrente."));
    }

    void descriptionBytes_data()
    {
        QTest::addColumn<QString>("description");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("accents") << QStringLiteral("Ocupação Água") << QByteArray("Ocupa\xE7\xE3o \xC1gua");
        QTest::newRow("cp1252 upper controls")
            << QStringLiteral("€ – “x” …") << QByteArray("\x80 \x96 \x93x\x94 \x85");
        QTest::newRow("emoji is one question mark") << QStringLiteral("pão 😀!") << QByteArray("p\xE3o ?!");
        QTest::newRow("lone surrogate") << QString(QChar(0xD800)) + QLatin1Char('a') << QByteArray("?a");
        QTest::newRow("line breaks kept") << QStringLiteral("a\r\nb") << QByteArray("a\r\nb");
    }

    void descriptionBytes()
    {
        QFETCH(QString, description);
        QFETCH(QByteArray, bytes);
        logError(m_state, m_desktop, rotina::TreeView, description, 5, November5);
        const QByteArray file = test::readFile(logPath());
        QVERIFY2(file.contains("Descri\xE7\xE3o: " + bytes + "\r\n\r\n"), file.constData());
    }

    void dateLine_data()
    {
        QTest::addColumn<QDateTime>("when");
        QTest::addColumn<QString>("line");
        QTest::newRow("november") << November5 << QStringLiteral("05-novembro-2025  09:07");
        QTest::newRow("march, afternoon")
            << QDateTime(QDate(2026, 3, 31), QTime(17, 59, 59)) << QStringLiteral("31-março-2026  17:59");
        QTest::newRow("midnight") << QDateTime(QDate(2024, 1, 1), QTime(0, 0))
                                  << QStringLiteral("01-janeiro-2024  00:00");
    }

    void dateLine()
    {
        QFETCH(QDateTime, when);
        QFETCH(QString, line);
        QCOMPARE(errorlog::dateLine(when), line);
    }

    // The record is lost; the person still hears and sees the error.
    void unwritableLog_data()
    {
        QTest::addColumn<QString>("breakage");
        QTest::newRow("no Dados folder") << QStringLiteral("missing");
        QTest::newRow("Erros.txt is a folder") << QStringLiteral("folder");
    }

    void unwritableLog()
    {
        QFETCH(QString, breakage);
        const QString dados = m_dir.path() + QStringLiteral("/Dados");
        if (breakage == QLatin1String("missing"))
            QVERIFY(QDir(dados).removeRecursively());
        else
            QVERIFY(QDir().mkpath(logPath()));
        logError(m_state, m_desktop, rotina::ExcluindoRegistro, QStringLiteral("x"), 3218, November5);
        QVERIFY(!QFileInfo(logPath()).isFile());
        QCOMPARE(m_desktop.sounds, QList<int> {1});
        QCOMPARE(m_desktop.boxes.size(), 1);
    }
};

VAREMO_TEST(TestErrorLog);
#include "test_errorlog.moc"
