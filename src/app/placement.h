#pragma once

#include <QString>

class QWidget;

// The main window's placement in the per-user settings store (organisation "Varemo", one
// application per module title), group "Posicao": eight keys kept as decimal text, the
// names and defaults every module of the suite uses.
namespace varemo::placement {

inline const QString Group = QStringLiteral("Posicao");

// How the window was last shown (the "showCmd" key).
inline constexpr int ShowNormal = 1, ShowMinimized = 2, ShowMaximized = 3, ShowRestore = 9;

// Applies what is saved (absent or unreadable keys give their defaults) in every case;
// false when "Right" came back as 100, which means nothing was saved and the caller
// places the window itself.
bool restore(QWidget& window, const QString& appName);
void save(const QWidget& window, const QString& appName);

} // namespace varemo::placement
