#include "app/errorlog.h"
#include "app/state.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QDir>
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
        QDir(m_dir.path()).removeRecursively();
        QVERIFY(QDir().mkpath(m_dir.path() + QStringLiteral("/Dados")));
        m_state = AppState();
        m_state.dataFolder = m_dir.path() + u'/';
        m_state.major = 1;
        m_state.minor = 2;
        m_state.revision = 30;
        m_desktop = test::FakeDesktop();
    }

    // Each error adds its record under the header; the person hears and sees it too.
    void recordsSoundAndMessage()
    {
        for (int i = 0; i < 2; ++i)
            logError(m_state, m_desktop, rotina::Movimento, QStringLiteral("Nenhum registro corrente."), 3021,
                November5);
        const QByteArray record
            = "05-novembro-2025  09:07\r\nUsu\xE1rio: \r\nPrograma: Plano de Contas\r\n"
              "Rotina: Erro no Movimento_Click\r\nVers\xE3o 1.2.30\r\nErro n\xFAmero: 3021\r\n"
              "Descri\xE7\xE3o: Nenhum registro corrente.\r\n\r\n";
        QCOMPARE(
            test::readFile(logPath()), "***** NAO APAGUE AS LINHAS ABAIXO *****\r\n\r\n" + record + record);
        QCOMPARE(m_desktop.sounds, (QList<int> {1, 1}));
        QCOMPARE(m_desktop.boxes.size(), 2);
        const test::Box& box = m_desktop.boxes.first();
        QCOMPARE(box.title + u'|' + QString::number(box.buttons) + u'|' + box.prompt,
            QStringLiteral(
                "Tratamento de Erros|%1|Erro no Programa Plano de Contas\rAnote os dados abaixo e "
                "informe ao desenvolvedor :\r\rRotina em que houve o erro: Erro no Movimento_Click\r"
                "Versão 1.2.30\rErro número: 3021\rDescrição: Nenhum registro corrente.")
                .arg(vb::Critical));
    }

    // The log is in the Windows code page: what it cannot hold is one question mark.
    void dateAndDescriptionBytes_data()
    {
        QTest::addColumn<QDateTime>("when");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QByteArray>("bytes"); // the date line, then the description
        QTest::newRow("march afternoon, accents")
            << QDateTime(QDate(2026, 3, 31), QTime(17, 59, 59)) << QStringLiteral("Ocupação Água")
            << QByteArray("31-mar\xE7o-2026  17:59|Ocupa\xE7\xE3o \xC1gua");
        QTest::newRow("midnight, cp1252 upper controls")
            << QDateTime(QDate(2024, 1, 1), QTime(0, 0)) << QStringLiteral("€ – “x” …")
            << QByteArray("01-janeiro-2024  00:00|\x80 \x96 \x93x\x94 \x85");
        QTest::newRow("emoji") << November5 << QStringLiteral("pão 😀!")
                               << QByteArray("05-novembro-2025  09:07|p\xE3o ?!");
        QTest::newRow("lone surrogate")
            << November5 << QString(QChar(0xD800)) + u'a' << QByteArray("05-novembro-2025  09:07|?a");
        QTest::newRow("line breaks kept")
            << November5 << QStringLiteral("a\r\nb") << QByteArray("05-novembro-2025  09:07|a\r\nb");
    }
    void dateAndDescriptionBytes()
    {
        QFETCH(QDateTime, when);
        QFETCH(QString, description);
        QFETCH(QByteArray, bytes);
        logError(m_state, m_desktop, rotina::TreeView, description, 5, when);
        const QByteArray file = test::readFile(logPath());
        QVERIFY2(file.contains(bytes.split('|')[0] + "\r\n"), file.constData());
        QVERIFY2(file.contains("Descri\xE7\xE3o: " + bytes.split('|')[1] + "\r\n\r\n"), file.constData());
    }
};

VAREMO_TEST(TestErrorLog);
#include "test_errorlog.moc"
