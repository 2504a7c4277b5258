#include "editor/selectors.h"

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/state.h"
#include "data/database.h"
#include "editor/contas.h"
#include "editor/widgets.h"

namespace varemo {

namespace selectors {

QString fillQuery(int level, qint32 parentCode)
{
    if (level == 0)
        return QStringLiteral("SELECT * FROM NivelCategoria0") + QStringLiteral(" ORDER BY Nome");
    return QStringLiteral("SELECT * FROM NivelCategoria%1 WHERE CodigoCategoria%2 = ")
               .arg(level)
               .arg(level - 1)
        + QString::number(parentCode) + QStringLiteral(" ORDER BY Nome");
}

QString cascadeQuery(int index, qint32 parentCode)
{
    return QStringLiteral("SELECT * FROM NivelCategoria%1 WHERE ").arg(index + 1)
        + QStringLiteral("CodigoCategoria%1 = ").arg(index) + QString::number(parentCode)
        + QStringLiteral(" ORDER BY Nome;");
}

QString unknownParentMessage(int level)
{
    switch (level) {
    case 1:
        return QStringLiteral("Categoria não encontrada");
    case 2:
        return QStringLiteral("Depto. não encontrado");
    case 3:
        return QStringLiteral("Grupo não encontrado");
    case 4:
        return QStringLiteral("Conta não encontrada");
    default:
        return {};
    }
}

QString booleanText(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

QString linesQuery(bool insumo)
{
    return QStringLiteral("SELECT Linhas.NomeLinha, Linhas.Insumo ") + QStringLiteral("FROM Linhas WHERE ")
        + QStringLiteral("Insumo = ") + booleanText(insumo) + QStringLiteral(" ORDER BY Linhas.NomeLinha;");
}

QString productsQuery(qint64 lineCode)
{
    return QStringLiteral("SELECT * FROM Produtos WHERE ") + QStringLiteral("Produtos.CodigoLinha = ")
        + QString::number(lineCode) + QStringLiteral(" ORDER BY Produtos.NomeProduto;");
}

} // namespace selectors

namespace {

QStringList namesOf(Database& database, const QString& sql)
{
    const auto rows = database.openRecordset(sql);
    QStringList names;
    if (rows->recordCount() > 0)
        rows->moveFirst();
    while (!rows->eof()) {
        names << rows->value(QStringLiteral("Nome")).toString();
        rows->moveNext();
    }
    rows->close();
    return names;
}

} // namespace

void Contas::PreencherCombo(int level)
{
    if (level < 0 || level > 4)
        return;
    try {
        if (level >= 1) {
            const QString parent = Combo[static_cast<std::size_t>(level - 1)]->text().trimmed();
            if (!parent.isEmpty()) {
                Recordset& table = *Nivel[static_cast<std::size_t>(level - 1)];
                if (!table.findFirst(QStringLiteral("Nome = '") + parent + QLatin1Char('\''))) {
                    m_desktop.msgbox(selectors::unknownParentMessage(level), vb::Information);
                    return;
                }
                CodigoProcurado = table.value(QStringLiteral("Codigo")).toInt();
            }
        }
        m_state.sql = selectors::fillQuery(level, CodigoProcurado);
        m_desktop.processEvents();
        // The list is replaced; the text stays, since it names the path of the record.
        Combo[static_cast<std::size_t>(level)]->fill(namesOf(database(), m_state.sql));
    } catch (const JetError& error) {
        logError(m_state, m_desktop, selectors::Routine, error.description(), error.number());
    }
}

void Contas::Combo_Click(int index)
{
    // A choice only walks the path while a record is open for change; the items have no
    // level below them.
    if (!(EmInclusao || EmAlteracao) || index < 0 || index >= 4)
        return;
    try {
        for (int lower = index + 1; lower < 5; ++lower)
            Combo[static_cast<std::size_t>(lower)]->clearAll();
        // Under the two purchase groups the accounts are product lines and the items their
        // products, so the names typed match the product register.
        if (index == 2) {
            DecideModoLinhas();
            if (ModoLinhas) {
                PreencheLinhas(Insumo);
                return;
            }
        }
        if (index == 3 && ModoLinhas) {
            PreencheProdutos(Insumo);
            return;
        }
        const QString chosen = Combo[static_cast<std::size_t>(index)]->text();
        Recordset& table = *Nivel[static_cast<std::size_t>(index)];
        if (table.findFirst(QStringLiteral("Nome = '") + chosen + QLatin1Char('\'')))
            CodigoProcurado = table.value(QStringLiteral("Codigo")).toInt();
        else
            m_desktop.msgbox(selectors::CodeNotFound);
        m_state.sql = selectors::cascadeQuery(index, CodigoProcurado);
        Combo[static_cast<std::size_t>(index + 1)]->fill(namesOf(database(), m_state.sql));
    } catch (const JetError& error) {
        logError(m_state, m_desktop, selectors::Routine, error.description(), error.number());
    }
}

void Contas::DecideModoLinhas()
{
    ModoLinhas = false;
    // Compared as stored, case included: a group spelt otherwise is an ordinary one.
    if (Combo[1]->text() != selectors::PurchaseSector)
        return;
    if (Combo[2]->text() == selectors::SupplyGroup) {
        Insumo = true;
        ModoLinhas = true;
    } else if (Combo[2]->text() == selectors::GoodsGroup) {
        Insumo = false;
        ModoLinhas = true;
    }
}

void Contas::PreencheLinhas(bool insumo)
{
    m_state.sql = selectors::linesQuery(insumo);
    Rascunho = database().openRecordset(m_state.sql);
    QStringList names;
    const int column = Rascunho->fieldIndex(QStringLiteral("NomeLinha"));
    for (int i = 0, count = Rascunho->recordCount(); i < count; ++i) {
        if (const QVariant name = Rascunho->cell(i, column); !name.isNull())
            names << name.toString();
    }
    Rascunho.reset();
    Combo[3]->fill(names);
}

void Contas::PreencheProdutos(bool insumo)
{
    const QString line = Combo[3]->text();
    if (Linhas == nullptr
        || !Linhas->findFirst(QStringLiteral("NomeLinha = '") + line + QStringLiteral("' AND Insumo = ")
            + selectors::booleanText(insumo))) {
        Combo[3]->setText(QString());
        m_desktop.msgbox(QStringLiteral("Não existem Produtos ou Linha de produto errada!"), vb::Information,
            QStringLiteral("Não existem produtos nesta linha"));
        return;
    }
    const qint64 code = Linhas->value(QStringLiteral("Produtos.CodigoLinha")).toLongLong();
    m_state.sql = selectors::productsQuery(code);
    Rascunho = database().openRecordset(m_state.sql);
    QStringList names;
    const int column = Rascunho->fieldIndex(QStringLiteral("NomeProduto"));
    for (int i = 0, count = Rascunho->recordCount(); i < count; ++i) {
        if (const QVariant name = Rascunho->cell(i, column); !name.isNull())
            names << name.toString();
    }
    Rascunho.reset();
    Combo[4]->fill(names);
}

} // namespace varemo
