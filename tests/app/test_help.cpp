#include "app/helptopics.h"
#include "app/helpviewer.h"
#include "support/testregistry.h"

#include <QDialog>
#include <QHelpEngine>
#include <QRegularExpression>
#include <QTest>
#include <QTextBrowser>

#include <memory>

using namespace varemo;

namespace {

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
        m_viewer = std::make_unique<HelpViewer>(qEnvironmentVariable("VAREMO_PROGRAM_DIR"));
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
};

VAREMO_TEST(TestHelp);
#include "test_help.moc"
