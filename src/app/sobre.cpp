#include "app/sobre.h"

#include "app/artwork.h"
#include "app/desktop.h"
#include "app/state.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QWindow>

namespace varemo {

namespace {

const QSize PictureSize(480, 300);
constexpr int FooterHeight = 50;

const char* const footerStyle = R"(
QFrame#Rodape { background: rgba(3, 24, 18, 170); border-top: 1px solid rgba(212, 175, 55, 150); }
QLabel { color: rgba(245, 221, 138, 190); background: transparent; }
QPushButton {
    min-width: 78px; min-height: 24px; padding: 2px 12px; border-radius: 4px;
    font-weight: 600; color: #f5dd8a; background: rgba(20, 92, 64, 200);
    border: 1px solid #d4af37;
}
QPushButton:hover { background: rgba(46, 139, 94, 230); }
QPushButton:pressed { background: rgba(11, 51, 38, 255); }
QPushButton:default { color: #0b3326; background: #d4af37; border-color: #f5dd8a; }
QPushButton:default:hover { background: #e6c45a; }
QPushButton:focus { outline: none; }
)";

} // namespace

QString versionText(int major, int minor, int revision)
{
    const QString minorText = QString::number(minor).trimmed();
    const QString revisionText = QString::number(revision).trimmed();
    return QString::number(major).trimmed() + QLatin1Char('.') + (QStringLiteral("00") + minorText).right(2)
        + QLatin1Char('.') + (QStringLiteral("00") + revisionText).right(4);
}

Sobre::Sobre(AppState& state, Desktop& desktop, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint)
    , m_desktop(desktop)
{
    setObjectName(QStringLiteral("Sobre"));
    setWindowTitle(QStringLiteral("Sobre o Módulo de ") + state.title);

    // The window takes the picture's size, the picture its top-left corner.
    Imagem = new QLabel(this);
    Imagem->setObjectName(QStringLiteral("Imagem"));
    const QPixmap picture = artwork::aboutPicture(PictureSize, std::max<qreal>(1.0, devicePixelRatioF()));
    Imagem->setPixmap(picture);
    const QSize size = picture.deviceIndependentSize().toSize();
    Imagem->setGeometry(0, 0, size.width(), size.height());
    setFixedSize(size);

    VerNomeProduto = addLabel(QStringLiteral("VerNomeProduto"), state.title, artwork::Cream);
    VerNomeProduto->setFont(artwork::sansFont(16, QFont::Bold));
    VerNomeProduto->setGeometry(195, 82, 265, 30);
    VerVersao = addLabel(QStringLiteral("VerVersao"), versionText(state.major, state.minor, state.revision),
        artwork::GoldLight);
    VerVersao->setFont(artwork::sansFont(11, QFont::DemiBold));
    VerVersao->setGeometry(195, 134, 200, 22);
    VerDescricao = addLabel(QStringLiteral("VerDescricao"), AppDescription, QColor(0xd9, 0xe8, 0xdf));
    VerDescricao->setFont(artwork::sansFont(8.5));
    VerDescricao->setWordWrap(true);
    VerDescricao->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    VerDescricao->setGeometry(195, 166, 262, 72);

    buildFooter();

    for (QLabel* handle : {Imagem, VerNomeProduto, VerVersao, VerDescricao})
        handle->installEventFilter(this);
}

QLabel* Sobre::addLabel(const QString& name, const QString& text, const QColor& color)
{
    auto* label = new QLabel(text, this);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setStyleSheet(QStringLiteral("background: transparent; color: %1;").arg(color.name()));
    return label;
}

// The button strip lies over the picture but is not part of it, so it does not drag.
void Sobre::buildFooter()
{
    auto* footer = new QFrame(this);
    footer->setObjectName(QStringLiteral("Rodape"));
    footer->setStyleSheet(QString::fromUtf8(footerStyle));
    footer->setGeometry(0, height() - FooterHeight, width(), FooterHeight);
    auto* strip = new QHBoxLayout(footer);
    strip->setContentsMargins(18, 0, 16, 4);
    strip->setSpacing(10);
    auto* notice = new QLabel(QStringLiteral("© Varemo Sistemas de Gestão"), footer);
    notice->setObjectName(QStringLiteral("Aviso"));
    notice->setFont(artwork::sansFont(7.5));
    strip->addWidget(notice);
    strip->addStretch(1);
    const std::array<QString, 2> texts {QStringLiteral("Ajuda"), QStringLiteral("Fechar")};
    for (int index = 0; index < 2; ++index) {
        auto* button = new QPushButton(texts[static_cast<std::size_t>(index)], footer);
        button->setObjectName(QStringLiteral("Botao%1").arg(index));
        button->setCursor(Qt::PointingHandCursor);
        connect(button, &QPushButton::clicked, this, [this, index] { Botao_Click(index); });
        strip->addWidget(button);
        Botao[static_cast<std::size_t>(index)] = button;
    }
    Botao[1]->setDefault(true);
    Botao[1]->setFocus();
}

void Sobre::Botao_Click(int index)
{
    m_desktop.playSound(ClickSound);
    if (index == 0)
        m_desktop.showHelp(HelpContext);
    else if (index == 1)
        close();
}

bool Sobre::isDragHandle(const QObject* object) const
{
    return object != nullptr
        && (object == Imagem || object == VerNomeProduto || object == VerVersao || object == VerDescricao);
}

void Sobre::beginDrag(QPoint globalPos)
{
    m_dragOffset.reset();
    // As a press on a caption would: the window manager moves the window with the mouse.
    if (QWindow* handle = windowHandle(); handle != nullptr && handle->startSystemMove())
        return;
    m_dragOffset = globalPos - pos();
}

bool Sobre::eventFilter(QObject* watched, QEvent* event)
{
    if (!isDragHandle(watched))
        return QDialog::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::MouseButtonPress: {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->button() != Qt::LeftButton)
            break;
        beginDrag(mouse->globalPosition().toPoint());
        return true;
    }
    case QEvent::MouseMove: {
        if (!m_dragOffset)
            break;
        const auto* mouse = static_cast<QMouseEvent*>(event);
        if (mouse->buttons() & Qt::LeftButton)
            move(mouse->globalPosition().toPoint() - *m_dragOffset);
        else
            m_dragOffset.reset();
        return true;
    }
    case QEvent::MouseButtonRelease:
        if (!m_dragOffset)
            break;
        m_dragOffset.reset();
        return true;
    default:
        break;
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace varemo
