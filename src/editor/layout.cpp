// The controls of the main window and where they sit.

#include "app/desktop.h"
#include "app/helptopics.h"
#include "editor/commands.h"
#include "editor/contas.h"
#include "editor/images.h"
#include "editor/widgets.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace varemo {

namespace {

const std::array<QString, 5>& levelNames()
{
    static const std::array<QString, 5> names = {QStringLiteral("Categoria"), QStringLiteral("Setor"),
        QStringLiteral("Grupo"), QStringLiteral("Conta"), QStringLiteral("Item")};
    return names;
}

// The navigator's buttons by index (first, previous, previous group, next group, next,
// last), with the order they appear in from left to right.
struct MoveButton {
    int index;
    QString caption;
    QString tip;
};

const std::array<MoveButton, 6>& moveButtons()
{
    static const std::array<MoveButton, 6> buttons = {{
        {0, QStringLiteral("|◀  Primeiro"), QStringLiteral("Primeiro registro")},
        {2, QStringLiteral("◀◀  Grupo"), QStringLiteral("Grupo anterior")},
        {1, QStringLiteral("◀  Anterior"), QStringLiteral("Registro anterior")},
        {4, QStringLiteral("Próximo  ▶"), QStringLiteral("Próximo registro")},
        {3, QStringLiteral("Grupo  ▶▶"), QStringLiteral("Próximo grupo")},
        {5, QStringLiteral("Último  ▶|"), QStringLiteral("Último registro")},
    }};
    return buttons;
}

const std::array<QString, 5>& hitCaptions()
{
    static const std::array<QString, 5> captions = {QStringLiteral("|◀"), QStringLiteral("◀"),
        QStringLiteral("Mostrar"), QStringLiteral("▶"), QStringLiteral("▶|")};
    return captions;
}

void setHelpContext(QWidget* widget, int context)
{
    widget->setProperty("helpContext", context);
}

} // namespace

void Contas::buildLayout()
{
    setWindowIcon(programIcon());

    Arvore = new QTreeWidget;
    Arvore->setObjectName(QStringLiteral("Arvore"));
    Arvore->setHeaderHidden(true);
    Arvore->setUniformRowHeights(true);
    Arvore->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    // Only the rows on screen are measured: measuring every open row on each expansion made a
    // click on a big chart take several milliseconds.
    Arvore->header()->setResizeContentsPrecision(0);
    Arvore->header()->setStretchLastSection(false);
    setHelpContext(Arvore, help::Arvore);
    auto* treeBox = new QGroupBox(QStringLiteral("Plano de Contas"));
    auto* treeLayout = new QVBoxLayout(treeBox);
    treeLayout->addWidget(Arvore);

    // The hierarchy page: one selector per level, each under the one above.
    auto* hierarchy = new QWidget;
    auto* grid = new QGridLayout(hierarchy);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(8);
    for (int level = 0; level < 5; ++level) {
        auto* combo = new Selector;
        combo->setObjectName(QStringLiteral("Combo%1").arg(level));
        setHelpContext(combo, help::Seletores);
        auto* label
            = new QLabel(QLatin1Char('&') + levelNames()[static_cast<std::size_t>(level)] + QLatin1Char(':'));
        label->setBuddy(combo);
        grid->addWidget(label, level, 0);
        grid->addWidget(combo, level, 1);
        Combo[static_cast<std::size_t>(level)] = combo;
    }
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(5, 1);

    // The level page: sectors, groups and accounts, each with the names above it.
    auto* levels = new QWidget;
    auto* levelGrid = new QGridLayout(levels);
    levelGrid->setHorizontalSpacing(10);
    levelGrid->setVerticalSpacing(8);
    NovoRotulo = new QLabel(QStringLiteral("Plano de Contas"));
    NovoRotulo->setObjectName(QStringLiteral("NovoRotulo"));
    QFont captionFont = NovoRotulo->font();
    captionFont.setPointSizeF(captionFont.pointSizeF() * 1.3);
    captionFont.setBold(true);
    NovoRotulo->setFont(captionFont);
    levelGrid->addWidget(NovoRotulo, 0, 0, 1, 2);
    for (int level = 0; level < 5; ++level) {
        auto* field = new Selector;
        field->setObjectName(QStringLiteral("Texto%1").arg(level));
        setHelpContext(field, help::PaginaNiveis);
        auto* label = new QLabel(levelNames()[static_cast<std::size_t>(level)] + QLatin1Char(':'));
        label->setBuddy(field);
        levelGrid->addWidget(label, level + 1, 0);
        levelGrid->addWidget(field, level + 1, 1);
        Texto[static_cast<std::size_t>(level)] = field;
        TextoRotulo[static_cast<std::size_t>(level)] = label;
    }
    levelGrid->setColumnStretch(1, 1);
    levelGrid->setRowStretch(6, 1);

    Pasta = new QTabWidget;
    Pasta->setObjectName(QStringLiteral("Pasta"));
    Pasta->addTab(hierarchy, QStringLiteral("&Hierarquia"));
    Pasta->addTab(levels, QStringLiteral("&Níveis"));

    auto* moves = new QGroupBox(QStringLiteral("Registros"));
    auto* movesLayout = new QHBoxLayout(moves);
    for (const MoveButton& entry : moveButtons()) {
        auto* button = new QPushButton(entry.caption);
        button->setObjectName(QStringLiteral("Movimento%1").arg(entry.index));
        button->setToolTip(entry.tip);
        button->setAutoDefault(false);
        setHelpContext(button, help::Movimento);
        movesLayout->addWidget(button);
        Movimento[static_cast<std::size_t>(entry.index)] = button;
        connect(button, &QPushButton::clicked, this, [this, index = entry.index] {
            m_desktop.playSound(7);
            Movimento_Click(index);
        });
    }

    auto* hits = new QGroupBox(QStringLiteral("Itens encontrados na procura"));
    auto* hitsLayout = new QHBoxLayout(hits);
    for (int index = 0; index < 5; ++index) {
        auto* button = new QPushButton(hitCaptions()[static_cast<std::size_t>(index)]);
        button->setObjectName(QStringLiteral("MoveFiltro%1").arg(index));
        button->setAutoDefault(false);
        button->setEnabled(false);
        setHelpContext(button, help::MoveFiltro);
        hitsLayout->addWidget(button);
        MoveFiltro[static_cast<std::size_t>(index)] = button;
        button->installEventFilter(this); // hovering plays its sound
        connect(button, &QPushButton::clicked, this, [this, index] {
            m_desktop.playSound(7);
            MoveFiltro_Click(index);
        });
    }

    RelatosPainel = new QGroupBox(QStringLiteral("Relatórios Personalizados"));
    RelatosPainel->setObjectName(QStringLiteral("RelatosPainel"));
    auto* reportsLayout = new QVBoxLayout(RelatosPainel);
    Relatos = new QListWidget;
    Relatos->setObjectName(QStringLiteral("Relatos"));
    setHelpContext(Relatos, help::Relatos);
    BotaoVer = new QPushButton(QStringLiteral("&Ver"));
    BotaoVer->setObjectName(QStringLiteral("BotaoVer"));
    BotaoVer->setToolTip(QStringLiteral("Visualizar o relatório escolhido"));
    BotaoFecharRelatos = new QPushButton(QStringLiteral("Fechar lista"));
    BotaoFecharRelatos->setObjectName(QStringLiteral("BotaoFecharRelatos"));
    auto* reportButtons = new QHBoxLayout;
    reportButtons->addStretch(1);
    reportButtons->addWidget(BotaoVer);
    reportButtons->addWidget(BotaoFecharRelatos);
    reportsLayout->addWidget(new QLabel(QStringLiteral("Escolha um relatório na lista:")));
    reportsLayout->addWidget(Relatos);
    reportsLayout->addLayout(reportButtons);
    RelatosPainel->setVisible(false);
    connect(Relatos, &QListWidget::itemSelectionChanged, this, [this] { Relatos_Click(); });
    connect(BotaoVer, &QPushButton::clicked, this, [this] { BotaoVer_Click(); });
    connect(BotaoFecharRelatos, &QPushButton::clicked, this, [this] { hideReportList(); });

    auto* right = new QWidget;
    auto* rightLayout = new QVBoxLayout(right);
    rightLayout->addWidget(Pasta);
    rightLayout->addWidget(moves);
    rightLayout->addWidget(hits);
    rightLayout->addWidget(RelatosPainel, 1);
    rightLayout->addStretch(0);

    auto* splitter = new QSplitter(Qt::Horizontal);
    splitter->setContentsMargins(6, 4, 6, 0);
    splitter->addWidget(treeBox);
    splitter->addWidget(right);
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 3);
    splitter->setSizes({380, 820});
    splitter->setChildrenCollapsible(false);
    setCentralWidget(splitter);
    setHelpContext(splitter, help::JanelaPrincipal);

    Status = new StatusBar(this);
    Status->setObjectName(QStringLiteral("Status"));
    setStatusBar(Status);

    for (int index = 0; index < 5; ++index) {
        connect(Combo[static_cast<std::size_t>(index)], &QComboBox::activated, this,
            [this, index] { Combo_Click(index); });
    }
    connect(
        Arvore, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) { Arvore_NodeClick(item); });
}

} // namespace varemo
