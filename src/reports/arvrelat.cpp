#include "reports/arvrelat.h"

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/helptopics.h"
#include "app/state.h"
#include "app/typedtext.h"
#include "data/database.h"
#include "data/dialect.h"
#include "editor/images.h"
#include "editor/tree.h"
#include "reports/marks.h"

#include <QAbstractItemView>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace varemo {

namespace {

const QString Caption = QStringLiteral("Relatório - Escolha os Itens");
const QString NamePrompt = QStringLiteral("Digite o nome do relatório");
const QString SaveRoutine = QStringLiteral("Gravar Relatório");

bool sameName(const QVariant& stored, const QString& typed)
{
    return !stored.isNull() && dialect::compareText(stored.toString(), typed) == 0;
}

// The first row of `reports` that really carries `name`. Names go into the criteria as
// typed; one whose apostrophes balance out turns it into another condition, and the rows
// that condition picks are not a clash. `ownCode` is never a clash either.
bool nameTaken(Recordset& reports, const QString& name, qint32 ownCode)
{
    const QString criteria = QStringLiteral("NomeRelatorio = '") + name + QStringLiteral("'");
    for (bool found = reports.findFirst(criteria); found; found = reports.findNext(criteria)) {
        if (reports.value(QStringLiteral("CodigoRelatorio")).toInt() != ownCode
            && sameName(reports.value(QStringLiteral("NomeRelatorio")), name))
            return true;
    }
    return false;
}

} // namespace

ArvRelat::ArvRelat(AppState& state, Desktop& desktop, int mode, qint32 reportCode, const QString& reportName,
    QWidget* parent)
    : QDialog(parent)
    , Modo(mode)
    , CodigoRelatorio(reportCode)
    , NomeRelatorio(reportName)
    , m_state(state)
    , m_desktop(desktop)
{
    build();
    Form_Load();
}

void ArvRelat::build()
{
    setObjectName(QStringLiteral("ArvRelat"));
    setWindowTitle(Caption);
    resize(520, 640);
    setMinimumSize(380, 420);
    auto* outer = new QVBoxLayout(this);

    auto* nameRow = new QHBoxLayout;
    auto* nameLabel = new QLabel(QStringLiteral("&Nome do relatório:"));
    Nome = new QLineEdit;
    Nome->setObjectName(QStringLiteral("Nome"));
    Nome->setMaxLength(255); // a Jet text field's width
    nameLabel->setBuddy(Nome);
    nameRow->addWidget(nameLabel);
    nameRow->addWidget(Nome, 1);
    outer->addLayout(nameRow);

    Arvore = new QTreeWidget;
    Arvore->setObjectName(QStringLiteral("Arvore"));
    Arvore->setHeaderHidden(true);
    Arvore->setUniformRowHeights(true); // a chart of thousands of rows scrolls smoothly
    Arvore->setSelectionMode(QAbstractItemView::SingleSelection);
    Arvore->setExpandsOnDoubleClick(false); // a double click is two clicks, two toggles
    Arvore->installEventFilter(this);
    outer->addWidget(Arvore, 1);

    auto* hint = new QLabel(QStringLiteral(
        "Clique num item, ou tecle Espaço, para marcá-lo ou desmarcá-lo com tudo o que contém."));
    hint->setWordWrap(true);
    outer->addWidget(hint);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    const std::array<QString, 2> captions {QStringLiteral("&Gravar"), QStringLiteral("&Fechar")};
    for (std::size_t i = 0; i < BotaoEscolha.size(); ++i) {
        auto* button = new QPushButton(captions[i]);
        button->setObjectName(QStringLiteral("BotaoEscolha%1").arg(i));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [this, i] { BotaoEscolha_Click(int(i)); });
        buttons->addWidget(button);
        BotaoEscolha[i] = button;
    }
    outer->addLayout(buttons);
    connect(
        Arvore, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { Arvore_NodeClick(item); });
}

void ArvRelat::Form_Load()
{
    ColocaDados();
    QTreeWidgetItem* root = Arvore->topLevelItem(0);
    if (root == nullptr)
        return;
    if (Modo == NewDefinition) {
        setNodeImage(root, ImageNone);
        pushMarkDown(root);
        Nome->setText(NamePrompt);
        Nome->selectAll(); // typing replaces the prompt
    } else {
        Nome->setText(NomeRelatorio);
        ContasLer();
        fillMissingParents(root);
        // The chosen branches open, so the person sees what the report takes in.
        for (QTreeWidgetItem* item : std::as_const(m_nodes)) {
            if (item->childCount() > 0 && nodeImage(item) != ImageNone)
                item->setExpanded(true);
        }
    }
    Arvore->setCurrentItem(root);
    Arvore->scrollToItem(root);
}

void ArvRelat::ColocaDados()
{
    try {
        m_nodes = buildTree(*Arvore, *m_state.database).nodes;
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::TreeView, error);
    }
}

void ArvRelat::ContasLer()
{
    try {
        showMarks(Arvore->topLevelItem(0), *m_state.database, CodigoRelatorio, m_state.sql);
    } catch (const JetError& error) {
        logError(m_state, m_desktop, rotina::TreeView, error);
    }
}

void ArvRelat::Arvore_NodeClick(QTreeWidgetItem* item)
{
    clickMark(item);
}

void ArvRelat::BotaoEscolha_Click(int index)
{
    if (index == 1) {
        reject();
        return;
    }
    if (index != 0)
        return;
    const int answer = m_desktop.msgbox(QStringLiteral("Deseja gravar este relatório?"),
        vb::YesNo + vb::Question, QStringLiteral("Gravar Relatório"));
    if (answer == vb::Yes && ContasSalvar())
        emit saved(CodigoRelatorio);
}

bool ArvRelat::ContasSalvar()
{
    const QString name = Nome->text().trimmed();
    if (name.isEmpty() || name == NamePrompt) {
        m_desktop.msgbox(QStringLiteral("Digite o nome deste relatório"), vb::Information,
            QStringLiteral("Nome do Relatório"));
        return false;
    }
    if (const auto problem = typed::nameProblem(name)) {
        m_desktop.msgbox(*problem, vb::Information, typed::InvalidTitle);
        return false;
    }
    try {
        if (write(name) == Outcome::NameTaken) {
            m_desktop.msgbox(QStringLiteral("Este nome já existe!") + QLatin1Char('\r')
                    + QStringLiteral("Mude o nome do relatório"),
                vb::Information, QStringLiteral("Nome já existente"));
            return false;
        }
    } catch (const JetError& error) {
        // Rolled back: nothing of the definition was written and the window goes on.
        logError(m_state, m_desktop, SaveRoutine, error);
        return false;
    }
    Modo = EditDefinition;
    NomeRelatorio = name;
    Nome->setText(name);
    return true;
}

ArvRelat::Outcome ArvRelat::write(const QString& name)
{
    const QList<MarkRow> rows = markRows(Arvore->topLevelItem(0));
    Database& database = *m_state.database;
    UnitOfWork unit(database);
    qint32 code = CodigoRelatorio;
    {
        const auto reports = database.openRecordset(QStringLiteral("Relatorios"), RecordsetType::Table);
        if (Modo == NewDefinition) {
            if (nameTaken(*reports, name, 0))
                return Outcome::NameTaken;
            reports->addNew();
            reports->setValue(QStringLiteral("NomeRelatorio"), name);
            reports->update();
            reports->setBookmark(reports->lastModified());
            code = reports->value(QStringLiteral("CodigoRelatorio")).toInt();
        } else {
            // Unchanged means equal as the database compares names; a new name may match
            // no other definition, while the definition's own row is no clash.
            if (dialect::compareText(name, NomeRelatorio) != 0 && nameTaken(*reports, name, code))
                return Outcome::NameTaken;
            if (reports->findFirst(QStringLiteral("CodigoRelatorio = ") + QString::number(code))) {
                reports->edit();
                reports->setValue(QStringLiteral("NomeRelatorio"), name);
                reports->update();
            }
            m_state.sql = QStringLiteral("DELETE * FROM RelatorioItens WHERE CodigoRelatorio = ")
                + QString::number(code) + QLatin1Char(';');
            database.execute(m_state.sql);
        }
        reports->close();
    }
    const auto items = database.openRecordset(QStringLiteral("RelatorioItens"), RecordsetType::Table);
    for (const MarkRow& row : rows) {
        items->addNew();
        items->setValue(QStringLiteral("CodigoRelatorio"), code);
        items->setValue(QStringLiteral("Nivel"), row.nivel);
        items->setValue(QStringLiteral("CodigoConta"), row.codigoConta);
        items->setValue(QStringLiteral("Imagem"), row.imagem);
        items->update();
    }
    items->close();
    unit.commit();
    CodigoRelatorio = code;
    return Outcome::Written;
}

bool ArvRelat::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == Arvore && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Space) {
            if (!key->isAutoRepeat())
                Arvore_NodeClick(Arvore->currentItem());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void ArvRelat::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_F1) {
        m_desktop.showHelp(help::RelatorioItens);
        return;
    }
    QDialog::keyPressEvent(event);
}

} // namespace varemo
