#include "app/errorlog.h"
#include "app/typedtext.h"
#include "reliability/reliability.h"
#include "reports/arvrelat.h"
#include "reports/dataperiodo.h"
#include "reports/datebox.h"
#include "search/procontas.h"
#include "support/testregistry.h"

#include <QComboBox>
#include <QFile>
#include <QLineEdit>
#include <QRegularExpression>
#include <QTest>

using namespace varemo;
using namespace varemo::test;

// Every text a person types, fed with hostile and odd values. Each row is one field and one
// value, held to one set of rules: the outcome, the statements that reached the engine, every
// table before and after, and the window still usable.

namespace {

enum class Field { PathNew, PathEdit, LevelNew, LevelRename, Search, ReportNew, ReportEdit, Date };

struct FieldCase {
    const char* tag;
    Field kind;
    int index; // the level, the criterion (5: "contenha" on any field) or the date box
    bool firstChild; // the row written comes first under its parent: a quote-balanced name finds it again
};

const FieldCase fields[]
    = {{"Combo0 new", Field::PathNew, 0, false}, {"Combo1 new", Field::PathNew, 1, false},
        {"Combo2 new", Field::PathNew, 2, false}, {"Combo3 new", Field::PathNew, 3, false},
        {"Combo4 new", Field::PathNew, 4, false}, {"Combo0 edit", Field::PathEdit, 0, false},
        {"Combo1 edit", Field::PathEdit, 1, false}, {"Combo2 edit", Field::PathEdit, 2, false},
        {"Combo3 edit", Field::PathEdit, 3, false}, {"Combo4 edit", Field::PathEdit, 4, true},
        {"Texto1 new", Field::LevelNew, 1, false}, {"Texto2 new", Field::LevelNew, 2, false},
        {"Texto3 new", Field::LevelNew, 3, false}, {"Texto1 rename", Field::LevelRename, 1, false},
        {"Texto2 rename", Field::LevelRename, 2, true}, {"Texto3 rename", Field::LevelRename, 3, false},
        {"Conteudo contenha", Field::Search, 0, false}, {"Conteudo nao contenha", Field::Search, 1, false},
        {"Conteudo maior", Field::Search, 2, false}, {"Conteudo menor", Field::Search, 3, false},
        {"Conteudo igual", Field::Search, 4, false}, {"Conteudo qualquer campo", Field::Search, 5, false},
        {"Nome new", Field::ReportNew, 0, true}, {"Nome edit", Field::ReportEdit, 0, true},
        {"Datas0", Field::Date, 0, false}, {"Datas1", Field::Date, 1, false}};

// A search states its hit count instead: Log and Control as -1 and -2.
enum Outcome { Written, Log, Control, Long, Unsearchable, Blank, BadDate };

const QString Padded = QStringLiteral("<padded>"); // the field's own valid text with blanks around

struct Value {
    const char* tag;
    QString text;
    Outcome name; // chart names and report names
    std::array<int, 6> hits; // contenha, não contenha, maior, menor, igual; contenha on any field
    Outcome date;
};

const Value values[] = {
    {"apostrophe", QStringLiteral("D'Ávila"), Log, {-1, -1, -1, -1, -1, -1}, BadDate},
    {"long", QString(10000, QLatin1Char('A')), Long, {0, 9, 9, 0, 0, 0}, BadDate},
    {"tab", QStringLiteral("Conta\tnova"), Control, {-2, -2, -2, -2, -2, -2}, BadDate},
    {"line feed", QStringLiteral("Conta\nnova"), Control, {-2, -2, -2, -2, -2, -2}, BadDate},
    {"carriage return", QStringLiteral("Conta\rnova"), Control, {-2, -2, -2, -2, -2, -2}, BadDate},
    {"control 01", QStringLiteral("Conta\x01nova"), Control, {-2, -2, -2, -2, -2, -2}, BadDate},
    // "Café" sorts after Baguete and Aluguel, before the other seven items.
    {"emoji", QStringLiteral("Café 😀"), Written, {0, 9, 7, 2, 0, 0}, BadDate},
    {"chinese", QStringLiteral("中文"), Written, {0, 9, 0, 9, 0, 0}, BadDate},
    {"omega", QStringLiteral("Ω"), Written, {0, 9, 0, 9, 0, 0}, BadDate},
    // Contents go in as typed: with its blanks "Conta de luz" matches nothing.
    {"padded", Padded, Written, {0, 9, 9, 0, 0, 0}, Written},
    {"drop", QStringLiteral("'; DROP TABLE NivelCategoria4; --"), Log, {-1, -1, -1, -1, -1, -1}, BadDate},
    // Like '*' OR '1'='1*': the marker's own text then takes every named item.
    {"or true", QStringLiteral("' OR '1'='1"), Unsearchable, {9, 0, 9, 9, 9, 9}, BadDate},
    {"percent", QStringLiteral("%"), Written, {0, 9, 9, 0, 0, 0}, BadDate},
    {"star", QStringLiteral("*"), Written, {9, 0, 9, 0, 0, 9}, BadDate},
    {"bracket", QStringLiteral("["), Written, {-1, -1, 9, 0, 0, -1}, BadDate}, // "*[*" is no pattern
    {"hash", QStringLiteral("#"), Written, {0, 9, 9, 0, 0, 0}, BadDate},
    {"blanks", QStringLiteral("   "), Blank, {0, 0, 0, 0, 0, 0}, BadDate},
};

// The path of "Conta de luz" (item 8); a new item is "Item Novo", a new level-page row "Nome Novo".
const QStringList itemPath {QStringLiteral("Despesas"), QStringLiteral("Despesas Administrativas"),
    QStringLiteral("Ocupação"), QStringLiteral("Energia"), QStringLiteral("Conta de luz")};

// Only reads and row writes on the action's own tables reached the engine, one at a time.
void checkStatements(const QStringList& statements, const QRegularExpression& writable)
{
    static const QRegularExpression quoted(QStringLiteral("'[^']*'"));
    static const QRegularExpression write(
        QStringLiteral("^(?:INSERT\\s+INTO|UPDATE|DELETE\\s+FROM)\\s+\"?(\\w+)"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression read(
        QStringLiteral("^(?:SELECT|BEGIN|COMMIT|ROLLBACK|SAVEPOINT|RELEASE|PRAGMA|WITH)\\b"),
        QRegularExpression::CaseInsensitiveOption);
    for (const QString& statement : statements) {
        QString bare = QString(statement).remove(quoted).trimmed();
        if (bare.endsWith(QLatin1Char(';')))
            bare.chop(1);
        const auto target = write.match(bare);
        QVERIFY2(!bare.contains(QLatin1Char(';'))
                && !bare.contains(QLatin1String("DROP"), Qt::CaseInsensitive)
                && (target.hasMatch() ? writable.match(target.captured(1)).hasMatch()
                                      : read.match(bare).hasMatch()),
            qPrintable(statement));
    }
}

// The names of a row and its ancestors, category first, as stored.
QStringList chainOf(TestCompany& company, int level, qint64 code)
{
    QStringList names;
    for (int k = level; k >= 0; --k) {
        const QString parent = k > 0 ? QStringLiteral("CodigoCategoria%1").arg(k - 1) : QStringLiteral("0");
        const QString where = QStringLiteral(" FROM NivelCategoria%1 WHERE Codigo = %2").arg(k).arg(code);
        if (company.count(QStringLiteral("SELECT COUNT(*)") + where) == 0)
            break;
        names.prepend(company.scalar(QStringLiteral("SELECT Nome") + where).toString());
        code = company.scalar(QStringLiteral("SELECT ") + parent + where).toLongLong();
    }
    company.closeSql();
    return names;
}

} // namespace

class TestBadInput : public QObject {
    Q_OBJECT
private slots:
    // One company for the run, its file put back as seeded before each row: seeding a file
    // per row would cost most of the run.
    void initTestCase() { m_pristine = readFile(m_company.databasePath()); }

    void typedText_data()
    {
        QTest::addColumn<int>("field");
        QTest::addColumn<int>("value");
        for (int f = 0; f < int(std::size(fields)); ++f) {
            for (int v = 0; v < int(std::size(values)); ++v)
                QTest::addRow("%s/%s", fields[f].tag, values[v].tag) << f << v;
        }
    }

    void typedText()
    {
        QFETCH(int, field);
        QFETCH(int, value);
        const FieldCase& fc = fields[field];
        const Value& input = values[value];
        m_company.closeSql();
        writeFile(m_company.databasePath(), m_pristine);
        QFile::remove(m_company.errorLogPath());
        AppState state;
        state.programFolder = m_company.programFolder();
        state.dataFolder = m_company.dataFolder();
        state.database = Database::open(m_company.databasePath());
        FakeDesktop desktop;

        std::unique_ptr<Contas> contas;
        std::unique_ptr<ProContas> search;
        std::unique_ptr<ArvRelat> report;
        std::unique_ptr<DataPeriodo> period;
        const bool editing = fc.kind == Field::PathEdit || fc.kind == Field::LevelRename;
        const bool level = fc.kind == Field::LevelNew || fc.kind == Field::LevelRename;
        QString valid; // the field's own text
        QString typed = input.text;
        const auto typeIn = [&](auto* box, const QString& own) {
            valid = own;
            if (typed == Padded)
                typed = QStringLiteral("  ") + own + QStringLiteral("  ");
            box->setText(typed);
        };
        if (fc.kind <= Field::LevelRename) {
            contas = std::make_unique<Contas>(state, desktop);
            QVERIFY(contas->Form_Load() && contas->relocate(4, 8));
            contas->PreencheCampos();
            if (level)
                contas->tool_click(
                    QString::fromLatin1(std::array {"", "ID_Setor", "ID_Grupo", "ID_Conta"}[fc.index]));
            contas->tool_click(editing ? QStringLiteral("ID_Alterar") : QStringLiteral("ID_Incluir"));
            for (int k = 0; k < 5 && !level; ++k) {
                const QString own = k == 4 && !editing ? QStringLiteral("Item Novo") : itemPath[k];
                k == fc.index ? typeIn(contas->Combo[std::size_t(k)], own)
                              : contas->Combo[std::size_t(k)]->setText(own);
            }
            if (level)
                typeIn(contas->Texto[std::size_t(fc.index)],
                    editing ? itemPath[fc.index] : QStringLiteral("Nome Novo"));
        } else if (fc.kind == Field::Search) {
            search = std::make_unique<ProContas>(state, desktop);
            search->show();
            search->Campo[0]->setCurrentText(
                fc.index == 5 ? QStringLiteral("Qualquer campo") : QStringLiteral("Item"));
            search->Criterio[0]->setCurrentIndex(fc.index == 5 ? 0 : fc.index);
            typeIn(search->Conteudo[0], QStringLiteral("Conta de luz"));
        } else if (fc.kind == Field::Date) {
            period = std::make_unique<DataPeriodo>(state, desktop, QDate(2026, 3, 31));
            period->show();
            typeIn(period->Datas[std::size_t(fc.index)], period->Datas[std::size_t(fc.index)]->text());
        } else {
            report = fc.kind == Field::ReportNew
                ? std::make_unique<ArvRelat>(state, desktop, ArvRelat::NewDefinition)
                : std::make_unique<ArvRelat>(
                    state, desktop, ArvRelat::EditDefinition, 1, QStringLiteral("Resultado Mensal"));
            report->show();
            report->Arvore_NodeClick(report->node(QStringLiteral("2N0")));
            typeIn(report->Nome, QStringLiteral("Relatório Novo"));
            typed = report->Nome->text(); // the box keeps 255 characters
        }

        desktop.boxes.clear();
        desktop.sounds.clear();
        const QStringList before = fileRows(m_company.databasePath());
        QStringList statements;
        state.database->statementHook = [&statements](const QString& sql) { statements << sql; };
        if (contas) {
            contas->tool_click(QStringLiteral("ID_Gravar"));
        } else if (search) {
            search->BotaoProcura_Click(2);
        } else if (period) {
            period->Botao_Click(1);
        } else {
            desktop.setNextAnswer(vb::Yes);
            report->BotaoEscolha_Click(0);
            QVERIFY(!desktop.boxes.isEmpty());
            desktop.boxes.removeFirst(); // the question "Deseja gravar este relatório?"
        }
        state.database->statementHook = nullptr;
        const QStringList delta = changes(before, fileRows(m_company.databasePath()));
        const QRegularExpression writable(
            QStringLiteral("^(%1)$").arg(fc.kind <= Field::PathEdit ? QStringLiteral("NivelCategoria[1-4]")
                    : level  ? QStringLiteral("NivelCategoria%1").arg(fc.index)
                    : search ? QStringLiteral("Procura|NivelCategoria4")
                    : period ? QStringLiteral("DadosEmpresa")
                             : QStringLiteral("Relatorios|RelatorioItens")));
        checkStatements(statements, writable);
        if (QTest::currentTestFailed())
            return;

        const int hits = input.hits[std::size_t(fc.index % 6)];
        Outcome outcome = period ? input.date
            : search             ? (hits == -1 ? Log
                                  : hits == -2 ? Control
                                               : Written)
                                 : input.name;
        if ((outcome == Unsearchable && fc.firstChild) || (outcome == Long && report))
            outcome = Written;
        QStringList boxes;
        for (const Box& box : std::as_const(desktop.boxes))
            boxes << QStringLiteral("%1 [%2] %3").arg(box.title).arg(box.buttons).arg(box.prompt);

        if (outcome != Written) {
            const auto info = [](const QString& title, const QString& prompt) {
                return QStringLiteral("%1 [%2] %3").arg(title).arg(vb::Information).arg(prompt);
            };
            const QStringList expected {
                QStringLiteral("%1 [%2] ").arg(errorlog::Title).arg(vb::Critical), // the prompt is in the log
                search ? info(typed::ContentTitle, typed::ContentControlPrompt)
                       : info(typed::InvalidTitle, typed::ControlPrompt),
                info(typed::InvalidTitle, typed::LongPrompt),
                info(typed::InvalidTitle, typed::UnsearchablePrompt),
                report ? info(
                    QStringLiteral("Nome do Relatório"), QStringLiteral("Digite o nome deste relatório"))
                       : info(QStringLiteral("Existe campo em branco"),
                           QStringLiteral("Não pode ter campo em branco")),
                info(QStringLiteral("Data Incorreta"),
                    fc.index == 0 ? QStringLiteral("A data inicial não é correta")
                                  : QStringLiteral("A data final não é correta"))};
            QCOMPARE(delta, QStringList());
            QCOMPARE(boxes.size(), 1);
            QVERIFY2(outcome == Log ? boxes[0].startsWith(expected[0]) : boxes[0] == expected[outcome - 1],
                qPrintable(boxes[0]));
            if (outcome == Log) {
                // The log is Windows-1252, which holds "ú" as Latin-1 does. A find's criteria
                // fail as an expression, a search's statement as a query.
                static const QRegularExpression number(QStringLiteral("Erro número: (\\d+)"));
                const QString log = QString::fromLatin1(readFile(m_company.errorLogPath()));
                QCOMPARE(number.match(log).captured(1).toInt(),
                    search ? jet::SyntaxErrorInQueryExpression : jet::SyntaxError);
                QVERIFY(desktop.sounds.contains(errorlog::Sound));
            }
            // Still usable: the mode open to correct or cancel, the dialog open.
            if (contas) {
                QCOMPARE(contas->Modo, editing ? QStringLiteral("Alterar") : QStringLiteral("Inserir"));
                contas->tool_click(QStringLiteral("ID_Cancelar"));
                QCOMPARE(contas->Modo, QStringLiteral("Visualizar"));
            } else {
                QVERIFY((search ? search->isVisible() : report ? report->isVisible() : period->isVisible()));
                QVERIFY(!state.confirmed && (!search || state.searchResult == -1));
                QVERIFY(!report || report->Modo == (fc.kind == Field::ReportNew ? 1 : 2));
            }
            return;
        }

        QCOMPARE(boxes, QStringList());
        // Nothing lost: a row gone comes back under its key, rewritten; only the written row
        // is rewritten, and a search rewrites marks only (an item's last cell).
        const QString written = QString::number(contas ? contas->CodigoGravado
                : report                               ? report->CodigoRelatorio
                                                       : 0);
        const auto key = [&search](const QString& row) {
            const bool marksOnly = search && row.mid(1).startsWith(QLatin1String("NivelCategoria4:"));
            return row.mid(1).section(QLatin1Char('|'), 0, marksOnly ? -2 : 0);
        };
        QStringList added;
        for (const QString& row : delta)
            added << (row.startsWith(u'+') ? key(row) : QString());
        for (const QString& row : delta) {
            QVERIFY2(row.startsWith(u'+')
                    || (added.contains(key(row))
                        && (search || key(row).section(QStringLiteral(": "), 1) == written)),
                qPrintable(row));
        }
        // The text typed, blanks around it left out, reads back as written.
        const QString stored = typed.trimmed();
        QStringList seen, expected;
        if (contas && !level) {
            expected = itemPath;
            expected[4] = editing ? itemPath[4] : QStringLiteral("Item Novo");
            expected[fc.index] = stored;
            // A category is never made: the path goes under one that exists.
            seen = chainOf(m_company, 4, contas->CodigoGravado).mid(fc.index == 0 ? 1 : 0);
            expected = expected.mid(fc.index == 0 ? 1 : 0);
        } else if (contas) {
            seen = chainOf(m_company, fc.index, contas->CodigoGravado);
            expected = itemPath.mid(0, fc.index) << stored;
        } else if (search) {
            seen << QString::number(
                m_company.count(QStringLiteral("SELECT COUNT(*) FROM NivelCategoria4 WHERE Marca")))
                 << QString::number(state.searchResult);
            expected << QString::number(hits) << QString::number(hits);
        } else if (report) {
            const QString sql
                = QStringLiteral("SELECT NomeRelatorio FROM Relatorios WHERE CodigoRelatorio = ");
            seen << m_company.scalar(sql + written).toString();
            expected << stored;
        } else {
            seen << QString::number(state.confirmed) << (fc.index == 0 ? state.periodStart : state.periodEnd);
            expected << QStringLiteral("1") << valid;
        }
        m_company.closeSql();
        QCOMPARE(seen, expected);
        QVERIFY(!contas || contas->Modo == QStringLiteral("Visualizar"));
        QVERIFY(!search || !search->isVisible());
    }

private:
    TestCompany m_company;
    QByteArray m_pristine;
};

VAREMO_TEST(TestBadInput);
#include "test_badinput.moc"
