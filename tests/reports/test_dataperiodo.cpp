#include "app/helptopics.h"
#include "reports/dataperiodo.h"
#include "reports/datebox.h"
#include "reports/periodo.h"
#include "search/searchfixture.h"
#include "support/pgserver.h"
#include "support/testregistry.h"

#include <QCalendarWidget>
#include <QComboBox>
#include <QGroupBox>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTest>

using namespace varemo;
using Period = std::optional<std::pair<QDate, QDate>>;

namespace {

// The period window opened over a company on a Saturday.
struct Opened : test::OpenCompany {
    explicit Opened(const QString& change = {})
        : OpenCompany({change})
        , window(std::make_unique<DataPeriodo>(state, desktop, QDate(2024, 4, 20)))
    {
        window->show();
    }

    // One step: "o3" option 3, "t0" period type 0, "s2" week start 2, "b1" button 1, "esc"; in a
    // date box: "d0=1003" typed over its mask, "c0=2024-04-02" picked in its calendar, "u1" Up.
    void run(const QString& step)
    {
        const QChar kind = step[0];
        const int index = step.mid(1, 1).toInt();
        DateBox* box = window->Datas[std::size_t(qMin(index, 1))];
        if (kind == QLatin1Char('o')) {
            window->Opcao[std::size_t(index)]->click();
        } else if (kind == QLatin1Char('t')) {
            window->OpcaoRetrocede[std::size_t(index)]->click();
        } else if (kind == QLatin1Char('s')) {
            window->InicioSemana->setCurrentIndex(index - 1);
        } else if (kind == QLatin1Char('b')) {
            window->Botao[std::size_t(index)]->setFocus();
            window->Botao[std::size_t(index)]->click();
        } else if (kind == QLatin1Char('e')) {
            QTest::keyClick(window.get(), Qt::Key_Escape);
        } else {
            box->setFocus();
            box->setCursorPosition(0);
            if (kind == QLatin1Char('d')) {
                QTest::keyClicks(box, step.mid(3));
            } else if (kind == QLatin1Char('u')) {
                QTest::keyClick(box, Qt::Key_Up);
            } else {
                box->showCalendar();
                emit box->calendar()->clicked(QDate::fromString(step.mid(3), Qt::ISODate));
            }
        }
    }

    // The two boxes and the checked option, "+" when expanded: "14-04-2024 20-04-2024 1".
    QString shown() const
    {
        int checked = -1;
        for (int i = 0; i < 6; ++i)
            checked = window->Opcao[std::size_t(i)]->isChecked() ? i : checked;
        const bool open = window->Extra->isVisible();
        const int height = open ? DataPeriodo::ExpandedHeight : DataPeriodo::CompactHeight;
        return QStringLiteral("%1 %2 %3%4%5")
            .arg(window->Datas[0]->text(), window->Datas[1]->text())
            .arg(checked)
            .arg(open ? " +" : "", window->heightTwips() == height ? "" : " (altura errada)");
    }

    std::unique_ptr<DataPeriodo> window;
};

// An independent calendar. A complete period is the run of days around the reference that
// share its key, found by walking one day at a time; a retroactive one counts days back or
// moves whole months from the 1st, so a day the month lacks runs on into the next.
template<typename Key> Period around(QDate d, Key key)
{
    QDate start = d;
    QDate end = d;
    while (key(start.addDays(-1)) == key(d))
        start = start.addDays(-1);
    while (key(end.addDays(1)) == key(d))
        end = end.addDays(1);
    return std::pair {start, end};
}

QDate monthsBack(QDate d, int months)
{
    return QDate(d.year(), d.month(), 1).addMonths(-months).addDays(d.day() - 1);
}

Period oracle(QDate d, int option, bool retroactive, int weekStart)
{
    static constexpr std::array<int, 8> sundayFirst = {0, 2, 3, 4, 5, 6, 7, 1}; // Qt: Monday 1 ... Sunday 7
    const auto weekOf = [weekStart](QDate day) {
        while (sundayFirst[std::size_t(day.dayOfWeek())] != weekStart)
            day = day.addDays(-1);
        return day;
    };
    const auto half = [](QDate day) { return day.year() * 2 + (day.month() > 6 ? 1 : 0); };
    const auto month = [](QDate day) { return day.year() * 12 + day.month(); };
    const auto fortnight = [&month](QDate day) { return month(day) * 2 + (day.day() > 15 ? 1 : 0); };
    Period period;
    switch (option) {
    case 0:
        period = std::pair {d, d};
        break;
    case 1:
        period = retroactive ? std::pair {d.addDays(-6), d} : around(d, weekOf);
        break;
    case 2:
        period = retroactive ? std::pair {d.addDays(-14), d} : around(d, fortnight);
        break;
    case 3:
        period = retroactive ? std::pair {monthsBack(d, 1), d} : around(d, month);
        break;
    case 4:
        period = retroactive ? std::pair {monthsBack(d, 6), d} : around(d, half);
        break;
    }
    // a period that would leave the calendar (years 100 to 9999) is none
    return period && period->first.year() >= 100 && period->second.year() <= 9999 ? period : std::nullopt;
}

QString text(const Period& period)
{
    if (!period)
        return QStringLiteral("nada");
    return period->first.toString(Qt::ISODate) + QLatin1Char(' ') + period->second.toString(Qt::ISODate);
}

} // namespace

// The period: the dates each option gives, and the window that asks for them.
class TestDataPeriodo : public QObject {
    Q_OBJECT

private slots:
    // What the window shows on opening and after each step.
    void reactions_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("shown"); // the settings' captions and the dates, then after each step
        const QString sunday = QStringLiteral("Domingo &Completo  Escolha Período (completo)  ");
        const auto row = [&sunday](const char* name, const char* steps, const char* shown,
                             const char* change = "", const char* settings = nullptr) {
            QTest::newRow(name) << QString::fromUtf8(change) << QString::fromUtf8(steps)
                                << (settings ? QString::fromUtf8(settings) : sunday)
                    + QStringLiteral("14-04-2024 20-04-2024 1") + QString::fromUtf8(shown);
        };
        row("ao abrir", "", "");
        // The week is computed twice, the second time around the first result's start.
        QTest::newRow("segunda, retroativo")
            << "UPDATE DadosEmpresa SET InicioSemana = 2, RetroAtivo = 1" << QString()
            << "Segunda-feira &Retroativo  Escolha Período (retroativo)  08-04-2024 14-04-2024 1";
        row("dia fora da semana", "", "", "UPDATE DadosEmpresa SET InicioSemana = 9, RetroAtivo = NULL");
        row("sem registro da empresa", "", "", "DELETE FROM DadosEmpresa");
        row("cada opção em volta da data inicial", "o3 o1 o2 o4 o0",
            ", 01-04-2024 30-04-2024 3, 31-03-2024 06-04-2024 1, 16-03-2024 31-03-2024 2, "
            "01-01-2024 30-06-2024 4, 01-01-2024 01-01-2024 0");
        row("período livre não mexe", "o5", ", 14-04-2024 20-04-2024 5");
        row("retroativo e completo", "o3 t0 t1",
            ", 01-04-2024 30-04-2024 3, 01-03-2024 01-04-2024 3, 01-03-2024 31-03-2024 3");
        row("início da semana", "s2 s4", ", 08-04-2024 14-04-2024 1, 03-04-2024 09-04-2024 1");
        row("data inicial digitada", "d0=1003 o3", ", 10-03-2024 20-04-2024 5, 01-03-2024 31-03-2024 3");
        row("digitada logo após uma opção", "o3 d0=2", ", 01-04-2024 30-04-2024 3, 21-04-2024 30-04-2024 5");
        row("dia do calendário", "c1=2024-05-02", ", 14-04-2024 02-05-2024 5");
        row("seta para cima", "u1", ", 14-04-2024 21-04-2024 5");
        row("expandir e recolher", "b2 b2", ", 14-04-2024 20-04-2024 1 +, 14-04-2024 20-04-2024 1");
        row("domingo digitado, semana de segunda", "s2 d0=21 o1",
            ", 08-04-2024 14-04-2024 1, 21-04-2024 14-04-2024 5, 15-04-2024 21-04-2024 1");
    }
    void reactions()
    {
        QFETCH(QString, change);
        QFETCH(QString, steps);
        Opened fx(change);
        const DataPeriodo& window = *fx.window;
        const auto type = std::size_t(window.OpcaoRetrocede[0]->isChecked() ? 0 : 1);
        QStringList after {window.InicioSemana->currentText() + QLatin1Char(' ')
            + window.OpcaoRetrocede[type]->text() + QLatin1Char(' ') + window.Flamula->title()
            + QLatin1Char(' ') + fx.shown()};
        for (const QString& step : steps.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            fx.run(step);
            after << fx.shown();
        }
        QTEST(after.join(QStringLiteral(", ")), "shown");
        QCOMPARE(fx.desktop.sounds.size(), 1 + steps.count(QRegularExpression("(^| )([oduc]|b2)")));
        QTest::keyClick(fx.window.get(), Qt::Key_F1);
        QCOMPARE(fx.desktop.helpContexts, QList<int> {help::Periodo});
    }

    void closing_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("steps");
        QTest::addColumn<QString>("outcome"); // the period handed over, the refusal and its box, or nothing
        QTest::addColumn<QString>("stored");
        const auto row = [](const char* name, const char* steps, const char* outcome, const char* stored,
                             const char* change = "") {
            QTest::newRow(name) << QString::fromUtf8(change) << QString::fromUtf8(steps)
                                << QString::fromUtf8(outcome) << QString::fromUtf8(stored);
        };
        row("31 de fevereiro", "d0=3102 s4 b1", "A data inicial não é correta 0", "1 0");
        row("final antes da inicial", "d0=21 b1", "A data final deve ser igual ou posterior à data inicial 1",
            "1 0");
        row("quarta e retroativo", "s4 t0 o2 b1", "21-03-2024 04-04-2024", "4 1");
        row("um dia, de volta a domingo e completo", "s1 t1 o0 b1", "31-03-2024 31-03-2024", "1 0",
            "UPDATE DadosEmpresa SET InicioSemana = 6, RetroAtivo = 1");
        row("cancelar", "s7 t0 b0", "", "1 0");
        row("Esc", "s7 t0 esc", "", "1 0");
    }
    void closing()
    {
        QFETCH(QString, change);
        QFETCH(QString, steps);
        QFETCH(QString, outcome);
        QFETCH(QString, stored);
        Opened fx(change);
        fx.state.confirmed = outcome.isEmpty(); // a cancel clears an earlier confirmation
        for (const QString& step : steps.split(QLatin1Char(' ')))
            fx.run(step);
        QCOMPARE(fx.company.scalar("SELECT InicioSemana || ' ' || RetroAtivo FROM DadosEmpresa").toString(),
            stored);
        const QWidget* focus = fx.window->focusWidget();
        const int focused = focus == fx.window->Datas[0] ? 0 : focus == fx.window->Datas[1] ? 1 : -1;
        QStringList seen; // a refusal's box and the date box it leaves focused, or the period confirmed
        for (const test::Box& box : fx.desktop.boxes)
            seen << box.prompt + QStringLiteral(" %1").arg(focused);
        if (fx.state.confirmed)
            seen << fx.state.periodStart + QLatin1Char(' ') + fx.state.periodEnd;
        QCOMPARE(seen.join(u'|'), outcome);
        QCOMPARE(fx.window->isVisible(), !fx.desktop.boxes.isEmpty());
    }

    void everyDayAgreesWithTheCalendar_data()
    {
        QTest::addColumn<int>("year");
        QTest::newRow("1900, sem 29 de fevereiro") << 1900;
        QTest::newRow("2000, bissexto de século") << 2000;
        QTest::newRow("2023") << 2023;
        QTest::newRow("2024, bissexto") << 2024;
        QTest::newRow("2100") << 2100;
        QTest::newRow("100, começo do calendário") << 100;
        QTest::newRow("9999, fim do calendário") << 9999;
    }
    void everyDayAgreesWithTheCalendar()
    {
        QFETCH(int, year);
        if (test::onServer())
            QSKIP("dates only: no company to move");
        for (QDate day(year, 1, 1); day.year() == year; day = day.addDays(1)) {
            for (int option = -1; option <= 6; ++option) {
                for (const bool retro : {false, true}) {
                    for (int weekStart = 1; weekStart <= 7; ++weekStart) {
                        const QString got = text(RecalculaDatas(day, option, retro, weekStart));
                        const QString expected = text(oracle(day, option, retro, weekStart));
                        QVERIFY2(got == expected,
                            qPrintable(day.toString(Qt::ISODate)
                                + QStringLiteral(" %1 %2 %3: ").arg(option).arg(retro).arg(weekStart) + got));
                    }
                }
            }
        }
    }
};

VAREMO_TEST(TestDataPeriodo);
#include "test_dataperiodo.moc"
