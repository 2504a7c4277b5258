#include "app/desktop.h"
#include "app/typedtext.h"
#include "data/database.h"
#include "data/dialect.h"
#include "editor/browse.h"
#include "editor/charttree.h"
#include "editor/contas.h"
#include "editor/tree.h"
#include "editor/widgets.h"

#include <QSet>
#include <QTreeWidget>

namespace varemo {

namespace {

QString nameCriteria(int level, const QString& name, qint32 parent)
{
    // Names go in as typed: an apostrophe breaks the criteria and the save fails.
    if (level == 0)
        return QStringLiteral("Nome = '") + name + QStringLiteral("'");
    return QStringLiteral("Nome = '") + name + QStringLiteral("' AND CodigoCategoria%1 = ").arg(level - 1)
        + QString::number(parent);
}

// Finds a row by its name criteria and refuses a name whose apostrophes made the criteria
// pick a row of another name or parent, or (`written`) miss the row just stored.
bool findNamed(Recordset& table, int level, const QString& name, qint32 parent, bool written = false)
{
    const bool found = table.findFirst(nameCriteria(level, name, parent));
    if (!name.contains(QLatin1Char('\'')))
        return found;
    if (!found) {
        if (written)
            throw typed::UnsearchableName();
        return false;
    }
    if (!typed::sameName(table.value(QStringLiteral("Nome")), name)
        || (level > 0 && table.value(QStringLiteral("CodigoCategoria%1").arg(level - 1)).toInt() != parent))
        throw typed::UnsearchableName();
    return true;
}

// Another workstation may have changed the rows under `parent` since the window read them.
// Called inside the save's transaction, after its lock: the database is asked for them, and
// a table that no longer agrees is read again, so the name checks see what the save writes over.
void freshenChildren(Database& database, Recordset& table, int level, qint32 parent)
{
    if (level < 1 || level > 4)
        return;
    const QString parentField = QStringLiteral("CodigoCategoria%1").arg(level - 1);
    const auto stored
        = database.openRecordset(QStringLiteral("SELECT Codigo, Nome FROM NivelCategoria%1 WHERE ").arg(level)
            + parentField + QStringLiteral(" = ") + QString::number(parent));
    QSet<std::pair<qint64, QString>> there;
    for (int row = 0; row < stored->recordCount(); ++row)
        there.insert({stored->cell(row, 0).toLongLong(), stored->cell(row, 1).toString()});
    stored->close();

    const int codeColumn = table.fieldIndex(QStringLiteral("Codigo"));
    const int nameColumn = table.fieldIndex(QStringLiteral("Nome"));
    const int parentColumn = table.fieldIndex(parentField);
    qsizetype here = 0;
    bool same = true;
    for (int row = 0; same && row < table.recordCount(); ++row) {
        if (table.cell(row, parentColumn).toInt() != parent)
            continue;
        ++here;
        same = there.contains(
            {table.cell(row, codeColumn).toLongLong(), table.cell(row, nameColumn).toString()});
    }
    if (!same || here != there.size())
        table.requery();
}

// The code of the row a find left the table on, found or not.
qint32 currentCode(const Recordset& table)
{
    return table.bof() || table.eof() ? 0 : table.value(QStringLiteral("Codigo")).toInt();
}

// The refusal, prompt and title, of a name the save would use; checked before any statement.
std::optional<std::pair<QString, QString>> namesProblem(const Contas& window)
{
    QStringList names;
    if (window.PaginaAtiva == 1) {
        for (int level = 0; level < window.NivelAtual; ++level)
            names << window.Combo[static_cast<std::size_t>(level)]->text().trimmed();
        names << window.Texto[static_cast<std::size_t>(window.NivelAtual)]->text().trimmed();
        // A record without a name would be written.
        if (names.last().isEmpty())
            return std::pair(
                QStringLiteral("Não pode ter campo em branco"), QStringLiteral("Existe campo em branco"));
    } else {
        for (const Selector* combo : window.Combo)
            names << combo->text().trimmed();
    }
    for (const QString& name : std::as_const(names)) {
        if (const auto prompt = typed::nameProblem(name))
            return std::pair(*prompt, typed::InvalidTitle);
    }
    return std::nullopt;
}

} // namespace

bool Contas::CampoEmBranco() const
{
    if (NivelAtual != 4)
        return true;
    for (const Selector* combo : Combo) {
        if (combo->text().trimmed().isEmpty())
            return false;
    }
    return true;
}

void Contas::Gravar()
{
    if (!EmInclusao && !EmAlteracao)
        return;
    if (!CampoEmBranco()) {
        m_desktop.msgbox(QStringLiteral("Não pode ter campo em branco"), vb::Information,
            QStringLiteral("Existe campo em branco"));
        return;
    }
    if (const auto refusal = namesProblem(*this)) {
        m_desktop.msgbox(refusal->first, vb::Information, refusal->second);
        return;
    }
    Salvar(0);
}

qint32 Contas::findOrAdd(int level, const QString& name, qint32 parent, QList<SavedRow>& rows)
{
    Recordset& table = *Nivel[static_cast<std::size_t>(level)];
    freshenChildren(database(), table, level, parent);
    if (!findNamed(table, level, name, parent)) {
        // A missing sector, group or account on the path is made silently.
        table.addNew();
        table.setValue(QStringLiteral("Nome"), name);
        table.setValue(QStringLiteral("CodigoCategoria%1").arg(level - 1), parent);
        table.update();
        findNamed(table, level, name, parent, true);
        rows.append({level, table.value(QStringLiteral("Codigo")).toInt(), name, parent});
    } else {
        noteFound(level, table, parent, rows);
    }
    return table.value(QStringLiteral("Codigo")).toInt();
}

void Contas::noteFound(int level, const Recordset& table, qint32 parent, QList<SavedRow>& rows) const
{
    const qint32 code = currentCode(table);
    if (m_tree && code != 0 && !m_tree->contains(level, code))
        rows.append({level, code, table.value(QStringLiteral("Nome")).toString(), parent});
}

Contas::Notice Contas::saveHierarchy(QList<SavedRow>& rows)
{
    qint32 edited = 0;
    if (EmAlteracao)
        edited = dataSet()->value(QStringLiteral("NivelCategoria4.Codigo")).toInt();
    Recordset& categories = *Nivel[0];
    // A category is never made; an unknown one leaves the code the table stands on.
    findNamed(categories, 0, Combo[0]->text().trimmed(), 0);
    qint32 parent = currentCode(categories);
    for (int level = 1; level <= 3; ++level)
        parent = findOrAdd(level, Combo[static_cast<std::size_t>(level)]->text().trimmed(), parent, rows);

    Recordset& items = *Nivel[4];
    // Blanks around a name would make a second row that reads as the first.
    const QString name = Combo[4]->text().trimmed();
    freshenChildren(database(), items, 4, parent);
    if (EmInclusao) {
        if (findNamed(items, 4, name, parent)) {
            noteFound(4, items, parent, rows);
            CodigoGravado = items.value(QStringLiteral("Codigo")).toInt();
            Gravou = true;
            return std::pair(QStringLiteral("Este item já existe."), QStringLiteral("Item existente"));
        }
        items.addNew();
    } else {
        // Another workstation may have deleted it since the window showed it.
        if (!items.findFirst(QStringLiteral("Codigo = ") + QString::number(edited)))
            throw recordDeleted();
        items.edit();
    }
    items.setValue(QStringLiteral("Nome"), name);
    items.setValue(QStringLiteral("CodigoCategoria3"), parent);
    // Only the product side ties an item to a product.
    items.setValue(QStringLiteral("CodigoProduto"), 0);
    items.update();
    findNamed(items, 4, name, parent, true);
    CodigoGravado = items.value(QStringLiteral("Codigo")).toInt();
    rows.append({4, CodigoGravado, name, parent});
    Gravou = true;
    return std::nullopt;
}

qint32 Contas::codeOf(int level, const QString& name, qint32 parent)
{
    // Found or not, the code is that of the row the table stands on.
    Recordset& table = *Nivel[static_cast<std::size_t>(level)];
    freshenChildren(database(), table, level, parent);
    findNamed(table, level, name, parent);
    return currentCode(table);
}

Contas::Notice Contas::saveLevelPage(QList<SavedRow>& rows)
{
    const int level = NivelAtual;
    qint32 edited = 0;
    if (EmAlteracao)
        edited = dataSet()->value(QStringLiteral("NivelCategoria%1.Codigo").arg(level)).toInt();
    qint32 parent = codeOf(0, Combo[0]->text().trimmed(), 0);
    for (int above = 1; above < level; ++above)
        parent = codeOf(above, Combo[static_cast<std::size_t>(above)]->text().trimmed(), parent);

    Recordset& table = *Nivel[static_cast<std::size_t>(level)];
    const QString name = Texto[static_cast<std::size_t>(level)]->text().trimmed();
    freshenChildren(database(), table, level, parent);
    if (EmInclusao) {
        if (findNamed(table, level, name, parent)) {
            noteFound(level, table, parent, rows);
            CodigoGravado = table.value(QStringLiteral("Codigo")).toInt();
            Gravou = true;
            return std::pair(QStringLiteral("Este registro já existe no plano de contas."),
                QStringLiteral("Registro já existente"));
        }
        table.addNew();
    } else {
        if (!table.findFirst(QStringLiteral("Codigo = ") + QString::number(edited)))
            throw recordDeleted();
        table.edit();
    }
    table.setValue(QStringLiteral("Nome"), name);
    // A level-page save never moves a category or an item.
    if (level >= 1 && level <= 3)
        table.setValue(QStringLiteral("CodigoCategoria%1").arg(level - 1), parent);
    table.update();
    findNamed(table, level, name, parent, true);
    CodigoGravado = table.value(QStringLiteral("Codigo")).toInt();
    if (level >= 1 && level <= 3)
        rows.append({level, CodigoGravado, name, parent});
    Gravou = true;
    return std::nullopt;
}

void Contas::placeInTree(const SavedRow& row)
{
    if (m_tree)
        m_tree->place(row.level, row.code, row.name, row.parent);
}

bool Contas::placeSavedRow(int level)
{
    // A save changes one row of the page: the sector, group or account made on the way
    // belongs to other levels. That row alone is read again and put among the others.
    Recordset* rows = dataSet();
    if (rows == nullptr || CodigoGravado == 0 || (PaginaAtiva == 1 && NivelPaginaNiveis != level))
        return false;
    const auto saved = database().openRecordset(browse::joinedLevelRows(level) + QStringLiteral("WHERE ")
        + browse::relocationCriteria(level, CodigoGravado));
    if (saved->recordCount() != 1)
        return false;
    return rows->placeRow(QStringLiteral("NivelCategoria%1.Codigo").arg(level), saved->rowValues(0));
}

void Contas::refreshAfterSave()
{
    const int level = PaginaAtiva == 1 ? NivelAtual : 4;
    const bool placed = placeSavedRow(level);
    showLevel(level, false, !placed);
    // A placed row is already the current one.
    if (!placed && CodigoGravado != 0)
        relocate(level, CodigoGravado);
    syncPosition();
    PreencheCampos();
}

} // namespace varemo
