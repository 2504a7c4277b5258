#include "app/sobre.h"
#include "app/state.h"
#include "support/fakedesktop.h"
#include "support/testregistry.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>

using namespace varemo;

class TestSobre : public QObject {
    Q_OBJECT

    AppState m_state;
    test::FakeDesktop m_desktop;

    static void send(QWidget* target, QEvent::Type type, QPoint global, Qt::MouseButtons buttons)
    {
        const QPointF local = target->mapFromGlobal(QPointF(global));
        QMouseEvent event(type, local, QPointF(global),
            type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(target, &event);
    }

private slots:
    void init() { m_desktop = test::FakeDesktop(); }

    void versionText_data()
    {
        QTest::addColumn<int>("major");
        QTest::addColumn<int>("minor");
        QTest::addColumn<int>("revision");
        QTest::addColumn<QString>("text");
        QTest::newRow("1 2 3") << 1 << 2 << 3 << "1.02.003";
        QTest::newRow("1 12 345") << 1 << 12 << 345 << "1.12.0345";
        QTest::newRow("five-digit revision keeps four") << 2 << 0 << 12345 << "2.00.2345";
        QTest::newRow("three-digit minor keeps two") << 10 << 123 << 0 << "10.23.000";
    }

    void versionText()
    {
        QFETCH(int, major);
        QFETCH(int, minor);
        QFETCH(int, revision);
        QFETCH(QString, text);
        QCOMPARE(varemo::versionText(major, minor, revision), text);
    }

    void sizedToItsPictureWithoutTitleBar()
    {
        m_state.minor = 4;
        m_state.revision = 21;
        Sobre about(m_state, m_desktop);
        QCOMPARE(about.windowTitle(), QStringLiteral("Sobre o Módulo de Plano de Contas"));
        QVERIFY(about.windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(about.Imagem->geometry(), QRect(QPoint(0, 0), about.size()));
        QCOMPARE(about.VerVersao->text(), QStringLiteral("%1.04.0021").arg(m_state.major));
    }

    // Pressing on the picture or a label moves the window; the buttons' strip does not.
    void dragsOnlyByPictureAndLabels_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("moves");
        QTest::newRow("Imagem") << "Imagem" << true;
        QTest::newRow("VerNomeProduto") << "VerNomeProduto" << true;
        QTest::newRow("VerVersao") << "VerVersao" << true;
        QTest::newRow("VerDescricao") << "VerDescricao" << true;
        QTest::newRow("button strip") << "Rodape" << false;
        QTest::newRow("notice on the strip") << "Aviso" << false;
        QTest::newRow("Botao 1") << "Botao1" << false;
    }

    void dragsOnlyByPictureAndLabels()
    {
        QFETCH(QString, name);
        QFETCH(bool, moves);
        Sobre about(m_state, m_desktop);
        about.move(200, 150);
        about.show();
        QVERIFY(QTest::qWaitForWindowExposed(&about));
        auto* target = about.findChild<QWidget*>(name);
        QVERIFY(target != nullptr);
        const QPoint start = about.pos();
        const QPoint press = target->mapToGlobal(QPoint(3, 3));
        send(target, QEvent::MouseButtonPress, press, Qt::LeftButton);
        send(target, QEvent::MouseMove, press + QPoint(40, 25), Qt::LeftButton);
        send(target, QEvent::MouseButtonRelease, press + QPoint(40, 25), Qt::NoButton);
        QCOMPARE(about.pos(), moves ? start + QPoint(40, 25) : start);
    }

    void buttons_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QList<int>>("help");
        QTest::addColumn<bool>("open");
        QTest::newRow("0 help") << 0 << QList<int> {30020} << true;
        QTest::newRow("1 close") << 1 << QList<int> {} << false;
    }

    void buttons()
    {
        QFETCH(int, index);
        QFETCH(QList<int>, help);
        QFETCH(bool, open);
        Sobre about(m_state, m_desktop);
        about.show();
        about.Botao[static_cast<std::size_t>(index)]->click();
        QCOMPARE(m_desktop.sounds, QList<int> {7});
        QCOMPARE(m_desktop.helpContexts, help);
        QCOMPARE(about.isVisible(), open);
    }
};

VAREMO_TEST(TestSobre);
#include "test_sobre.moc"
