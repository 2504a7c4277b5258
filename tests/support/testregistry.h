#pragma once

#include <QFileInfo>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace varemo::test {

struct Entry {
    QString name;
    std::function<std::unique_ptr<QObject>()> make;
};

inline std::vector<Entry>& registry()
{
    static std::vector<Entry> entries;
    return entries;
}

struct Registration {
    Registration(const char* file, std::function<std::unique_ptr<QObject>()> make)
    {
        QString name = QFileInfo(QString::fromUtf8(file)).completeBaseName();
        if (name.startsWith(QLatin1String("test_")))
            name = name.mid(5);
        registry().push_back({name, std::move(make)});
    }
};

} // namespace varemo::test

// At the end of a test file: VAREMO_TEST(TestDialect) then #include "test_dialect.moc".
#define VAREMO_TEST(Class)                                                                                   \
    static const varemo::test::Registration varemoRegistration##Class(                                       \
        __FILE__, [] { return std::unique_ptr<QObject>(new Class); })
