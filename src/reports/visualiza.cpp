// The report preview.

#include "reports/visualiza.h"

#include "reports/viewer.h"

#include <QAction>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QScreen>

#include <array>

namespace varemo {

namespace {

struct Translation {
    const char16_t* delivered;
    const char16_t* caption;
    const char16_t* tooltip;
};

// The viewer's tools arrive in English; the person reads Portuguese.
const std::array<Translation, 13> ToolTranslations {{
    {u"Table Of Contents", u"Índice", u"Mostrar índice"},
    {u"&Print...", u"Imprimir...", u"Imprimir relatório"},
    {u"Copy", u"Copiar", u"Copiar relatório"},
    {u"Find", u"Localizar", u"Localizar palavras no relatório"},
    {u"Single View", u"Vista Única", u"Visualizar uma página"},
    {u"Multi Page View", u"Várias Páginas", u"Visualizar várias páginas"},
    {u"Zoom out", u"Diminuir", u"Reduzindo a visão"},
    {u"Zoom in", u"Aumentar", u"Aumentando a visão"},
    {u"PrevPage", u"Página Anterior", u"Mostra página anterior"},
    {u"NextPage", u"Próxima página", u"Mostra próxima página"},
    {u"Page Number Edit", u"Digite o número da página", u"Número da página mostrada"},
    {u"&Back", u"&Voltar", u"Voltar página já mostrada"},
    {u"F&orward", u"&Avançar", u"Avançar página já mostrada"},
}};

constexpr int Zoom = 100;

} // namespace

Visualiza::Visualiza(AppState& state, Desktop& desktop, QWidget* parent)
    : Visualiza(state, desktop, nullptr, parent)
{
}

Visualiza::Visualiza(AppState& state, Desktop& desktop, reports::ReportViewer* viewer, QWidget* parent)
    : QDialog(parent)
    , m_state(state)
    , m_desktop(desktop)
{
    setObjectName(QStringLiteral("Visualiza"));
    setWindowFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMinMaxButtonsHint
        | Qt::WindowCloseButtonHint);
    Visual = viewer ? viewer : new reports::ReportViewer(m_desktop);
    Visual->setParent(this);
    Visual->show();
    setMinimumSize(1, 1);
    // a generous window, still within a small screen
    QSize size(1020, 860);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableGeometry().size() * 0.9);
    resize(size);
    Form_Load();
}

Visualiza::~Visualiza() = default;

void Visualiza::Form_Load()
{
    for (QAction* tool : Visual->tools()) {
        for (const Translation& row : ToolTranslations) {
            if (tool->text() == QString::fromUtf16(row.delivered)) {
                tool->setText(QString::fromUtf16(row.caption));
                tool->setToolTip(QString::fromUtf16(row.tooltip));
                break;
            }
        }
    }
    Visual->addDisplayChoice(QStringLiteral("Larg.Pág."), 1);
    Visual->addDisplayChoice(QStringLiteral("Índice"), 0);
    Visual->addDisplayChoice(QStringLiteral("Pág.Toda"), 2);
    Visual->setZoom(Zoom);
}

void Visualiza::RunReport(reports::Report report)
{
    const QString caption = report.caption;
    Visual->setReportSource(std::move(report));
    Visual->setZoom(Zoom);
    setWindowTitle(caption);
}

void Visualiza::Form_Resize()
{
    Visual->setGeometry(0, 0, width(), height());
}

void Visualiza::Form_Unload()
{
    if (Visual->reportSource())
        Visual->releaseReport();
}

void Visualiza::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    Form_Resize();
}

void Visualiza::closeEvent(QCloseEvent* event)
{
    Form_Unload();
    QDialog::closeEvent(event);
}

void Visualiza::done(int result)
{
    // Esc and the close button both end here
    Form_Unload();
    QDialog::done(result);
}

} // namespace varemo
