#pragma once

#include <QFileInfo>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace varemo::test {

// Each test file's class, by the file's name without "test_".
inline std::vector<std::pair<QString, std::function<std::unique_ptr<QObject>()>>>& registry()
{
    static std::vector<std::pair<QString, std::function<std::unique_ptr<QObject>()>>> entries;
    return entries;
}

struct Registration {
    Registration(const char* file, std::function<std::unique_ptr<QObject>()> make)
    {
        registry().emplace_back(
            QFileInfo(QString::fromUtf8(file)).completeBaseName().remove(0, 5), std::move(make));
    }
};

} // namespace varemo::test

// At the end of a test file: VAREMO_TEST(TestDialect) then #include "test_dialect.moc".
#define VAREMO_TEST(Class)                                                                                   \
    static const varemo::test::Registration varemoRegistration##Class(                                       \
        __FILE__, [] { return std::unique_ptr<QObject>(new Class); })
