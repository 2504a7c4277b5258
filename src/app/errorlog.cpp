#include "app/errorlog.h"

#include "app/cp1252.h"
#include "app/desktop.h"
#include "app/state.h"
#include "data/errors.h"

#include <QDir>
#include <QFile>
#include <QLocale>

namespace varemo {

namespace errorlog {

namespace {

const QString CR = QStringLiteral("\r");

// Unpadded, unlike the About box: the other modules write it the same way.
QString version(const AppState& state)
{
    return QStringLiteral("%1.%2.%3").arg(state.major).arg(state.minor).arg(state.revision);
}

QByteArray encodeLines(const QStringList& lines)
{
    QByteArray bytes;
    for (const QString& line : lines)
        bytes += cp1252::encode(line) + "\r\n";
    return bytes;
}

// The suite's modules read the log as Windows text whatever platform wrote it.
void appendRecord(const QString& filePath, const QStringList& lines)
{
    QFile file(filePath);
    const bool isNew = !file.exists();
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return;
    QByteArray bytes;
    if (isNew)
        bytes = encodeLines({Header, QString()});
    bytes += encodeLines(lines);
    file.write(bytes);
}

} // namespace

QString dateLine(const QDateTime& now)
{
    const QLocale portuguese(QLocale::Portuguese, QLocale::Brazil);
    const QDate date = now.date();
    return QStringLiteral("%1-%2-%3  %4")
        .arg(date.day(), 2, 10, QLatin1Char('0'))
        .arg(portuguese.monthName(date.month(), QLocale::LongFormat))
        .arg(date.year(), 4, 10, QLatin1Char('0'))
        .arg(now.time().toString(QStringLiteral("HH:mm")));
}

QStringList recordLines(const AppState& state, const QString& routine, const QString& description,
    qint32 number, const QDateTime& now)
{
    return {
        dateLine(now),
        QStringLiteral("Usuário: ") + state.userName,
        QStringLiteral("Programa: ") + state.title,
        QStringLiteral("Rotina: ") + routine,
        QStringLiteral("Versão ") + version(state),
        QStringLiteral("Erro número: ") + QString::number(number),
        QStringLiteral("Descrição: ") + description,
        QString(),
    };
}

QString message(const AppState& state, const QString& routine, const QString& description, qint32 number)
{
    return QStringLiteral("Erro no Programa ") + state.title + CR
        + QStringLiteral("Anote os dados abaixo e informe ao desenvolvedor :") + CR + CR
        + QStringLiteral("Rotina em que houve o erro: ") + routine + CR + QStringLiteral("Versão ")
        + version(state) + CR + QStringLiteral("Erro número: ") + QString::number(number) + CR
        + QStringLiteral("Descrição: ") + description;
}

QString path(const AppState& state)
{
    return state.dataFolder + QStringLiteral("Dados") + QDir::separator() + QStringLiteral("Erros.txt");
}

} // namespace errorlog

void logError(AppState& state, Desktop& desktop, const QString& routine, const QString& description,
    qint32 number, const QDateTime& now)
{
    // Each step's own failure is swallowed and the next still runs: the routine that called
    // us is already in trouble and must not be thrown out of its handler.
    try {
        errorlog::appendRecord(
            errorlog::path(state), errorlog::recordLines(state, routine, description, number, now));
    } catch (...) {
    }
    try {
        desktop.playSound(errorlog::Sound);
    } catch (...) {
    }
    try {
        desktop.msgbox(errorlog::message(state, routine, description, number), vb::Critical, errorlog::Title);
    } catch (...) {
    }
}

void logError(
    AppState& state, Desktop& desktop, const QString& routine, const QString& description, qint32 number)
{
    logError(state, desktop, routine, description, number, QDateTime::currentDateTime());
}

void logError(AppState& state, Desktop& desktop, const QString& routine, const JetError& error)
{
    logError(state, desktop, routine, error.description(), error.number());
}

} // namespace varemo
