#include "app/entrada.h"

#include "app/artwork.h"
#include "app/state.h"

#include <QGuiApplication>
#include <QLabel>
#include <QPainter>
#include <QScreen>
#include <QTimer>

namespace varemo {

namespace {

const QSize SplashSize(500, 270);
constexpr int SealSize = 180;
constexpr int TextLeft = 214;

} // namespace

Entrada::Entrada(AppState& state, QWidget* parent)
    : QWidget(parent, Qt::SplashScreen | Qt::FramelessWindowHint)
    , m_state(state)
{
    setObjectName(QStringLiteral("Entrada"));
    setWindowTitle(state.title);
    setFixedSize(SplashSize);

    Selo = new QLabel(this);
    Selo->setObjectName(QStringLiteral("Selo"));
    Selo->setPixmap(artwork::sealPicture(SealSize, std::max<qreal>(1.0, devicePixelRatioF())));
    Selo->setGeometry(26, (SplashSize.height() - SealSize) / 2 - 4, SealSize, SealSize);

    const int width = SplashSize.width() - TextLeft - 24;
    Titulo
        = addLabel(QStringLiteral("Titulo"), state.title, artwork::Cream, artwork::sansFont(18, QFont::Bold));
    Titulo->setGeometry(TextLeft, 92, width, 34);
    Versao = addLabel(QStringLiteral("Versao"), QStringLiteral("Versão ") + state.versionText,
        artwork::GoldLight, artwork::sansFont(10, QFont::DemiBold));
    Versao->setGeometry(TextLeft, 128, width, 20);
    Empresa = addLabel(
        QStringLiteral("Empresa"), state.companyName, QColor(0xd9, 0xe8, 0xdf), artwork::sansFont(10.5));
    Empresa->setGeometry(TextLeft, 152, width, 40);
    Empresa->setWordWrap(true); // a long company name wraps rather than being cut
    QFont loadingFont = artwork::sansFont(8.5);
    loadingFont.setItalic(true);
    QLabel* loading = addLabel(QStringLiteral("Carregando"),
        QStringLiteral("Carregando o plano de contas..."), QColor(0xb9, 0xd3, 0xc4), loadingFont);
    loading->setGeometry(TextLeft, 214, width, 20);

    // Started by start-up once the main window's load has been run.
    Timer1 = new QTimer(this);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    Timer1->setInterval(TimerInterval);
    connect(Timer1, &QTimer::timeout, this, &Entrada::Timer1_Timer);

    centerOnScreen();
}

QLabel* Entrada::addLabel(const QString& name, const QString& text, const QColor& color, const QFont& font)
{
    auto* label = new QLabel(text, this);
    label->setObjectName(name);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    label->setStyleSheet(QStringLiteral("background: transparent; color: %1;").arg(color.name()));
    return label;
}

void Entrada::showCompany(const QString& name)
{
    Empresa->setText(name);
}

void Entrada::centerOnScreen()
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr)
        return;
    move(screen->availableGeometry().center() - rect().center());
}

void Entrada::Timer1_Timer()
{
    if (!m_state.mainWindowReady)
        return;
    Timer1->stop();
    // The main window goes up before the splash goes away, so the application is never
    // left without a visible window (which would end it).
    if (m_mainWindow)
        m_mainWindow->show();
    close();
}

void Entrada::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    artwork::paintBackdrop(painter, QRectF(rect()));
    const QString brand = QStringLiteral("Varemo");
    painter.setFont(artwork::serifFont(28, QFont::Bold));
    painter.setPen(QColor(0, 0, 0, 110));
    painter.drawText(QPointF(TextLeft + 2, 76), brand);
    painter.setPen(artwork::GoldLight);
    painter.drawText(QPointF(TextLeft, 74), brand);
    painter.setPen(artwork::Gold);
    painter.drawLine(QPointF(TextLeft, 86), QPointF(width() - 26, 86));
    painter.setPen(QColor(212, 175, 55, 90));
    painter.drawLine(QPointF(TextLeft, 202), QPointF(width() - 26, 202));
}

} // namespace varemo
