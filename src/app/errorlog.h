#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace varemo {

struct AppState;
class Desktop;
class JetError;

// The routine names each caller writes into the suite's shared error log.
namespace rotina {
inline const QString AbrirPrograma = QStringLiteral("Erro ao Abrir Programa");
inline const QString TotalRegistros = QStringLiteral("Total de Registros");
inline const QString Inserindo = QStringLiteral("Inserindo");
inline const QString ExcluindoRegistro = QStringLiteral("Excluindo Registro");
inline const QString OrdenarNomes = QStringLiteral("Ordenar Nomes");
inline const QString Movimento = QStringLiteral("Erro no Movimento_Click");
inline const QString MoveFiltro = QStringLiteral("Erro no Move_Click");
inline const QString TreeView = QStringLiteral("Colocando dados no TreeView");
} // namespace rotina

// Appends the eight-line record to the data folder's "Dados/Erros.txt", plays the error
// sound and shows the person what to copy down. Never throws: a log that cannot be written
// loses the record, and the sound and the message still come.
void logError(
    AppState& state, Desktop& desktop, const QString& routine, const QString& description, qint32 number);
// The same at a given moment (the record's first line carries the date and time).
void logError(AppState& state, Desktop& desktop, const QString& routine, const QString& description,
    qint32 number, const QDateTime& now);
// A trapped engine failure: its number and description.
void logError(AppState& state, Desktop& desktop, const QString& routine, const JetError& error);

namespace errorlog {

inline const QString Header = QStringLiteral("***** NAO APAGUE AS LINHAS ABAIXO *****");
inline const QString Title = QStringLiteral("Tratamento de Erros");
inline constexpr int Sound = 1;

// "dd-mmmm-yyyy  hh:mm" with the Portuguese month name.
QString dateLine(const QDateTime& now);
// The record's eight lines, without line ends (a description's own breaks stay inside).
QStringList recordLines(const AppState& state, const QString& routine, const QString& description,
    qint32 number, const QDateTime& now);
// The message shown to the person; a carriage return alone breaks its lines.
QString message(const AppState& state, const QString& routine, const QString& description, qint32 number);
// Data folder + "Dados/Erros.txt", the data folder used as a plain prefix.
QString path(const AppState& state);

} // namespace errorlog

} // namespace varemo
