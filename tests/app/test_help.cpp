#include "app/helptopics.h"
#include "app/helpviewer.h"
#include "support/testregistry.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QHelpEngine>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>

#include <memory>

using namespace varemo;

namespace {

QString builtProgramFolder()
{
    return qEnvironmentVariable("VAREMO_PROGRAM_DIR");
}

// Follows whether a window is blocked by a modal one.
class BlockWatch : public QObject {
public:
    bool blocked = false;
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::WindowBlocked || event->type() == QEvent::WindowUnblocked)
            blocked = event->type() == QEvent::WindowBlocked;
        return false;
    }
};

} // namespace

class TestHelp : public QObject {
    Q_OBJECT

    // The help of the installation the build lays out.
    std::unique_ptr<HelpViewer> m_viewer;

    QString page(const QUrl& url) const { return QString::fromUtf8(m_viewer->engine()->fileData(url)); }

private slots:
    void initTestCase()
    {
        m_viewer = std::make_unique<HelpViewer>(builtProgramFolder());
        QVERIFY(m_viewer->show(0));
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
        QVERIFY(m_viewer->browser()->toPlainText().contains(help::topicTitle(context)));
        QVERIFY(
            page(help::topicUrl(context)).contains(QStringLiteral("<title>") + help::topicTitle(context)));
    }

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

    // Module topics need the module's file, shared ones (30001 on) the shared file.
    void viewerNeedsTheTopicsFile_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<int>("context");
        QTest::addColumn<QString>("expected"); // empty: show() must fail
        const QStringList both {QStringLiteral("Contas.qch"), QStringLiteral("Sobre o Sistema.qch")};
        QTest::newRow("30001 needs shared") << both.mid(0, 1) << 30001 << "";
        QTest::newRow("29000 needs module") << both.mid(1) << 29000 << "";
        QTest::newRow("30001 shared only") << both.mid(1) << 30001 << "/sistema/30001.html";
        QTest::newRow("missing topic") << both << 12345 << "";
        QTest::newRow("no Ajuda files") << QStringList() << 0 << "";
    }
    void viewerNeedsTheTopicsFile()
    {
        QFETCH(QStringList, files);
        QFETCH(int, context);
        QFETCH(QString, expected);
        QTemporaryDir program;
        QDir(program.path()).mkpath(QStringLiteral("Ajuda"));
        for (const QString& name : files)
            QFile::copy(
                builtProgramFolder() + QStringLiteral("/Ajuda/") + name, program.filePath("Ajuda/" + name));
        HelpViewer viewer(program.path());
        QCOMPARE(viewer.show(context), !expected.isEmpty());
        QCOMPARE(viewer.isVisible(), !expected.isEmpty());
        if (!expected.isEmpty())
            QCOMPARE(viewer.currentUrl().path(), expected);
    }

    // Help asked for from a modal window is usable beside it, and goes back through its pages.
    void viewerKeepsHistoryAndOutlivesModalWindows()
    {
        HelpViewer viewer(builtProgramFolder());
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
};

VAREMO_TEST(TestHelp);
#include "test_help.moc"
