#pragma once

#include <QString>
#include <QStringView>
#include <QVariant>

#include <exception>
#include <optional>

// What a person may type as a name or a search content. The names go to the company file,
// which the suite's other modules read too; the checks run before any statement is built.
namespace varemo::typed {

// A name is a Jet Text field: the other modules hold at most 255 characters.
inline constexpr int MaxName = 255;

inline const QString InvalidTitle = QStringLiteral("Nome inválido");
inline const QString ControlPrompt
    = QStringLiteral("O nome não pode conter caracteres de controle (tabulação, quebra de linha...).");
inline const QString LongPrompt = QStringLiteral("O nome pode ter no máximo 255 caracteres.");
inline const QString UnsearchablePrompt
    = QStringLiteral("O nome digitado não pode ser gravado: seus apóstrofos (') mudam a procura do nome")
    + QLatin1Char('\r') + QStringLiteral("e outro registro seria alterado. Retire os apóstrofos do nome.");
inline const QString ContentTitle = QStringLiteral("Conteúdo inválido");
inline const QString ContentControlPrompt
    = QStringLiteral("O conteúdo não pode conter caracteres de controle (tabulação, quebra de linha...).");

// A tab, a line break, NUL, Esc...: invisible in a list, and they break the lines of the
// exports and of the error log.
bool hasControl(QStringView text);
// The refusal for a typed name, or nothing when it may be saved.
std::optional<QString> nameProblem(const QString& name);
// Whether a stored name is the typed one as the company file compares names.
bool sameName(const QVariant& stored, const QString& typed);

// A name whose apostrophes balance out turns "Nome = '...'" into another condition, which
// picks some other row, or none once the row is written: the save must not go on with that
// row's code. Thrown inside the save's unit of work, so nothing stays written.
class UnsearchableName : public std::exception {
public:
    const char* what() const noexcept override { return "name changes its own criteria"; }
};

} // namespace varemo::typed
