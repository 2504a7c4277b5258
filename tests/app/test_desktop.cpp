#include "app/entrada.h"
#include "app/errorlog.h"
#include "app/helptopics.h"
#include "app/helpviewer.h"
#include "app/placement.h"
#include "app/qtdesktop.h"
#include "app/singleinstance.h"
#include "app/sobre.h"
#include "app/startup.h"
#include "app/state.h"
#include "editor/contas.h"
#include "support/company.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QHelpEngine>
#include <QLabel>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
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

// The module on the desktop: start-up, the single running copy, the error log, message boxes, its
// files, window placement, the help viewer, the about box and the splash.
class TestDesktop : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_cwd;
    AppState m_state;
    test::FakeDesktop m_desktop;
    std::unique_ptr<HelpViewer> m_viewer; // the help of the installation the build lays out

    QString page(const QUrl& url) const { return QString::fromUtf8(m_viewer->engine()->fileData(url)); }

private slots:
    void init()
    {
        m_desktop = test::FakeDesktop();
        m_cwd = QDir::currentPath();
    }
    void cleanup() { QDir::setCurrent(m_cwd); }
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

    // Start-up stops with one box and logs nothing; another copy running ends it silently.
    void stopsWithItsMessage_data()
    {
        QTest::addColumn<QString>("breakage");
        QTest::addColumn<QString>("box");
        const auto row
            = [](const char* breakage, const QString& box) { QTest::newRow(breakage) << breakage << box; };
        const QString ini = QStringLiteral("box Sumiu o arquivo Empresa.ini|Arquivo não encontrado|%1")
                                .arg(vb::Exclamation);
        row("no Caminho.dad", QString(ini).replace("arquivo Empresa.ini", "arquivo path da rede"));
        row("data folder without closing separator", ini);
        row("no Empresa.ini", ini);
        row("garbage empresa.mdb",
            QStringLiteral(
                "box Arquivo de banco de dados empresa.mdb corrompido\rou não é .mdb. Solicite ajuda do "
                "Adm. de Sistema|Arquivo corrompido ou com defeitos|%1")
                .arg(vb::Critical));
        row("a database of something else",
            QStringLiteral(
                "box Solicite ajuda do Adm. de Sistema\rBanco de dados não encontrado\rou com formato "
                ".mdb impróprio!|Arquivo não existe ou impróprio|%1")
                .arg(vb::Critical));
        row("another copy running", {});
    }
    void stopsWithItsMessage()
    {
        QFETCH(QString, breakage);
        QFETCH(QString, box);
        test::TestCompany company(test::TestCompany::Seed::Empty);
        company.closeSql();
        const QString caminho = company.programFolder() + QStringLiteral("Caminho.dad");
        AppState state;
        test::FakeDesktop desktop;
        desktop.runningCopy = breakage.startsWith(u"another");
        if (breakage.startsWith(u"no Caminho"))
            QVERIFY(QFile::remove(caminho));
        else if (breakage.startsWith(u"data folder"))
            test::writeFile(caminho, company.dataFolder().chopped(1).toUtf8() + "\r\n");
        else if (breakage.startsWith(u"no Empresa"))
            QVERIFY(QFile::remove(company.dataFolder() + QStringLiteral("Empresa.ini")));
        else if (breakage.startsWith(u"garbage"))
            test::writeFile(company.databasePath(), QByteArray(8192, 'x'));
        else if (breakage.startsWith(u"a database")) {
            QVERIFY(QFile::remove(company.databasePath()));
            company.exec(QStringLiteral("CREATE TABLE Clientes (Codigo INTEGER PRIMARY KEY, Nome TEXT)"));
            company.closeSql();
        }
        QVERIFY(start(company.programFolder(), state, desktop) == nullptr);
        QCOMPARE(desktop.calls.join(u'/') + QString::number(desktop.activations), box + u'1');
        QVERIFY(!state.database && !QFile::exists(company.errorLogPath()));
    }

    // The first line names the data folder, in Windows-1252 or UTF-8, whatever its line end; an
    // empty one: the current folder. The program folder may come without its closing separator.
    void caminhoDad_data()
    {
        QTest::addColumn<QByteArray>("content"); // "%R": the installation's root
        QTest::addColumn<bool>("fromDataFolder"); // the current folder when Caminho.dad is read
        QTest::addColumn<bool>("starts");
        QTest::newRow("windows-1252, CR LF") << QByteArray("%R\xC1rea Cont\xE1"
                                                           "bil/\r\n")
                                             << false << true;
        QTest::newRow("utf-8, lone LF and a second line")
            << QStringLiteral("%RÁrea Contábil/\n/outra/pasta/\n").toUtf8() << false << true;
        QTest::newRow("empty, run from the data folder") << QByteArray() << true << true;
        QTest::newRow("empty, run from elsewhere") << QByteArray() << false << false;
    }
    void caminhoDad()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, fromDataFolder);
        QFETCH(bool, starts);
        test::TestCompany company;
        company.closeSql();
        const QString accented = company.root() + QStringLiteral("Área Contábil/");
        QVERIFY(QFile::link(company.dataFolder(), accented.chopped(1)));
        test::writeFile(company.programFolder() + QStringLiteral("Caminho.dad"),
            content.replace("%R", company.root().toUtf8()));
        QVERIFY(QDir::setCurrent(fromDataFolder ? company.dataFolder() : company.root()));
        AppState state;
        test::FakeDesktop desktop;
        const auto window = start(company.programFolder().chopped(1), state, desktop);
        QCOMPARE(state.dataFolder, content.isEmpty() ? QString() : accented);
        QCOMPARE(window != nullptr, starts);
        if (starts)
            QCOMPARE(QStringList({state.programFolder, state.companyName, QDir::currentPath(),
                         QString::number(desktop.boxes.size())}),
                QStringList({company.programFolder(), QStringLiteral("Padaria Teste Ltda"),
                    QDir(company.dataFolder() + QStringLiteral("Dados")).canonicalPath(), "0"}));
    }

    // Every later copy of the module, and no copy of another module, wakes the live one, whose
    // window comes back as it was before it was minimised.
    void laterCopiesActivateTheLiveOne()
    {
        const QString title = QStringLiteral("Teste Guarda %1").arg(QCoreApplication::applicationPid());
        InstanceGuard other(QStringLiteral("Outro Módulo") + title);
        QVERIFY(other.listen());
        QVERIFY(!InstanceGuard::askRunningCopy(title, 100));
        InstanceGuard first(title);
        QVERIFY(first.listen());
        QVERIFY(!InstanceGuard(title).listen());
        QSignalSpy activations(&first, &InstanceGuard::activationRequested);
        for (int copy = 1; copy <= 2; ++copy) {
            QVERIFY(InstanceGuard::askRunningCopy(title));
            QTRY_COMPARE(activations.size(), copy);
        }
        for (const auto was : {Qt::WindowNoState, Qt::WindowMaximized}) {
            QWidget window;
            window.setWindowState(was | Qt::WindowMinimized);
            bringToFront(window);
            QVERIFY(window.isVisible());
            QCOMPARE(window.windowState() & (Qt::WindowMinimized | Qt::WindowMaximized), was);
        }
    }

    // Each error adds its record under the header in Windows-1252, '?' for what it cannot hold;
    // the person hears and sees it too.
    void errorLog_data()
    {
        QTest::addColumn<QDateTime>("when");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QByteArray>("bytes"); // the date line, then the description
        const QDateTime november5(QDate(2025, 11, 5), QTime(9, 7, 41));
        QTest::newRow("march afternoon, accents")
            << QDateTime(QDate(2026, 3, 31), QTime(17, 59, 59)) << QStringLiteral("Ocupação Água")
            << QByteArray("31-mar\xE7o-2026  17:59|Ocupa\xE7\xE3o \xC1gua");
        QTest::newRow("midnight, cp1252 upper controls")
            << QDateTime(QDate(2024, 1, 1), QTime(0, 0)) << QStringLiteral("€ – “x” …")
            << QByteArray("01-janeiro-2024  00:00|\x80 \x96 \x93x\x94 \x85");
        QTest::newRow("emoji") << november5 << QStringLiteral("pão 😀!")
                               << QByteArray("05-novembro-2025  09:07|p\xE3o ?!");
        QTest::newRow("lone surrogate")
            << november5 << QString(QChar(0xD800)) + u'a' << QByteArray("05-novembro-2025  09:07|?a");
        QTest::newRow("line breaks kept")
            << november5 << QStringLiteral("a\r\nb") << QByteArray("05-novembro-2025  09:07|a\r\nb");
    }
    void errorLog()
    {
        QFETCH(QDateTime, when);
        QFETCH(QString, description);
        QFETCH(QByteArray, bytes);
        QTemporaryDir folder;
        QVERIFY(QDir().mkpath(folder.filePath(QStringLiteral("Dados"))));
        AppState state;
        state.dataFolder = folder.path() + u'/';
        state.major = 1;
        state.minor = 2;
        state.revision = 30;
        test::FakeDesktop desktop;
        for (int i = 0; i < 2; ++i)
            logError(state, desktop, rotina::Movimento, description, 3021, when);
        const QByteArray record = bytes.split('|')[0]
            + "\r\nUsu\xE1rio: \r\nPrograma: Plano de Contas\r\nRotina: Erro no Movimento_Click\r\nVers\xE3o "
              "1.2.30\r\nErro n\xFAmero: 3021\r\nDescri\xE7\xE3o: "
            + bytes.split('|')[1] + "\r\n\r\n";
        QCOMPARE(test::readFile(folder.filePath(QStringLiteral("Dados/Erros.txt"))),
            "***** NAO APAGUE AS LINHAS ABAIXO *****\r\n\r\n" + record + record);
        QCOMPARE(desktop.sounds, (QList<int> {1, 1}));
        QCOMPARE(desktop.calls.last(),
            QStringLiteral(
                "box Erro no Programa Plano de Contas\rAnote os dados abaixo e informe ao desenvolvedor "
                ":\r\rRotina em que houve o erro: Erro no Movimento_Click\rVersão 1.2.30\rErro número: "
                "3021\rDescrição: %1|Tratamento de Erros|%2")
                .arg(description)
                .arg(vb::Critical));
    }
};

VAREMO_TEST(TestDesktop);
#include "test_desktop.moc"
