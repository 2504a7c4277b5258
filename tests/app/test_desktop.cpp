#include "app/placement.h"
#include "app/qtdesktop.h"
#include "app/state.h"
#include "support/testregistry.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace varemo;

class TestDesktop : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    AppState m_state;

    QString program() const { return m_dir.path() + QStringLiteral("/programa/"); }

    void writeKeys(const QString& app, const QStringList& keysAndValues)
    {
        QSettings settings(QStringLiteral("Varemo"), app);
        settings.remove(QString());
        settings.beginGroup(placement::Group);
        for (qsizetype i = 0; i + 1 < keysAndValues.size(); i += 2)
            settings.setValue(keysAndValues[i], keysAndValues[i + 1]);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        // Placements of these tests never reach the person's own settings.
        QSettings::setPath(
            QSettings::NativeFormat, QSettings::UserScope, m_dir.path() + QStringLiteral("/config"));
        QSettings::setPath(
            QSettings::IniFormat, QSettings::UserScope, m_dir.path() + QStringLiteral("/config"));
        QVERIFY(QDir().mkpath(program() + QStringLiteral("Sons")));
        for (const char* name : {"somerro.wav", "mousemov.wav", "mousecli.wav"}) {
            QFile file(program() + QStringLiteral("Sons/") + QLatin1String(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        m_state.programFolder = program();
    }

    void boxFollowsTheFlags_data()
    {
        QTest::addColumn<int>("flags");
        QTest::addColumn<int>("icon");
        QTest::addColumn<int>("defaultAnswer"); // what Enter answers
        QTest::addColumn<int>("escapeAnswer");
        QTest::newRow("ok, critical") << vb::Critical << int(QMessageBox::Critical) << vb::OK << vb::OK;
        QTest::newRow("ok, exclamation") << vb::Exclamation << int(QMessageBox::Warning) << vb::OK << vb::OK;
        QTest::newRow("yes/no") << (vb::YesNo | vb::Question) << int(QMessageBox::Question) << vb::Yes
                                << vb::No;
        QTest::newRow("yes/no, No the default") << (vb::YesNo | vb::Question | vb::DefaultButton2)
                                                << int(QMessageBox::Question) << vb::No << vb::No;
    }

    void boxFollowsTheFlags()
    {
        QFETCH(int, flags);
        QFETCH(int, icon);
        QFETCH(int, defaultAnswer);
        QFETCH(int, escapeAnswer);
        QtDesktop desktop(m_state);
        const auto box = desktop.messageBox(QStringLiteral("a"), flags, QStringLiteral("t"));
        QCOMPARE(int(box->icon()), icon);
        QCOMPARE(box->buttons().size(), (flags & 0xF) == vb::YesNo ? 2 : 1);
        box->defaultButton()->click();
        QCOMPARE(QtDesktop::answerOf(*box), defaultAnswer);
        const auto closed = desktop.messageBox(QStringLiteral("a"), flags, QStringLiteral("t"));
        QCOMPARE(QtDesktop::answerOf(*closed), escapeAnswer); // closed without a button
    }

    void carriageReturnsBreakLinesAndTitleDefaults()
    {
        QtDesktop desktop(m_state);
        const auto box = desktop.messageBox(QStringLiteral("um\rdois\r\ntrês <b>&</b>"), vb::OKOnly, {});
        QCOMPARE(box->text(), QStringLiteral("um\ndois\ntrês <b>&</b>"));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->windowTitle(), QStringLiteral("Plano de Contas"));
        // What a topic the installation's help cannot open shows; the reliability suite drives it.
        QCOMPARE(QtDesktop::HelpMessage, QStringLiteral("A Ajuda não abre ou tópico não existe"));
    }

    void soundFile_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("file"); // empty: nothing to play
        QTest::newRow("1 error") << 1 << "somerro.wav";
        QTest::newRow("7 click") << 7 << "mousecli.wav";
        QTest::newRow("2 removed from Sons") << 2 << "";
        QTest::newRow("0") << 0 << "";
        QTest::newRow("8") << 8 << "";
    }

    void soundFile()
    {
        QFETCH(int, number);
        QFETCH(QString, file);
        const QString expected = file.isEmpty() ? QString() : program() + QStringLiteral("Sons/") + file;
        QCOMPARE(QtDesktop::soundPath(program(), number), expected);
        QCOMPARE(QtDesktop::soundPath(program().chopped(1), number), expected);
    }

    void moduleProgram_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("path");
        QTest::newRow("3 Vendas") << "/opt/varemo/" << 3 << "/opt/varemo/Vendas";
        QTest::newRow("separator appended") << "/opt/varemo" << 10 << "/opt/varemo/Empresa";
        QTest::newRow("11 starts nothing") << "/opt/varemo/" << 11 << "";
    }

    void moduleProgram()
    {
        QFETCH(QString, folder);
        QFETCH(int, number);
        QFETCH(QString, path);
        QCOMPARE(QtDesktop::moduleProgram(folder, number), path);
    }

    void placementRoundTrip()
    {
        const QString app = QStringLiteral("Ida e Volta");
        QWidget saved;
        saved.setGeometry(120, 80, 640, 480);
        placement::save(saved, app);
        QSettings settings(QStringLiteral("Varemo"), app);
        settings.beginGroup(placement::Group);
        QCOMPARE(settings.childKeys().size(), 8);
        QCOMPARE(settings.value(QStringLiteral("Right")).toString(), QStringLiteral("760"));
        QCOMPARE(settings.value(QStringLiteral("Bottom")).toString(), QStringLiteral("560"));
        QWidget restored;
        QVERIFY(placement::restore(restored, app));
        QCOMPARE(restored.geometry(), QRect(120, 80, 640, 480));
    }

    void savedPlacement_data()
    {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<bool>("saved");
        QTest::addColumn<QRect>("geometry");
        QTest::addColumn<bool>("maximized");
        QTest::newRow("nothing saved") << QStringList() << false << QRect(0, 0, 100, 100) << false;
        QTest::newRow("Right of exactly 100")
            << QStringList {"Left", "10", "Top", "20", "Right", "100", "Bottom", "300"} << false
            << QRect(10, 20, 90, 280) << false;
        QTest::newRow("Right of 101")
            << QStringList {"Left", "10", "Top", "20", "Right", "101", "Bottom", "300"} << true
            << QRect(10, 20, 91, 280) << false;
        QTest::newRow("absent keys take their defaults")
            << QStringList {"Right", "500"} << true << QRect(0, 0, 500, 100) << false;
        QTest::newRow("maximised comes back maximised")
            << QStringList {"showCmd", "3", "Left", "5", "Top", "5", "Right", "805", "Bottom", "605"} << true
            << QRect(5, 5, 800, 600) << true;
    }

    void savedPlacement()
    {
        QFETCH(QStringList, keys);
        QFETCH(bool, saved);
        QFETCH(QRect, geometry);
        QFETCH(bool, maximized);
        const QString app = QStringLiteral("Posicao %1").arg(QString::fromLatin1(QTest::currentDataTag()));
        writeKeys(app, keys);
        QWidget window;
        QCOMPARE(placement::restore(window, app), saved);
        QCOMPARE(window.isMaximized(), maximized);
        if (!maximized)
            QCOMPARE(window.geometry(), geometry);
    }
};

VAREMO_TEST(TestDesktop);
#include "test_desktop.moc"
