#include "app/entrada.h"
#include "app/helptopics.h"
#include "app/helpviewer.h"
#include "app/placement.h"
#include "app/qtdesktop.h"
#include "app/sobre.h"
#include "app/state.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QDialog>
#include <QHelpEngine>
#include <QLabel>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>

#include <memory>

using namespace varemo;

namespace {

// Follows whether a window is blocked by a modal one.
struct BlockWatch : QObject {
    bool blocked = false;
    bool eventFilter(QObject*, QEvent* e) override
    {
        blocked = e->type() == QEvent::WindowBlocked || (blocked && e->type() != QEvent::WindowUnblocked);
        return false;
    }
};

} // namespace

// What the desktop shows for the module: message boxes, its files, window placement, the help
// viewer, the about box and the splash.
class TestDesktop : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    AppState m_state;
    test::FakeDesktop m_desktop;
    std::unique_ptr<HelpViewer> m_viewer; // the help of the installation the build lays out

    QString page(const QUrl& url) const { return QString::fromUtf8(m_viewer->engine()->fileData(url)); }

private slots:
    void init() { m_desktop = test::FakeDesktop(); }
    void initTestCase()
    {
        // Placements of these tests never reach the person's own settings.
        for (const auto format : {QSettings::NativeFormat, QSettings::IniFormat})
            QSettings::setPath(format, QSettings::UserScope, m_dir.filePath(QStringLiteral("config")));
        m_viewer = std::make_unique<HelpViewer>(qEnvironmentVariable("VAREMO_PROGRAM_DIR"));
        QVERIFY(m_viewer->show(0));
    }

    // Lines break at carriage returns, the text is plain, the title defaults to the module's;
    // the flags choose the icon, the buttons and what Enter and a close without a button answer.
    void boxFollowsTheFlags_data()
    {
        QTest::addColumn<int>("flags");
        QTest::addColumn<QList<int>>("expected"); // icon, buttons, Enter's answer, the close's answer
        QTest::newRow("ok, critical")
            << int(vb::Critical) << QList<int> {QMessageBox::Critical, 1, vb::OK, vb::OK};
        QTest::newRow("ok, exclamation")
            << int(vb::Exclamation) << QList<int> {QMessageBox::Warning, 1, vb::OK, vb::OK};
        QTest::newRow("yes/no") << (vb::YesNo | vb::Question)
                                << QList<int> {QMessageBox::Question, 2, vb::Yes, vb::No};
        QTest::newRow("yes/no, No the default") << (vb::YesNo | vb::Question | vb::DefaultButton2)
                                                << QList<int> {QMessageBox::Question, 2, vb::No, vb::No};
    }
    void boxFollowsTheFlags()
    {
        QFETCH(int, flags);
        QFETCH(QList<int>, expected);
        QtDesktop desktop(m_state);
        const auto box = desktop.messageBox(QStringLiteral("um\rdois\r\ntrês <b>&</b>"), flags, {});
        QCOMPARE(box->text() + u'|' + box->windowTitle(),
            QStringLiteral("um\ndois\ntrês <b>&</b>|Plano de Contas"));
        QCOMPARE(box->textFormat(), Qt::PlainText);
        box->defaultButton()->click();
        const auto closed = desktop.messageBox(QStringLiteral("a"), flags, QStringLiteral("t"));
        QCOMPARE(QList<int>({int(box->icon()), int(box->buttons().size()), QtDesktop::answerOf(*box),
                     QtDesktop::answerOf(*closed)}),
            expected);
    }

    // The program folder's sounds by number, and the sibling modules' programs beside it;
    // the folder may come without its closing separator.
    void filesOfTheProgramFolder_data()
    {
        QTest::addColumn<QString>("path");
        const QString sons = qEnvironmentVariable("VAREMO_PROGRAM_DIR") + QStringLiteral("/Sons/");
        QTest::newRow("sound 1") << sons + "somerro.wav";
        QTest::newRow("sound 8") << QString();
        QTest::newRow("module 10") << QStringLiteral("/opt/varemo/Empresa");
        QTest::newRow("module 11") << QString();
    }
    void filesOfTheProgramFolder()
    {
        QFETCH(QString, path);
        const QString tag = QString::fromLatin1(QTest::currentDataTag());
        const int number = tag.section(u' ', 1).toInt();
        for (const QString& end : {QString(), QStringLiteral("/")})
            QCOMPARE(tag.startsWith(u"sound")
                    ? QtDesktop::soundPath(qEnvironmentVariable("VAREMO_PROGRAM_DIR") + end, number)
                    : QtDesktop::moduleProgram(QStringLiteral("/opt/varemo") + end, number),
                path);
    }

    // Saved as the far corner; a window narrower than 100 was never placed. A null geometry: maximised.
    void savedPlacement_data()
    {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<bool>("saved");
        QTest::addColumn<QRect>("geometry");
        const auto row = [](const char* tag, const QStringList& keys, bool saved, QRect geometry) {
            QTest::newRow(tag) << keys << saved << geometry;
        };
        row("nothing saved", {}, false, QRect(0, 0, 100, 100));
        row("Right of exactly 100", {"Left", "10", "Top", "20", "Right", "100", "Bottom", "300"}, false,
            QRect(10, 20, 90, 280));
        row("Right of 101", {"Left", "10", "Top", "20", "Right", "101", "Bottom", "300"}, true,
            QRect(10, 20, 91, 280));
        row("absent keys take their defaults", {"Right", "500"}, true, QRect(0, 0, 500, 100));
        row("maximised comes back maximised",
            {"showCmd", "3", "Left", "5", "Top", "5", "Right", "805", "Bottom", "605"}, true, QRect());
        row("as saved", {"save"}, true, QRect(120, 80, 640, 480));
    }
    void savedPlacement()
    {
        QFETCH(QStringList, keys);
        QFETCH(bool, saved);
        QFETCH(QRect, geometry);
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
        QCOMPARE(window.isMaximized() ? QRect() : window.geometry(), geometry);
    }

    // Every topic opens from its own file, titled as the program names it.
    void everyTopicShows_data()
    {
        QTest::addColumn<int>("context");
        for (const help::Topic& topic : help::topics())
            QTest::addRow("%d", topic.context) << topic.context;
    }
    void everyTopicShows()
    {
        QFETCH(int, context);
        QVERIFY(m_viewer->show(context));
        QCOMPARE(m_viewer->currentUrl(), help::topicUrl(context));
        QVERIFY(
            page(help::topicUrl(context)).contains(QStringLiteral("<title>") + help::topicTitle(context)));
    }

    // Every link of every page leads to a page of the help, and to an anchor it names.
    void everyLinkResolves_data()
    {
        QTest::addColumn<QUrl>("pageUrl");
        QHelpEngine* engine = m_viewer->engine();
        for (const QString& ns : engine->registeredDocumentations())
            for (const QUrl& url : engine->files(ns, QString(), QStringLiteral("html")))
                QTest::addRow("%s", qPrintable(url.path())) << url;
    }
    void everyLinkResolves()
    {
        QFETCH(QUrl, pageUrl);
        static const QRegularExpression link(QStringLiteral("(?:href|src)=\"([^\"]*)\""));
        for (const auto& match : link.globalMatch(page(pageUrl))) {
            const QUrl target = pageUrl.resolved(QUrl(match.captured(1)));
            if (target.scheme() == QLatin1String("mailto"))
                continue;
            const QString html = page(target);
            QVERIFY2(
                target.scheme() == QLatin1String("qthelp") && !html.isEmpty(), qPrintable(match.captured(1)));
            QVERIFY2(
                !target.hasFragment() || html.contains(QStringLiteral("id=\"%1\"").arg(target.fragment())),
                qPrintable(match.captured(1)));
        }
    }

    // Help asked for from a modal window is usable beside it, and goes back through its pages;
    // a topic it does not have opens nothing.
    void viewerKeepsHistoryAndOutlivesModalWindows()
    {
        HelpViewer viewer(qEnvironmentVariable("VAREMO_PROGRAM_DIR"));
        QVERIFY(!viewer.show(12345) && !viewer.isVisible());
        BlockWatch watch;
        viewer.installEventFilter(&watch);
        QVERIFY(viewer.show(help::Arvore));
        QDialog dialog;
        dialog.setWindowModality(Qt::ApplicationModal);
        dialog.show();
        QVERIFY(watch.blocked);
        QVERIFY(viewer.show(help::Procura));
        QVERIFY(!watch.blocked);
        viewer.browser()->backward();
        QCOMPARE(viewer.currentUrl().fileName(), QStringLiteral("1010.html"));
    }

    // Two digits of the minor version and at most four of the revision (row name: minor, revision).
    void versionText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("4 21") << "1.04.0021";
        QTest::newRow("0 12345") << "1.00.2345";
        QTest::newRow("2 3") << "1.02.003";
        QTest::newRow("123 0") << "1.23.000";
    }
    void versionText()
    {
        QFETCH(QString, text);
        const QStringList numbers = QString::fromLatin1(QTest::currentDataTag()).split(u' ');
        m_state.major = 1;
        m_state.minor = numbers[0].toInt();
        m_state.revision = numbers[1].toInt();
        Sobre about(m_state, m_desktop);
        QCOMPARE(about.VerVersao->text() + u'|' + about.windowTitle(),
            text + QStringLiteral("|Sobre o Módulo de Plano de Contas"));
        QVERIFY(about.windowFlags().testFlag(Qt::FramelessWindowHint));
    }

    void dragsAndButtons_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("moves");
        QTest::newRow("Imagem") << "Imagem" << true;
        QTest::newRow("VerVersao") << "VerVersao" << true;
        QTest::newRow("button strip") << "Rodape" << false;
    }
    void dragsAndButtons()
    {
        QFETCH(QString, name);
        QFETCH(bool, moves);
        Sobre about(m_state, m_desktop);
        about.move(200, 150);
        about.show();
        QVERIFY(QTest::qWaitForWindowExposed(&about));
        auto* target = about.findChild<QWidget*>(name);
        const QPoint start = about.pos();
        const QPoint press = target->mapToGlobal(QPoint(3, 3));
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseButtonRelease}) {
            const QPoint global = type == QEvent::MouseButtonPress ? press : press + QPoint(40, 25);
            QMouseEvent event(type, target->mapFromGlobal(QPointF(global)), QPointF(global),
                type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(target, &event);
        }
        QCOMPARE(about.pos(), moves ? start + QPoint(40, 25) : start);
        about.Botao[0]->click();
        QVERIFY(about.isVisible());
        about.Botao[1]->click();
        QVERIFY(!about.isVisible());
        QCOMPARE(m_desktop.sounds, QList<int>({7, 7}));
        QCOMPARE(m_desktop.helpContexts, QList<int> {30020});
    }

    // The splash waits for the main window's load, however many ticks it takes.
    void splashHandsOverOnceReady()
    {
        QWidget main;
        Entrada splash(m_state);
        splash.setMainWindow(&main);
        splash.show();
        splash.Timer1->start();
        QTest::qWait(3 * Entrada::TimerInterval);
        QVERIFY(splash.isVisible() && !main.isVisible());
        m_state.mainWindowReady = true;
        QTRY_VERIFY(main.isVisible());
        QVERIFY(!splash.isVisible() && !splash.Timer1->isActive());
    }
};

VAREMO_TEST(TestDesktop);
#include "test_desktop.moc"
