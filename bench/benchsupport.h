#pragma once

// Pieces the benchmark programs share.

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

#include <cstdio>
#include <cstdlib>

namespace bench {

enum class CompanyFile {
    Copy, // the run writes to it
    Link, // the run only reads it
};

// A program folder whose Caminho.dad names a data folder holding the company file; exits
// with status 2 when the folders cannot be made.
inline QString installCompany(const QString& company, const QString& root, CompanyFile how)
{
    const QDir dir(root);
    dir.mkpath(QStringLiteral("programa"));
    dir.mkpath(QStringLiteral("empresa/Dados"));
    const QString data = dir.filePath(QStringLiteral("empresa")) + QLatin1Char('/');
    const QString target = data + QStringLiteral("Dados/empresa.mdb");
    QFile path(dir.filePath(QStringLiteral("programa/Caminho.dad")));
    QFile ini(data + QStringLiteral("Empresa.ini"));
    const bool placed = how == CompanyFile::Copy ? QFile::copy(company, target)
                                                 : QFile::link(QFileInfo(company).absoluteFilePath(), target);
    if (!path.open(QIODevice::WriteOnly) || !ini.open(QIODevice::WriteOnly) || !placed) {
        std::fprintf(stderr, "não foi possível montar a instalação em %s\n", qPrintable(root));
        std::exit(2);
    }
    path.write(data.toUtf8() + "\r\n");
    ini.write("[Empresa]\r\nNome=Bench\r\n");
    return dir.filePath(QStringLiteral("programa")) + QLatin1Char('/');
}

} // namespace bench
