#include "app/placement.h"
#include "app/qtdesktop.h"
#include "app/state.h"
#include "support/testregistry.h"

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

private slots:
    void initTestCase()
    {
        // Placements of these tests never reach the person's own settings.
        for (const auto format : {QSettings::NativeFormat, QSettings::IniFormat})
            QSettings::setPath(format, QSettings::UserScope, m_dir.filePath(QStringLiteral("config")));
    }

    void boxFollowsTheFlags_data()
    {
        QTest::addColumn<int>("flags");
        QTest::addColumn<int>("icon");
        QTest::addColumn<int>("defaultAnswer"); // what Enter answers
        QTest::addColumn<int>("escapeAnswer");
        const auto row = [](const char* tag, int flags, QMessageBox::Icon icon, int enter, int escape) {
            QTest::newRow(tag) << flags << int(icon) << enter << escape;
        };
        row("ok, critical", vb::Critical, QMessageBox::Critical, vb::OK, vb::OK);
        row("ok, exclamation", vb::Exclamation, QMessageBox::Warning, vb::OK, vb::OK);
        row("yes/no", vb::YesNo | vb::Question, QMessageBox::Question, vb::Yes, vb::No);
        row("yes/no, No the default", vb::YesNo | vb::Question | vb::DefaultButton2, QMessageBox::Question,
            vb::No, vb::No);
    }
    // Lines break at carriage returns, the text is plain, and the title defaults to the module's.
    void boxFollowsTheFlags()
    {
        QFETCH(int, flags);
        QFETCH(int, icon);
        QFETCH(int, defaultAnswer);
        QFETCH(int, escapeAnswer);
        QtDesktop desktop(m_state);
        const auto box = desktop.messageBox(QStringLiteral("um\rdois\r\ntrês <b>&</b>"), flags, {});
        QCOMPARE(box->text() + u'|' + box->windowTitle(),
            QStringLiteral("um\ndois\ntrês <b>&</b>|Plano de Contas"));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(int(box->icon()), icon);
        QCOMPARE(box->buttons().size(), (flags & 0xF) == vb::YesNo ? 2 : 1);
        box->defaultButton()->click();
        QCOMPARE(QtDesktop::answerOf(*box), defaultAnswer);
        const auto closed = desktop.messageBox(QStringLiteral("a"), flags, QStringLiteral("t"));
        QCOMPARE(QtDesktop::answerOf(*closed), escapeAnswer); // closed without a button
    }

    // The program folder's sounds by number, and the sibling modules' programs beside it;
    // the folder may come without its closing separator.
    void filesOfTheProgramFolder_data()
    {
        QTest::addColumn<QString>("path");
        const QString sons = qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/Sons/");
        QTest::newRow("sound 1") << sons + "somerro.wav";
        QTest::newRow("sound 7") << sons + "mousecli.wav";
        QTest::newRow("sound 8") << QString();
        QTest::newRow("module 3") << QStringLiteral("/opt/varemo/Vendas");
        QTest::newRow("module 10") << QStringLiteral("/opt/varemo/Empresa");
        QTest::newRow("module 11") << QString();
    }
    void filesOfTheProgramFolder()
    {
        QFETCH(QString, path);
        const QString tag = QString::fromLatin1(QTest::currentDataTag());
        const int number = tag.section(u' ', 1).toInt();
        const QString program = qEnvironmentVariable("VAREMO_PROGRAM_DIR");
        for (const QString& end : {QString(), QStringLiteral("/")})
            QCOMPARE(tag.startsWith(u"sound")
                    ? QtDesktop::soundPath(program + end, number)
                    : QtDesktop::moduleProgram(QStringLiteral("/opt/varemo") + end, number),
                path);
    }

    // Saved as the far corner; a window narrower than 100 was never placed.
    void savedPlacement_data()
    {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<bool>("saved");
        QTest::addColumn<QRect>("geometry");
        QTest::addColumn<bool>("maximized");
        const auto row = [](const char* tag, const QStringList& keys, bool saved, QRect geometry,
                             bool max = false) { QTest::newRow(tag) << keys << saved << geometry << max; };
        row("nothing saved", {}, false, QRect(0, 0, 100, 100));
        row("Right of exactly 100", {"Left", "10", "Top", "20", "Right", "100", "Bottom", "300"}, false,
            QRect(10, 20, 90, 280));
        row("Right of 101", {"Left", "10", "Top", "20", "Right", "101", "Bottom", "300"}, true,
            QRect(10, 20, 91, 280));
        row("absent keys take their defaults", {"Right", "500"}, true, QRect(0, 0, 500, 100));
        row("maximised comes back maximised",
            {"showCmd", "3", "Left", "5", "Top", "5", "Right", "805", "Bottom", "605"}, true, QRect(), true);
        row("as saved", {"save"}, true, QRect(120, 80, 640, 480));
    }
    void savedPlacement()
    {
        QFETCH(QStringList, keys);
        QFETCH(bool, saved);
        QFETCH(QRect, geometry);
        QFETCH(bool, maximized);
        const QString app = QStringLiteral("Posicao %1").arg(QString::fromLatin1(QTest::currentDataTag()));
        {
            QSettings settings(QStringLiteral("Varemo"), app);
            settings.beginGroup(placement::Group);
            for (qsizetype i = 0; i + 1 < keys.size(); i += 2)
                settings.setValue(keys[i], keys[i + 1]);
        }
        if (keys == QStringList {QStringLiteral("save")}) {
            QWidget source;
            source.setGeometry(geometry);
            placement::save(source, app);
        }
        QWidget window;
        QCOMPARE(placement::restore(window, app), saved);
        QCOMPARE(window.isMaximized(), maximized);
        if (!maximized)
            QCOMPARE(window.geometry(), geometry);
    }
};

VAREMO_TEST(TestDesktop);
#include "test_desktop.moc"
