#include "reports/dataperiodo.h"

#include "app/desktop.h"
#include "app/errorlog.h"
#include "app/helptopics.h"
#include "app/state.h"
#include "data/database.h"
#include "reports/datebox.h"
#include "reports/periodo.h"

#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace varemo {

namespace {

const QString Routine = QStringLiteral("Período do Relatório");
const QString InvalidTitle = QStringLiteral("Data Incorreta");

const std::array<const char*, 6> OptionCaptions
    = {"&Diário", "&Semanal", "&Quinzenal", "&Mensal", "S&emestral", "&Período"};
const std::array<const char*, 7> WeekDays
    = {"Domingo", "Segunda-feira", "Terça-feira", "Quarta-feira", "Quinta-feira", "Sexta-feira", "Sábado"};

QString flamulaCaption(bool retroactive)
{
    // Both captions begin and end with a blank, as every frame of the window does.
    return retroactive ? QStringLiteral(" Escolha Período (retroativo) ")
                       : QStringLiteral(" Escolha Período (completo) ");
}

int pixels(int twips)
{
    return twips / DataPeriodo::TwipsPerPixel;
}

// Button 2's pictures: a double chevron pointing down (expand) or up (collapse).
QIcon chevron(bool down)
{
    constexpr int size = 36;
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0x14, 0x5c, 0x40), 4.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    for (const double top : {8.0, 19.0}) {
        const double bottom = top + 9.0;
        const double tip = down ? bottom : top;
        const double ends = down ? top : bottom;
        const std::array points = {QPointF(7, ends), QPointF(18, tip), QPointF(29, ends)};
        painter.drawPolyline(points.data(), int(points.size()));
    }
    painter.end();
    return QIcon(pixmap);
}

QLabel* note(const QString& text, bool heading)
{
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9); // notes read a step smaller than the controls
    font.setBold(heading);
    label->setFont(font);
    return label;
}

} // namespace

DataPeriodo::DataPeriodo(AppState& state, Desktop& desktop, QWidget* parent)
    : DataPeriodo(state, desktop, QDate::currentDate(), parent)
{
}

DataPeriodo::DataPeriodo(AppState& state, Desktop& desktop, QDate today, QWidget* parent)
    : QDialog(parent)
    , m_state(state)
    , m_desktop(desktop)
{
    setObjectName(QStringLiteral("DataPeriodo"));
    build();
    connectControls();
    Form_Load(today);
}

void DataPeriodo::build()
{
    setWindowTitle(QStringLiteral("Período do Relatório"));
    setWindowFlags(
        Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::MSWindowsFixedSizeDialogHint);
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);
    // The compact part fills the compact height exactly and the rest is revealed below it,
    // so nothing the person is looking at moves when the window grows.
    QWidget* compact = buildCompact();
    compact->setFixedHeight(pixels(CompactHeight));
    outer->addWidget(compact);
    Extra = buildExtra();
    Extra->setFixedHeight(pixels(ExpandedHeight - CompactHeight));
    outer->addWidget(Extra);
}

QWidget* DataPeriodo::buildCompact()
{
    auto* compact = new QWidget(this);
    auto* column = new QVBoxLayout(compact);
    column->setContentsMargins(10, 8, 10, 10);

    // The outer frame names the period type, so the choice made in the expanded part shows
    // while it is collapsed.
    Flamula = new QGroupBox(compact);
    auto* flamulaLayout = new QVBoxLayout(Flamula);
    flamulaLayout->setContentsMargins(6, 2, 6, 4);
    auto* choose = new QGroupBox(QStringLiteral(" Escolha Opção para o Período "), Flamula);
    flamulaLayout->addWidget(choose);
    auto* options = new QGridLayout(choose);
    options->setHorizontalSpacing(24);
    options->setVerticalSpacing(2);
    for (int index = 0; index < periodo::OptionCount; ++index) {
        auto* button = new QRadioButton(QString::fromUtf8(OptionCaptions[std::size_t(index)]), choose);
        button->setObjectName(QStringLiteral("Opcao%1").arg(index));
        options->addWidget(button, index % 3, index / 3);
        Opcao[std::size_t(index)] = button;
    }
    column->addWidget(Flamula, 3);

    auto* chosen = new QGroupBox(QStringLiteral(" Período Escolhido "), compact);
    auto* dates = new QGridLayout(chosen);
    dates->setHorizontalSpacing(14);
    const std::array labels = {QStringLiteral("data inicial"), QStringLiteral("data final")};
    for (int index = 0; index < 2; ++index) {
        auto* box = new DateBox(chosen);
        box->setObjectName(QStringLiteral("Datas%1").arg(index));
        auto* label = new QLabel(labels[std::size_t(index)], chosen);
        label->setBuddy(box);
        dates->addWidget(label, 0, index);
        dates->addWidget(box, 1, index);
        Datas[std::size_t(index)] = box;
    }
    column->addWidget(chosen, 2);

    auto* row = new QHBoxLayout;
    const std::array captions = {QStringLiteral("&Cancelar"), QStringLiteral("&Confirmar"), QString()};
    for (int index = 0; index < 3; ++index) {
        auto* button = new QPushButton(captions[std::size_t(index)], compact);
        button->setObjectName(QStringLiteral("Botao%1").arg(index));
        button->setAutoDefault(false);
        Botao[std::size_t(index)] = button;
    }
    Botao[1]->setDefault(true);
    Botao[2]->setIconSize(QSize(18, 18));
    Botao[2]->setFixedSize(36, 28);
    row->addWidget(Botao[0]);
    row->addWidget(Botao[1]);
    row->addStretch(1);
    row->addWidget(Botao[2]);
    column->addLayout(row);
    return compact;
}

QWidget* DataPeriodo::buildExtra()
{
    auto* extra = new QWidget(this);
    auto* column = new QVBoxLayout(extra);
    column->setContentsMargins(10, 0, 10, 10);

    auto* kind = new QGroupBox(QStringLiteral(" Tipo de Período "), extra);
    auto* kindColumn = new QVBoxLayout(kind);
    auto* choices = new QHBoxLayout;
    const std::array captions = {QStringLiteral("&Retroativo"), QStringLiteral("&Completo")};
    for (int index = 0; index < 2; ++index) {
        auto* button = new QRadioButton(captions[std::size_t(index)], kind);
        button->setObjectName(QStringLiteral("OpcaoRetrocede%1").arg(index));
        choices->addWidget(button);
        OpcaoRetrocede[std::size_t(index)] = button;
    }
    choices->addStretch(1);
    kindColumn->addLayout(choices);
    Rutolo = {note(QStringLiteral("As duas opções aplicam-se aos períodos: semanal, quinzenal, mensal e "
                                  "semestral. Feita a escolha, o tipo de período é gravado."),
                  false),
        note(QStringLiteral("Retroativo"), true),
        note(QStringLiteral("Quando retroage o período de dias, por exemplo, se hoje é dia 20 de abril e a "
                            "opção é Mensal, então o período será de 20 de março até 20 de abril."),
            false),
        note(QStringLiteral("Completo"), true),
        note(QStringLiteral("Quando a data de hoje encontra-se dentro do período escolhido. Seguindo o "
                            "exemplo, é o período entre 1º de abril até 30 de abril."),
            false)};
    for (QLabel* label : Rutolo)
        kindColumn->addWidget(label);
    kindColumn->addStretch(1);
    column->addWidget(kind, 1);

    auto* week = new QGroupBox(QStringLiteral(" Escolha o dia de início da Semana "), extra);
    auto* weekRow = new QHBoxLayout(week);
    InicioSemana = new QComboBox(week);
    InicioSemana->setObjectName(QStringLiteral("InicioSemana"));
    for (int value = 1; value <= 7; ++value)
        InicioSemana->addItem(QString::fromUtf8(WeekDays[std::size_t(value - 1)]), value);
    weekRow->addWidget(InicioSemana);
    column->addWidget(week);
    return extra;
}

void DataPeriodo::connectControls()
{
    for (int index = 0; index < 3; ++index)
        connect(
            Botao[std::size_t(index)], &QPushButton::clicked, this, [this, index] { Botao_Click(index); });
    for (int index = 0; index < periodo::OptionCount; ++index)
        connect(
            Opcao[std::size_t(index)], &QRadioButton::clicked, this, [this, index] { Opcao_Click(index); });
    for (int index = 0; index < 2; ++index) {
        connect(OpcaoRetrocede[std::size_t(index)], &QRadioButton::clicked, this,
            [this, index] { OpcaoRetrocede_Click(index); });
        connect(
            Datas[std::size_t(index)], &QLineEdit::textChanged, this, [this, index] { Datas_Change(index); });
    }
    connect(InicioSemana, &QComboBox::currentIndexChanged, this, [this] { InicioSemana_Click(); });
}

void DataPeriodo::Form_Load(QDate today)
{
    m_loading = true;
    setHeight(CompactHeight);
    int storedWeekStart = periodo::DefaultWeekStart;
    bool storedRetroactive = false;
    readCompany(storedWeekStart, storedRetroactive);
    InicioSemana->setCurrentIndex(storedWeekStart - 1);
    setWeekStart(InicioSemana->currentData().toInt());
    OpcaoRetrocede[0]->setChecked(storedRetroactive);
    OpcaoRetrocede[1]->setChecked(!storedRetroactive);
    m_retroactive = storedRetroactive;
    Flamula->setTitle(flamulaCaption(m_retroactive));
    m_option = periodo::Semanal;
    Datas[0]->setDate(today);
    Datas[1]->setDate(today);
    m_loading = false;
    RecalculaDatas();
    // Selecting the week's button runs its click, which computes the period once more.
    selectOption(periodo::Semanal);
    remember();
}

void DataPeriodo::readCompany(int& weekStart, bool& retroactive)
{
    try {
        const auto company
            = m_state.database->openRecordset(QStringLiteral("DadosEmpresa"), RecordsetType::Table);
        if (!company->eof()) {
            weekStart = periodo::weekStartValue(company->value(QStringLiteral("InicioSemana")));
            retroactive = company->value(QStringLiteral("RetroAtivo")).toBool();
        }
        company->close();
    } catch (const JetError& error) {
        logError(m_state, m_desktop, Routine, error);
    }
}

void DataPeriodo::setHeight(int twips)
{
    m_expanded = twips != CompactHeight;
    Extra->setVisible(m_expanded);
    setFixedSize(pixels(Width), pixels(twips));
    Botao[2]->setIcon(chevron(!m_expanded));
    Botao[2]->setToolTip(m_expanded ? QStringLiteral("Ocultar as opções do período")
                                    : QStringLiteral("Mostrar as opções do período"));
}

void DataPeriodo::setWeekStart(int weekStart)
{
    m_weekStart = weekStart;
    for (DateBox* box : Datas)
        box->setWeekStart(weekStart);
}

void DataPeriodo::RecalculaDatas()
{
    m_recalculating = true;
    m_reference = Datas[0]->date();
    m_endRead = Datas[1]->date();
    // A start box that names no date has nothing to compute around.
    if (const auto period = varemo::RecalculaDatas(m_reference, m_option, m_retroactive, m_weekStart)) {
        Datas[0]->setDate(period->first);
        Datas[1]->setDate(period->second);
    }
    m_recalculating = false;
}

void DataPeriodo::selectOption(int index)
{
    // As a program sets an option button: its click runs only when the choice changes.
    if (!Opcao[std::size_t(index)]->isChecked())
        Opcao_Click(index);
}

void DataPeriodo::remember()
{
    m_lastState = current();
    m_lastTexts = {Datas[0]->text(), Datas[1]->text()};
}

void DataPeriodo::Opcao_Click(int index)
{
    if (index < 0 || index >= periodo::OptionCount)
        return;
    Opcao[std::size_t(index)]->setChecked(true);
    m_settingsChanging = true;
    m_option = index;
    RecalculaDatas();
    // The boxes now hold computed dates: the next change in them is the person's typing.
    remember();
    m_settingsChanging = false;
    m_desktop.playSound(ClickSound);
}

void DataPeriodo::OpcaoRetrocede_Click(int index)
{
    if (index < 0 || index > 1)
        return;
    OpcaoRetrocede[std::size_t(index)]->setChecked(true);
    m_settingsChanging = true;
    m_retroactive = OpcaoRetrocede[0]->isChecked();
    Flamula->setTitle(flamulaCaption(m_retroactive));
    RecalculaDatas();
    remember();
    m_settingsChanging = false;
}

void DataPeriodo::InicioSemana_Click()
{
    if (m_loading)
        return;
    m_settingsChanging = true;
    m_desktop.processEvents();
    setWeekStart(InicioSemana->currentData().toInt());
    RecalculaDatas();
    remember();
    m_settingsChanging = false;
}

void DataPeriodo::Datas_Change(int /*index*/)
{
    if (m_recalculating || m_loading)
        return;
    const QStringList texts {Datas[0]->text(), Datas[1]->text()};
    if (texts != m_lastTexts && current() == m_lastState && !m_settingsChanging) {
        for (int pass = 0; pass < 3; ++pass)
            m_desktop.processEvents();
        selectOption(periodo::Periodo); // a hand-typed date makes the period a free range
    }
    RecalculaDatas();
    remember();
}

void DataPeriodo::Botao_Click(int index)
{
    m_desktop.playSound(ClickSound);
    switch (index) {
    case 0:
        reject();
        break;
    case 1:
        confirm();
        break;
    case 2:
        setHeight(heightTwips() != CompactHeight ? CompactHeight : ExpandedHeight);
        break;
    default:
        break;
    }
}

void DataPeriodo::refuse(const QString& message, int box)
{
    m_desktop.msgbox(message, vb::Information, InvalidTitle);
    Datas[std::size_t(box)]->setFocus();
}

void DataPeriodo::confirm()
{
    const QDate start = Datas[0]->date();
    const QDate end = Datas[1]->date();
    // A box that names no date hands over its text as it stands.
    m_state.periodStart = start.isValid() ? periodo::formatDate(start) : Datas[0]->text();
    m_state.periodEnd = end.isValid() ? periodo::formatDate(end) : Datas[1]->text();
    if (!start.isValid())
        return refuse(QStringLiteral("A data inicial não é correta"), 0);
    if (!end.isValid())
        return refuse(QStringLiteral("A data final não é correta"), 1);
    if (end < start)
        return refuse(QStringLiteral("A data final deve ser igual ou posterior à data inicial"), 1);
    m_state.confirmed = true;
    // A failed write is logged and the window stays open, so the person can try again.
    if (!saveSettings()) {
        m_state.confirmed = false;
        return;
    }
    accept();
}

bool DataPeriodo::saveSettings()
{
    try {
        Database& database = *m_state.database;
        UnitOfWork unit(database);
        const auto company = database.openRecordset(QStringLiteral("DadosEmpresa"), RecordsetType::Table);
        company->edit();
        company->setValue(QStringLiteral("InicioSemana"), InicioSemana->currentData().toInt());
        company->setValue(QStringLiteral("RetroAtivo"), OpcaoRetrocede[0]->isChecked());
        company->update();
        company->close();
        unit.commit();
        return true;
    } catch (const JetError& error) {
        logError(m_state, m_desktop, Routine, error);
        return false;
    }
}

void DataPeriodo::reject()
{
    m_state.confirmed = false;
    QDialog::reject();
}

void DataPeriodo::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_F1) {
        m_desktop.showHelp(help::Periodo);
        return;
    }
    QDialog::keyPressEvent(event);
}

} // namespace varemo
