// Finding words in the report: every text that holds them is marked, the next mark's page shown.

#include "reports/viewer.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>

#include <algorithm>
#include <numeric>

namespace varemo::reports {

namespace {

// Lower case without accents, one character for one: "pao" finds "Pão".
QString fold(const QString& text)
{
    QString folded;
    folded.reserve(text.size());
    for (const QChar c : text) {
        if (c.unicode() < 128) { // most of a report: no accent to take off
            folded += c.toLower();
            continue;
        }
        const QString base = QString(c).normalized(QString::NormalizationForm_D);
        folded += (base.isEmpty() ? c : base.at(0)).toLower();
    }
    return folded;
}

} // namespace

void ReportViewer::buildFindBar()
{
    BarraLocalizar = new QWidget(this);
    BarraLocalizar->setObjectName(QStringLiteral("BarraLocalizar"));
    TextoLocalizar = new QLineEdit;
    TextoLocalizar->setObjectName(QStringLiteral("TextoLocalizar"));
    TextoLocalizar->setPlaceholderText(QStringLiteral("Texto a localizar no relatório"));
    TextoLocalizar->setClearButtonEnabled(true);
    connect(TextoLocalizar, &QLineEdit::returnPressed, this, [this] { findNext(); });
    // new words: the old marks no longer say anything
    connect(TextoLocalizar, &QLineEdit::textEdited, this, [this] {
        clearHits();
        ResultadoLocalizar->clear();
    });
    BotaoAnterior = new QPushButton(QStringLiteral("Anterior"));
    // inside a dialog a button would take the Enter meant for the text box
    BotaoAnterior->setAutoDefault(false);
    connect(BotaoAnterior, &QPushButton::clicked, this, [this] { findNext(true); });
    BotaoProxima = new QPushButton(QStringLiteral("Próxima"));
    BotaoProxima->setAutoDefault(false);
    connect(BotaoProxima, &QPushButton::clicked, this, [this] { findNext(); });
    ResultadoLocalizar = new QLabel;
    ResultadoLocalizar->setObjectName(QStringLiteral("ResultadoLocalizar"));
    auto* close = new QToolButton;
    close->setText(QStringLiteral("Fechar"));
    close->setToolTip(QStringLiteral("Fechar a localização"));
    connect(close, &QToolButton::clicked, this, &ReportViewer::hideFind);
    // Esc while finding closes the find bar, not the window
    auto* escape = new QAction(BarraLocalizar);
    escape->setShortcut(Qt::Key_Escape);
    escape->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(escape, &QAction::triggered, this, &ReportViewer::hideFind);
    BarraLocalizar->addAction(escape);

    auto* row = new QHBoxLayout(BarraLocalizar);
    row->setContentsMargins(6, 3, 6, 3);
    row->addWidget(new QLabel(QStringLiteral("Localizar:")));
    row->addWidget(TextoLocalizar, 1);
    row->addWidget(BotaoAnterior);
    row->addWidget(BotaoProxima);
    row->addWidget(ResultadoLocalizar, 1);
    row->addWidget(close);
    BarraLocalizar->hide();
}

void ReportViewer::showFind()
{
    BarraLocalizar->show();
    TextoLocalizar->setFocus();
    TextoLocalizar->selectAll();
}

void ReportViewer::hideFind()
{
    BarraLocalizar->hide();
    clearHits();
    ResultadoLocalizar->clear();
}

void ReportViewer::clearHits()
{
    m_hits.clear();
    m_hitIndex = -1;
    Paginas->setHits({}, -1);
}

int ReportViewer::find(const QString& text)
{
    clearHits();
    const QString needle = fold(text.trimmed());
    if (!m_report || needle.isEmpty())
        return 0;
    const auto& pages = m_report->document.pages;
    for (int p = 0; p < int(pages.size()); ++p) {
        const auto& texts = pages[size_t(p)].texts;
        // reading order, so "next" walks down the page
        std::vector<int> order(texts.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&texts](int a, int b) {
            const QRectF& ra = texts[size_t(a)].rect;
            const QRectF& rb = texts[size_t(b)].rect;
            if (qAbs(ra.top() - rb.top()) > 0.01)
                return ra.top() < rb.top();
            return ra.left() < rb.left();
        });
        for (int run : order) {
            if (fold(texts[size_t(run)].text).contains(needle))
                m_hits.push_back({p, run});
        }
    }
    Paginas->setHits(m_hits, -1);
    return int(m_hits.size());
}

bool ReportViewer::findNext(bool backwards)
{
    const QString text = TextoLocalizar->text();
    if (m_hits.empty())
        find(text);
    if (m_hits.empty()) {
        const QString wanted = text.trimmed();
        ResultadoLocalizar->setText(
            wanted.isEmpty() ? QString() : QStringLiteral("Nenhuma ocorrência de “%1”").arg(wanted));
        return false;
    }
    const int count = int(m_hits.size());
    if (m_hitIndex >= 0) {
        m_hitIndex = (m_hitIndex + (backwards ? count - 1 : 1)) % count;
    } else if (backwards) {
        // the last mark on or before the page in sight, else the report's last
        m_hitIndex = count - 1;
        for (int h = count - 1; h >= 0; --h) {
            if (m_hits[size_t(h)].page <= m_current) {
                m_hitIndex = h;
                break;
            }
        }
    } else {
        const auto from = std::find_if(
            m_hits.begin(), m_hits.end(), [this](const Hit& hit) { return hit.page >= m_current; });
        m_hitIndex = from == m_hits.end() ? 0 : int(from - m_hits.begin());
    }
    const Hit hit = m_hits[size_t(m_hitIndex)];
    Paginas->setHits(m_hits, m_hitIndex);
    const qreal y = m_report->document.pages[size_t(hit.page)].texts[size_t(hit.run)].rect.top();
    goToPage(hit.page, true, y);
    ResultadoLocalizar->setText(QStringLiteral("%1 de %2 ocorrências").arg(m_hitIndex + 1).arg(count));
    return true;
}

std::optional<Hit> ReportViewer::currentHit() const
{
    if (m_hitIndex < 0 || m_hitIndex >= int(m_hits.size()))
        return std::nullopt;
    return m_hits[size_t(m_hitIndex)];
}

} // namespace varemo::reports
