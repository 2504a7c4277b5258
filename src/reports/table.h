#pragma once

#include "reports/document.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <utility>
#include <vector>

namespace varemo::reports {

// One printed line of a report, kept apart from its layout: the preview lays the lines out on
// pages and the spreadsheet export writes the same lines as rows.
struct Line {
    enum class Kind {
        Heading, // a group's name above its members (Categoria .. Conta)
        Detail, // one item
        Sum, // a group's sum ("Soma da Conta ...")
        Total, // a report total
    };
    Kind kind = Kind::Detail;
    int level = 0; // 0 Categoria .. 4 Item: the indentation
    QString text;
    std::optional<double> quantity; // printed only when set
    std::optional<double> amount; // printed only when set
    // For sums and totals: the lines (indices into Table::lines) whose amounts make this one,
    // each with its sign, so a spreadsheet can hold a formula instead of a number.
    std::vector<std::pair<int, int>> terms;
};

struct Table {
    QString company; // the company's name, on top of every page when known
    QString title; // the report header's title
    QStringList subtitle; // lines under the title ("Impresso: ...", "Período: De ...")
    QStringList columns; // the number columns' titles, empty when the report has none
    std::vector<Line> lines;
};

// A report ready to show: its caption (the preview's title), its lines and their pages.
struct Report {
    QString caption;
    Table table;
    Document document;
};

} // namespace varemo::reports
