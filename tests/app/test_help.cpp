#include "app/helptopics.h"
#include "app/helpviewer.h"
#include "support/testregistry.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QHelpEngine>
#include <QHelpSearchEngine>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>

using namespace varemo;

namespace {

QString builtProgramFolder()
{
    return qEnvironmentVariable("VAREMO_PROGRAM_DIR");
}

// A program folder holding only the named help files.
QString folderWith(const QTemporaryDir& dir, const QStringList& files)
{
    QDir(dir.path()).mkpath(QStringLiteral("Ajuda"));
    for (const QString& name : files)
        QFile::copy(builtProgramFolder() + QStringLiteral("/Ajuda/") + name,
            dir.filePath(QStringLiteral("Ajuda/") + name));
    return dir.path();
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

    QTemporaryDir m_collection;
    QHelpEngine* m_engine = nullptr;

    QString page(const QUrl& url) const { return QString::fromUtf8(m_engine->fileData(url)); }

private slots:
    void initTestCase()
    {
        QVERIFY(!builtProgramFolder().isEmpty());
        m_engine = new QHelpEngine(m_collection.filePath(QStringLiteral("t.qhc")), this);
        m_engine->setReadOnly(false);
        QVERIFY(m_engine->setupData());
        for (const int context : {0, help::FirstShared}) {
            const QString file
                = builtProgramFolder() + QStringLiteral("/Ajuda/") + help::helpFileName(context);
            QVERIFY2(m_engine->registerDocumentation(file), qPrintable(m_engine->error()));
        }
        QSignalSpy indexed(m_engine->searchEngine(), &QHelpSearchEngine::indexingFinished);
        m_engine->searchEngine()->reindexDocumentation();
        QVERIFY(indexed.wait(20000));
    }

    void everyTopicIsInItsFile_data()
    {
        QTest::addColumn<int>("context");
        for (const help::Topic& topic : help::topics())
            QTest::addRow("%d", topic.context) << topic.context;
    }
    void everyTopicIsInItsFile()
    {
        QFETCH(int, context);
        const QString html = page(help::topicUrl(context));
        QVERIFY2(!html.isEmpty(), qPrintable(help::topicUrl(context).toString()));
        QVERIFY(html.contains(QStringLiteral("<title>") + help::topicTitle(context)));
        QVERIFY(m_engine->documentationFileName(help::helpNamespace(context))
                    .endsWith(QStringLiteral("/Ajuda/") + help::helpFileName(context)));
    }

    void everyLinkResolves_data()
    {
        QTest::addColumn<QUrl>("pageUrl");
        for (const QString& ns : m_engine->registeredDocumentations())
            for (const QUrl& url : m_engine->files(ns, QString(), QStringLiteral("html")))
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
            QCOMPARE(target.scheme(), QStringLiteral("qthelp"));
            const QString html = page(target);
            QVERIFY2(!html.isEmpty(), qPrintable(match.captured(1)));
            if (target.hasFragment())
                QVERIFY2(html.contains(QStringLiteral("id=\"%1\"").arg(target.fragment())),
                    qPrintable(match.captured(1)));
        }
    }

    void searchFindsPortugueseWords_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("expected");
        QTest::newRow("accented") << QStringLiteral("apóstrofo") << QStringLiteral("1000.html");
        QTest::newRow("plain") << QStringLiteral("retroativo") << QStringLiteral("27000.html");
        QTest::newRow("shared help") << QStringLiteral("revisão") << QStringLiteral("30010.html");
    }
    void searchFindsPortugueseWords()
    {
        QFETCH(QString, word);
        QFETCH(QString, expected);
        QHelpSearchEngine* search = m_engine->searchEngine();
        QSignalSpy found(search, &QHelpSearchEngine::searchingFinished);
        search->search(word);
        QVERIFY(found.wait(10000));
        QStringList pages;
        for (const auto& result : search->searchResults(0, search->searchResultCount()))
            pages << result.url().fileName();
        QVERIFY2(pages.contains(expected), qPrintable(pages.join(QLatin1Char(' '))));
    }

    void viewerChoosesFileAndTopic_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<int>("context");
        QTest::addColumn<QString>("expected"); // empty: show() must fail
        const QStringList both {QStringLiteral("Contas.qch"), QStringLiteral("Sobre o Sistema.qch")};
        QTest::newRow("default topic") << both << 0 << QStringLiteral("/contas/index.html");
        QTest::newRow("search window") << both << 25000 << QStringLiteral("/contas/25000.html");
        QTest::newRow("About") << both << 30020 << QStringLiteral("/sistema/30020.html");
        QTest::newRow("30001 needs shared") << both.mid(0, 1) << 30001 << QString();
        QTest::newRow("29000 needs module") << both.mid(1) << 29000 << QString();
        QTest::newRow("30001 shared only") << both.mid(1) << 30001 << QStringLiteral("/sistema/30001.html");
        QTest::newRow("missing topic") << both << 12345 << QString();
        QTest::newRow("no Ajuda files") << QStringList() << 0 << QString();
    }
    void viewerChoosesFileAndTopic()
    {
        QFETCH(QStringList, files);
        QFETCH(int, context);
        QFETCH(QString, expected);
        QTemporaryDir program;
        HelpViewer viewer(folderWith(program, files));
        QCOMPARE(viewer.show(context), !expected.isEmpty());
        QCOMPARE(viewer.isVisible(), !expected.isEmpty());
        if (!expected.isEmpty()) {
            QCOMPARE(viewer.currentUrl().path(), expected);
            QVERIFY(viewer.browser()->toPlainText().contains(help::topicTitle(context)));
            // The page's style sheet reached the window: its title is in the guide's blue.
            QTextBlock block = viewer.browser()->document()->begin();
            while (block.isValid() && block.blockFormat().headingLevel() != 1)
                block = block.next();
            QCOMPARE(block.begin().fragment().charFormat().foreground().color(), QColor(0x1d5a8c));
        }
    }

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
