#include "search/procontas.h"

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/helptopics.h"
#include "app/state.h"
#include "app/typedtext.h"

#include <QComboBox>
#include <QEvent>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShowEvent>
#include <QStyle>
#include <QVBoxLayout>

namespace varemo {

namespace {

QComboBox* makeList(QWidget* parent, const QString& name, const QStringList& items)
{
    auto* combo = new QComboBox(parent);
    combo->setObjectName(name);
    combo->addItems(items);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    return combo;
}

} // namespace

ProContas::ProContas(AppState& state, Desktop& desktop, QWidget* parent)
    : QDialog(parent)
    , m_state(state)
    , m_desktop(desktop)
{
    setObjectName(QStringLiteral("ProContas"));
    setWindowTitle(search::Caption);
    setModal(true);

    auto* outer = new QVBoxLayout(this);
    outer->setSizeConstraint(QLayout::SetFixedSize);
    outer->setSpacing(10);

    auto* panel = new QFrame(this);
    panel->setFrameShape(QFrame::StyledPanel);
    auto* panelRow = new QHBoxLayout(panel);
    auto* icon = new QLabel(panel);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxInformation).pixmap(32));
    icon->setAlignment(Qt::AlignTop);
    panelRow->addWidget(icon);
    Selecao = new QLabel(search::selecao(), panel);
    Selecao->setObjectName(QStringLiteral("Selecao"));
    Selecao->setWordWrap(true);
    Selecao->setMinimumWidth(560);
    panelRow->addWidget(Selecao, 1);
    outer->addWidget(panel);

    auto* box = new QGroupBox(QStringLiteral("Critérios"), this);
    buildRows(box);
    outer->addWidget(box);

    auto* buttons = new QHBoxLayout;
    const std::array<QString, 3> captions {
        QStringLiteral("Aju&da"), QStringLiteral("&Cancelar"), QStringLiteral("&Procurar")};
    for (int i = 0; i < 3; ++i) {
        auto* button = new QPushButton(captions[std::size_t(i)], this);
        button->setObjectName(QStringLiteral("BotaoProcura%1").arg(i));
        button->setAutoDefault(false);
        button->installEventFilter(this);
        connect(button, &QPushButton::clicked, this, [this, i] { BotaoProcura_Click(i); });
        BotaoProcura[std::size_t(i)] = button;
    }
    BotaoProcura[2]->setDefault(true);
    buttons->addWidget(BotaoProcura[0]);
    buttons->addStretch(1);
    buttons->addWidget(BotaoProcura[1]);
    buttons->addWidget(BotaoProcura[2]);
    outer->addLayout(buttons);

    Conteudo[0]->setFocus();
    // Coming up the first time is the window's load: the tables are ready before any search.
    prepare();
}

ProContas::~ProContas() = default;

void ProContas::buildRows(QWidget* box)
{
    auto* grid = new QGridLayout(box);
    const std::array<QString, 3> headers {
        QStringLiteral("Campo"), QStringLiteral("Critério"), QStringLiteral("Conteúdo")};
    for (int column = 0; column < 3; ++column) {
        auto* header = new QLabel(headers[std::size_t(column)], box);
        QFont font = header->font();
        font.setBold(true);
        header->setFont(font);
        grid->addWidget(header, 0, column + 2);
    }
    for (int i = 0; i < Rows; ++i) {
        const auto slot = std::size_t(i);
        if (i > 0) {
            auto* chave = new QPushButton(search::EO, box);
            chave->setObjectName(QStringLiteral("Chave%1").arg(i));
            chave->setFixedWidth(52);
            chave->setAutoDefault(false);
            chave->setToolTip(QStringLiteral("Clique para alternar entre (e o) e (ou)"));
            connect(chave, &QPushButton::clicked, this, [this, i] { Chave_Click(i); });
            Chave[slot] = chave;
            grid->addWidget(chave, i + 1, 0);
        }
        Label1[slot] = new QLabel(QStringLiteral("%1º critério").arg(i + 1), box);
        grid->addWidget(Label1[slot], i + 1, 1);
        Campo[slot] = makeList(box, QStringLiteral("Campo%1").arg(i), search::campos());
        grid->addWidget(Campo[slot], i + 1, 2);
        Criterio[slot] = makeList(box, QStringLiteral("Criterio%1").arg(i), search::criterios());
        grid->addWidget(Criterio[slot], i + 1, 3);
        Conteudo[slot] = new QLineEdit(box);
        Conteudo[slot]->setObjectName(QStringLiteral("Conteudo%1").arg(i));
        Conteudo[slot]->setMinimumWidth(240);
        Label1[slot]->setBuddy(Conteudo[slot]);
        grid->addWidget(Conteudo[slot], i + 1, 4);
    }
    grid->setColumnStretch(4, 1);
    // The link column keeps its width while only the first row shows.
    grid->setColumnMinimumWidth(0, 52);

    auto* more = new QHBoxLayout;
    const std::array<QString, 2> captions {
        QStringLiteral("&Mais um critério"), QStringLiteral("M&enos um critério")};
    for (int i = 0; i < 2; ++i) {
        auto* button = new QPushButton(captions[std::size_t(i)], box);
        button->setObjectName(QStringLiteral("BotaoMais%1").arg(i));
        button->setAutoDefault(false);
        button->installEventFilter(this);
        connect(button, &QPushButton::clicked, this, [this, i] { BotaoMais_Click(i); });
        BotaoMais[std::size_t(i)] = button;
        more->addWidget(button);
    }
    more->addStretch(1);
    grid->addLayout(more, Rows + 1, 0, 1, 5);
    for (int i = 1; i < Rows; ++i)
        setRowShown(i, false);
    updateMais();
}

void ProContas::prepare()
{
    m_prepared = {};
    setWindowTitle(search::Caption);
    m_state.searchResult = -1;
    m_isPrepared = true;
    try {
        m_prepared = search::prepare(m_state);
    } catch (const JetError& error) {
        logError(m_state, m_desktop, search::Rotina, error);
    }
}

void ProContas::showEvent(QShowEvent* event)
{
    // Brought up again after a search or a cancel hid it: the previous marks go first.
    if (!event->spontaneous() && !m_isPrepared)
        prepare();
    QDialog::showEvent(event);
}

bool ProContas::rowShown(int row) const
{
    return !Campo[std::size_t(row)]->isHidden();
}

int ProContas::lastShownRow() const
{
    int last = 0;
    for (int i = 1; i < Rows; ++i) {
        if (rowShown(i))
            last = i;
    }
    return last;
}

void ProContas::setRowShown(int row, bool shown)
{
    const auto slot = std::size_t(row);
    for (QWidget* widget : {static_cast<QWidget*>(Campo[slot]), static_cast<QWidget*>(Criterio[slot]),
             static_cast<QWidget*>(Conteudo[slot]), static_cast<QWidget*>(Label1[slot]),
             static_cast<QWidget*>(Chave[slot])}) {
        if (widget)
            widget->setHidden(!shown);
    }
}

void ProContas::updateMais()
{
    // Only a possible action is offered: no "more" at five rows, no "less" at one.
    const int last = lastShownRow();
    BotaoMais[0]->setHidden(last >= Rows - 1);
    BotaoMais[1]->setHidden(last <= 0);
}

search::Rows ProContas::criteriaRows() const
{
    search::Rows rows;
    for (int i = 0; i < Rows; ++i) {
        const auto slot = std::size_t(i);
        rows[slot].campo = Campo[slot]->currentText();
        rows[slot].criterio = Criterio[slot]->currentText();
        if (rowShown(i))
            rows[slot].conteudo = Conteudo[slot]->text();
        if (Chave[slot])
            rows[slot].chave = Chave[slot]->text();
    }
    return rows;
}

void ProContas::BotaoProcura_Click(int index)
{
    m_desktop.playSound(ClickSound);
    switch (index) {
    case 0:
        m_desktop.showHelp(help::Procura);
        break;
    case 1:
        m_state.searchResult = -1;
        finish(QDialog::Rejected);
        break;
    case 2:
        search();
        break;
    default:
        break;
    }
}

void ProContas::search()
{
    // Refused before any statement: the window stays open to correct the content.
    for (const QLineEdit* content : Conteudo) {
        if (!content->isHidden() && typed::hasControl(content->text())) {
            m_desktop.msgbox(typed::ContentControlPrompt, vb::Information, typed::ContentTitle);
            return;
        }
    }
    try {
        search::runSearch(m_state, criteriaRows(), m_prepared.procura.get());
    } catch (const JetError& error) {
        // Rolled back: the marks stay as the preparation left them and the window stays
        // open, so the person can correct the content or cancel.
        m_state.searchResult = -1;
        logError(m_state, m_desktop, search::Rotina, error);
        return;
    }
    finish(QDialog::Accepted);
}

void ProContas::finish(int result)
{
    m_prepared = {};
    m_isPrepared = false;
    done(result);
}

void ProContas::BotaoMais_Click(int index)
{
    m_desktop.playSound(ClickSound);
    const int last = lastShownRow();
    if (index == 0 && last < Rows - 1) {
        setRowShown(last + 1, true);
        Conteudo[std::size_t(last + 1)]->setFocus();
    } else if (index == 1 && last > 0) {
        setRowShown(last, false);
        Conteudo[std::size_t(last - 1)]->setFocus();
    }
    updateMais();
}

void ProContas::Chave_Click(int row)
{
    if (row < 1 || row >= Rows)
        return;
    m_desktop.playSound(ClickSound);
    QPushButton* chave = Chave[std::size_t(row)];
    chave->setText(search::otherLink(chave->text()));
}

void ProContas::reject()
{
    // Escape and the close box cancel, as the cancel button does.
    m_state.searchResult = -1;
    finish(QDialog::Rejected);
}

void ProContas::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_F1 && event->modifiers() == Qt::NoModifier) {
        m_desktop.showHelp(help::Procura);
        return;
    }
    QDialog::keyPressEvent(event);
}

bool ProContas::eventFilter(QObject* watched, QEvent* event)
{
    // Only the window's buttons sound on hovering; the link buttons sound only when clicked.
    if (event->type() == QEvent::Enter && qobject_cast<QPushButton*>(watched))
        m_desktop.playSound(HoverSound);
    return QDialog::eventFilter(watched, event);
}

} // namespace varemo
