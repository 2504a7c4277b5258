#include "app/cp1252.h"

#include <array>

namespace varemo::cp1252 {

namespace {

// Bytes 0x80..0x9F; zero marks the bytes the code page does not define.
constexpr std::array<char16_t, 32> upperControls {
    0x20AC, 0, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, // 80..87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0, 0x017D, 0, // 88..8F
    0, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, // 90..97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0, 0x017E, 0x0178, // 98..9F
};

char byteFor(char32_t codePoint)
{
    if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF))
        return static_cast<char>(codePoint);
    for (std::size_t i = 0; i < upperControls.size(); ++i) {
        if (upperControls[i] != 0 && upperControls[i] == codePoint)
            return static_cast<char>(0x80 + i);
    }
    return '?';
}

} // namespace

QByteArray encode(QStringView text)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        char32_t codePoint = c.unicode();
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(c, text[i + 1]);
            ++i;
        } else if (c.isSurrogate()) {
            codePoint = 0xFFFD; // a lone half of a pair holds no character
        }
        bytes.append(byteFor(codePoint));
    }
    return bytes;
}

QString decode(QByteArrayView bytes)
{
    QString text;
    text.reserve(bytes.size());
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value >= 0x80 && value < 0xA0) {
            const char16_t mapped = upperControls[value - 0x80];
            text.append(mapped != 0 ? QChar(mapped) : QChar(QChar::ReplacementCharacter));
        } else {
            text.append(QChar(value));
        }
    }
    return text;
}

} // namespace varemo::cp1252
