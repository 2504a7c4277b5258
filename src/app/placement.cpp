#include "app/placement.h"

#include <QRect>
#include <QSettings>
#include <QWidget>

#include <array>
#include <utility>

namespace varemo::placement {

namespace {

using Key = std::pair<const char*, int>;
// The keys and their defaults, in the order they are written.
constexpr std::array<Key, 8> Keys {{
    {"flags", 0},
    {"showCmd", ShowRestore},
    {"MinX", 100},
    {"MinY", 100},
    {"Left", 0},
    {"Top", 0},
    {"Right", 100},
    {"Bottom", 100},
}};
constexpr int NothingSavedRight = 100;

int readKey(const QSettings& settings, const Key& key)
{
    bool ok = false;
    const int value = settings.value(QLatin1String(key.first)).toString().trimmed().toInt(&ok);
    return ok ? value : key.second;
}

} // namespace

bool restore(QWidget& window, const QString& appName)
{
    QSettings settings(QStringLiteral("Varemo"), appName);
    settings.beginGroup(Group);
    std::array<int, Keys.size()> values {};
    for (std::size_t i = 0; i < Keys.size(); ++i)
        values[i] = readKey(settings, Keys[i]);
    const int showCmd = values[1];
    const int left = values[4];
    const int top = values[5];
    const int right = values[6];
    const int bottom = values[7];

    window.setGeometry(QRect(left, top, std::max(1, right - left), std::max(1, bottom - top)));
    // A window left minimised comes back restored: starting as an icon helps nobody.
    if (showCmd == ShowMaximized)
        window.setWindowState(window.windowState() | Qt::WindowMaximized);
    return right != NothingSavedRight;
}

void save(const QWidget& window, const QString& appName)
{
    int showCmd = ShowNormal;
    if (window.isMinimized())
        showCmd = ShowMinimized;
    else if (window.isMaximized())
        showCmd = ShowMaximized;
    // The restored rectangle, also while the window is maximised or minimised.
    QRect rect = window.normalGeometry();
    if (rect.isEmpty())
        rect = window.geometry();
    const std::array<int, Keys.size()> values {
        0,
        showCmd,
        -1,
        -1,
        rect.left(),
        rect.top(),
        rect.left() + rect.width(),
        rect.top() + rect.height(),
    };

    QSettings settings(QStringLiteral("Varemo"), appName);
    settings.beginGroup(Group);
    for (std::size_t i = 0; i < Keys.size(); ++i)
        settings.setValue(QLatin1String(Keys[i].first), QString::number(values[i]));
    settings.endGroup();
    settings.sync();
}

} // namespace varemo::placement
