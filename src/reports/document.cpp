#include "reports/document.h"

#include <QStringList>

#include <algorithm>

namespace varemo::reports {

std::pair<int, int> Document::find(const QString& needle, int fromPage) const
{
    for (int p = std::max(fromPage, 0); p < int(pages.size()); ++p) {
        const auto& texts = pages[size_t(p)].texts;
        for (size_t t = 0; t < texts.size(); ++t) {
            if (texts[t].text.contains(needle, Qt::CaseInsensitive))
                return {p, int(t)};
        }
    }
    return {-1, -1};
}

QString Document::pageText(int page) const
{
    if (page < 0 || page >= int(pages.size()))
        return {};
    std::vector<const TextRun*> runs;
    for (const auto& run : pages[size_t(page)].texts)
        runs.push_back(&run);
    // reading order: rows top to bottom, then left to right within a row
    std::stable_sort(runs.begin(), runs.end(), [](const TextRun* a, const TextRun* b) {
        if (qAbs(a->rect.top() - b->rect.top()) > 0.01)
            return a->rect.top() < b->rect.top();
        return a->rect.left() < b->rect.left();
    });
    QStringList lines;
    qreal lastTop = -1;
    for (const TextRun* run : runs) {
        if (!lines.isEmpty() && qAbs(run->rect.top() - lastTop) <= 0.01)
            lines.last() += QLatin1Char('\t') + run->text;
        else
            lines << run->text;
        lastTop = run->rect.top();
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace varemo::reports
