#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

// Windows-1252, the code page of the suite's shared text files. Qt 6.4 has no codec for
// it, so the 32 characters it places in 0x80..0x9F are mapped here by hand.
namespace varemo::cp1252 {

// Every character the code page cannot hold (an emoji, a Cyrillic letter) becomes one '?':
// a record is never shortened by a character it could not write.
QByteArray encode(QStringView text);

// The five bytes the code page leaves undefined come back as U+FFFD.
QString decode(QByteArrayView bytes);

} // namespace varemo::cp1252
