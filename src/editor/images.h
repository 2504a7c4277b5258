#pragma once

#include <QIcon>
#include <QString>

namespace varemo {

// The tree's three check pictures, by image key.
inline const QString ImageNone = QStringLiteral("Nenhum");
inline const QString ImageSome = QStringLiteral("Alguns");
inline const QString ImageAll = QStringLiteral("Todos");

// The picture of a check state; an unknown key gets the "Nenhum" picture.
QIcon checkIcon(const QString& image);

// A toolbar picture by name ("incluir", "gravar"...); an unknown name gets none.
QIcon toolIcon(const QString& name);

// The program's window icon: a small ledger.
QIcon programIcon();

} // namespace varemo
