#pragma once

#include <QString>

#include <stdexcept>

namespace varemo {

// A failure of the database engine or of a statement text, as the suite's other
// modules know it: Jet's error number and its Portuguese description. The calling
// routine catches it and hands both to the error log.
class JetError : public std::runtime_error {
public:
    JetError(qint32 number, const QString& description)
        : std::runtime_error(description.toStdString())
        , m_number(number)
        , m_description(description)
    {
    }

    qint32 number() const { return m_number; }
    const QString& description() const { return m_description; }

private:
    qint32 m_number;
    QString m_description;
};

// A defect of our own (a misuse of the data layer), never shown as a Jet error.
class StorageBug : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

namespace jet {
// Jet's error numbers the program meets.
inline constexpr qint32 SyntaxErrorInQueryExpression = 3075;
inline constexpr qint32 SyntaxError = 3077;
inline constexpr qint32 FileNotFound = 3024;
inline constexpr qint32 NoCurrentRecord = 3021;
inline constexpr qint32 ReadOnly = 3027;
inline constexpr qint32 NotUpdatable = 3027;
inline constexpr qint32 Corrupted = 3049;
inline constexpr qint32 Locked = 3218;
inline constexpr qint32 ObjectNotFound = 3078;
inline constexpr qint32 ItemNotFound = 3265;
inline constexpr qint32 TypeMismatch = 3464;
inline constexpr qint32 UpdateWithoutEdit = 3020;
inline constexpr qint32 ObjectClosed = 3420;
inline constexpr qint32 KeyViolation = 3022;
inline constexpr qint32 CharactersAfterEnd = 3142;
inline constexpr qint32 TooFewParameters = 3061;
inline constexpr qint32 UnknownField = 3070;
inline constexpr qint32 MustBeUpdatableQuery = 3073;
inline constexpr qint32 GeneralError = 3000;
inline constexpr qint32 DiskOrNetwork = 3043;
inline constexpr qint32 QueryTooComplex = 3360;
inline constexpr qint32 InvalidStatement = 3129;
inline constexpr qint32 ServerConnectionFailed = 3151;
inline constexpr qint32 RecordDeleted = 3167;
} // namespace jet

// A row deleted, by another workstation, after it was read.
inline JetError recordDeleted()
{
    return JetError(jet::RecordDeleted, QStringLiteral("O registro foi excluído."));
}

} // namespace varemo
