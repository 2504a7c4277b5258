#pragma once

#include "data/companywriter.h"

#include <QDate>
#include <QSqlDatabase>
#include <QString>

// The demo company: a bakery with a year of sales and purchases, installed the way the suite
// lays a company out. Its chart, lines, products and saved reports are plain text files built
// into the program (resources/demo); only the year's movements are drawn, from a fixed seed.
namespace varemo::demo {

// Builds the installation under `folder`: `folder/programa/` (Caminho.dad naming the data
// folder, Sons/ and Ajuda/ copied from `resourcesFrom`, the running program's folder) and
// `folder/empresa/` (Empresa.ini, Imagens/, Dados/empresa.mdb with movements up to `today`).
// An installation already there is kept unless `rebuild`. Returns the program folder, ending
// in the separator. Throws std::runtime_error with a Portuguese message when a file cannot be
// written (JetError, one of them, from the database engine).
QString build(const QString& folder, const QString& resourcesFrom, QDate today = QDate::currentDate(),
    bool rebuild = false);

// The demo's description as its data files give it. Throws StorageBug for a malformed file.
CompanyData loadCompany();

// Writes the whole company into an empty schema; the caller owns the transaction.
void populate(QSqlDatabase& db, QDate today);

// The year of movements ending on `end`: cash-register closings and party orders (some only
// quoted, Venda False), the ordinary items' bills by their account's frequency, and the
// purchases of goods and raw materials, numbered in date order.
void insertYear(
    QSqlDatabase& db, const CompanyData& company, const Chart& chart, QDate end, std::uint64_t seed = 2024);

} // namespace varemo::demo
